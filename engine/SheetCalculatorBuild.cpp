// Building a calculator's graph from the sheet's formula cells.
//
// A large sheet is built on two threads: a helper walks the cells, promotes
// and parses them (shapes, trees and the rectangles each formula reads), and
// hands batches to the calling thread, which enters them into the graph in
// cell order. The two halves take about as long as each other, so the build
// takes about half the time. Only the helper touches the cells, the shapes and
// the trees until it is joined; only the caller touches the graph.
#include <condition_variable>
#include <deque>
#include <exception>
#include <limits>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "engine/SheetCalculator.h"

namespace sumora {

namespace {

// Below this many formula cells a second thread costs more than it saves.
constexpr size_t kParallelFormulas = 20000;
constexpr size_t kBatchFormulas = 4096;

// Calls f(row, col, cell) for every stored cell, row-major: each row's
// cells walked as the array they are, not through forEachStoredCell's
// callback, as this visits every cell of a sheet of constants too.
template <class F> void forEachStored(const Sheet& sheet, F&& f) {
    const int64_t rows = sheet.storedRowCount();
    for (int64_t row = 0; row < rows; ++row) {
        int64_t col = 0;
        for (const Cell& cell : sheet.storedRow(row))
            f(row, col++, cell);
    }
}

bool isPromotable(const Cell& cell) {
    return !cell.hasFormula() && cell.value().starts_with('=');
}

} // namespace

void SheetCalculator::build(bool promoteValues) {
    clearFormulas();
    size_t formulas = 0;
    forEachStored(sheet(), [&](int64_t, int64_t, const Cell& cell) {
        formulas += cell.hasFormula() || (promoteValues && isPromotable(cell)) ? 1 : 0;
    });
    if (formulas == 0) { // nothing to promote or enter: a sheet of constants
        built_ = true;
        return;
    }
    graph_.reserve(formulas);
    parsed_.reserve(formulas);
    shapeRows_.reserve(formulas);
    if (formulas >= kParallelFormulas && std::thread::hardware_concurrency() >= 2) {
        buildInTwo(promoteValues);
    } else {
        forEachStored(sheet(), [&](int64_t row, int64_t col, const Cell& cell) {
            if (promoteValues && isPromotable(cell)) promote(*sheet().storedCell(row, col));
            if (cell.hasFormula() && representable(col, row))
                registerFormula(static_cast<int32_t>(col), static_cast<int32_t>(row), *cell.formula(), true);
        });
    }
    built_ = true;
}

void SheetCalculator::buildInTwo(bool promoteValues) {
    struct Parsed {
        int32_t col, row;
        ParsedFormula formula;
        uint32_t readBegin, readCount;
    };
    struct Batch {
        std::vector<Parsed> formulas;
        std::vector<CellRect> reads;
    };
    std::mutex mutex;
    std::condition_variable handedOver;
    std::deque<Batch> batches;
    bool finished = false, cancelled = false;
    std::exception_ptr failure;

    auto parseAll = [&] {
        try {
            Batch batch;
            auto handOver = [&] {
                std::lock_guard lock(mutex);
                batches.push_back(std::move(batch));
                handedOver.notify_one();
                batch = Batch();
                return !cancelled;
            };
            bool going = true;
            forEachStored(sheet(), [&](int64_t row, int64_t col, const Cell& cell) {
                if (!going) return;
                if (promoteValues && isPromotable(cell)) promote(*sheet().storedCell(row, col));
                if (!cell.hasFormula() || !representable(col, row)) return;
                Parsed p{static_cast<int32_t>(col), static_cast<int32_t>(row), {}, 0, 0};
                p.readBegin = static_cast<uint32_t>(batch.reads.size());
                if (!parse(*cell.formula(), true, p.formula, batch.reads)) return;
                p.readCount = static_cast<uint32_t>(batch.reads.size()) - p.readBegin;
                batch.formulas.push_back(p);
                if (batch.formulas.size() == kBatchFormulas) going = handOver();
            });
            if (!batch.formulas.empty()) handOver();
        } catch (...) {
            failure = std::current_exception();
        }
        std::lock_guard lock(mutex);
        finished = true;
        handedOver.notify_one();
    };
    // Without a thread to be had, the parsing runs first, then the graph.
    std::thread parser;
    try {
        parser = std::thread(parseAll);
    } catch (const std::system_error&) {
        parseAll();
    }

    try {
        for (;;) {
            Batch batch;
            {
                std::unique_lock lock(mutex);
                handedOver.wait(lock, [&] { return !batches.empty() || finished; });
                if (batches.empty()) break;
                batch = std::move(batches.front());
                batches.pop_front();
            }
            for (const Parsed& p : batch.formulas)
                addParsed(p.col, p.row, p.formula, {batch.reads.data() + p.readBegin, p.readCount});
        }
    } catch (...) {
        {
            std::lock_guard lock(mutex);
            cancelled = true;
        }
        if (parser.joinable()) parser.join();
        throw;
    }
    if (parser.joinable()) parser.join();
    if (failure) std::rethrow_exception(failure);
}

} // namespace sumora
