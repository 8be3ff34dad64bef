// Writing CSV: every stored row of the first sheet, each padded with empty
// fields to the sheet's width. The text is formatted in blocks of rows; on a
// machine with a second core a helper thread formats blocks ahead of the one
// being written while the calling thread formats, writes and helps in turn.
// The bytes are the same either way; only where the pieces handed to the
// sink begin and end differs.
#include <algorithm>
#include <array>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>

#include "formats/CsvFormat.h"

namespace sumora {

namespace {

// Bytes that make a field need quotes when written.
constexpr std::array<bool, 256> kQuotedBytes = [] {
    std::array<bool, 256> quoted{};
    quoted[','] = quoted['"'] = quoted['\n'] = true;
    return quoted;
}();

// Pieces handed to the sink are about this large.
constexpr size_t kPieceBytes = size_t{1} << 20;
// A block is about this many fields; a block whose text outgrows
// kBlockBytes (long texts) is left for the writing thread to finish.
constexpr int64_t kBlockFields = int64_t{1} << 15;
constexpr size_t kBlockBytes = size_t{4} << 20;
// Blocks formatted ahead of the one being written, at most.
constexpr size_t kBlocksAhead = 8;

// Where formatting stands: the next field to write is `col` of `row`;
// col == width means only the row's line feed is left.
struct GridPoint {
    int64_t row = 0;
    int64_t col = 0;
};

// Formats rows of a sheet. A row's text is its `width` fields joined by
// commas, then a line feed; the fields after the last stored cell are empty.
class RowFormatter {
  public:
    explicit RowFormatter(const Sheet& sheet)
        : sheet_(sheet), cols_(sheet.columnCount()), width_(std::max<int64_t>(cols_, 1)) {}

    // Appends from `at` up to the start of row `end`, stopping early once
    // `out` holds `limit` bytes or more; returns where it stopped.
    GridPoint format(GridPoint at, int64_t end, std::string& out, size_t limit) const {
        while (at.row < end) {
            const int64_t stored = std::min(sheet_.storedColumnCount(at.row), cols_);
            for (; at.col < stored; ++at.col) {
                if (out.size() >= limit) return at;
                if (at.col > 0) out += ',';
                appendCsvField(out, sheet_.cell(at.row, at.col).displayValue());
            }
            while (at.col < width_) { // the empty rest: only its commas
                if (out.size() >= limit) return at;
                const int64_t room = static_cast<int64_t>(std::max<size_t>(limit - out.size(), 1));
                const int64_t fields = std::min(width_ - at.col, room);
                out.append(static_cast<size_t>(fields - (at.col == 0 ? 1 : 0)), ',');
                at.col += fields;
            }
            out += '\n';
            at = {at.row + 1, 0};
        }
        return at;
    }

    // Hands rows [from, end) to `sink` in pieces of about kPieceBytes.
    void stream(GridPoint from, int64_t end, std::string& out,
                const std::function<void(std::string_view)>& sink) const {
        while (from.row < end) {
            out.clear();
            from = format(from, end, out, kPieceBytes);
            if (!out.empty()) sink(out);
        }
    }

    int64_t width() const { return width_; }

  private:
    const Sheet& sheet_;
    int64_t cols_;
    int64_t width_;
};

// The blocks of one sheet, formatted by whichever thread claims them first
// and written in order by the calling thread.
class BlockWriter {
  public:
    BlockWriter(const RowFormatter& formatter, int64_t rows, int64_t rowsPerBlock)
        : formatter_(formatter), rows_(rows), rowsPerBlock_(rowsPerBlock),
          blocks_(static_cast<size_t>((rows + rowsPerBlock - 1) / rowsPerBlock)) {}

    void write(const std::function<void(std::string_view)>& sink) {
        std::thread helper;
        try {
            helper = std::thread([this] { help(); });
        } catch (const std::system_error&) {
            // No thread to be had: the calling thread formats every block.
        }
        try {
            writeInOrder(sink);
        } catch (...) {
            finish(helper);
            throw;
        }
        finish(helper);
    }

  private:
    // A cache line each: the string's length changes with every byte
    // appended, and two threads append to neighbouring slots.
    struct alignas(64) Slot {
        std::string text;
        GridPoint stoppedAt; // where a block over kBlockBytes stopped
        bool ready = false;
    };

    int64_t firstRow(size_t block) const { return static_cast<int64_t>(block) * rowsPerBlock_; }
    int64_t endRow(size_t block) const { return std::min(rows_, firstRow(block) + rowsPerBlock_); }
    Slot& slotOf(size_t block) { return slots_[block % kBlocksAhead]; }

    // The next block to format, or none while the window is full.
    std::optional<size_t> claim() {
        if (claimed_ >= blocks_ || claimed_ >= written_ + kBlocksAhead) return std::nullopt;
        return claimed_++;
    }

    // Called without the lock held; the block's slot is this thread's alone
    // until it is marked ready.
    void format(size_t block) {
        Slot& slot = slotOf(block);
        slot.text.clear();
        slot.stoppedAt = formatter_.format({firstRow(block), 0}, endRow(block), slot.text, kBlockBytes);
    }

    void help() {
        std::unique_lock lock(mutex_);
        while (!stopping_) {
            std::optional<size_t> block = claim();
            if (!block) {
                if (claimed_ >= blocks_) return;
                changed_.wait(lock);
                continue;
            }
            lock.unlock();
            try {
                format(*block);
            } catch (...) {
                lock.lock();
                failure_ = std::current_exception();
                stopping_ = true;
                changed_.notify_all();
                return;
            }
            lock.lock();
            slotOf(*block).ready = true;
            changed_.notify_all();
        }
    }

    void writeInOrder(const std::function<void(std::string_view)>& sink) {
        std::string rest;
        for (size_t block = 0; block < blocks_; ++block) {
            {
                std::unique_lock lock(mutex_);
                while (!slotOf(block).ready) {
                    if (failure_) std::rethrow_exception(failure_);
                    // Rather than wait, format a block of its own.
                    if (std::optional<size_t> mine = claim()) {
                        lock.unlock();
                        format(*mine);
                        lock.lock();
                        slotOf(*mine).ready = true;
                    } else {
                        changed_.wait(lock);
                    }
                }
            }
            Slot& slot = slotOf(block);
            if (!slot.text.empty()) sink(slot.text);
            formatter_.stream(slot.stoppedAt, endRow(block), rest, sink);
            std::lock_guard lock(mutex_);
            slot.ready = false;
            ++written_;
            changed_.notify_all();
        }
    }

    void finish(std::thread& helper) {
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
            changed_.notify_all();
        }
        if (helper.joinable()) helper.join();
    }

    const RowFormatter& formatter_;
    const int64_t rows_;
    const int64_t rowsPerBlock_;
    const size_t blocks_;
    std::array<Slot, kBlocksAhead> slots_;
    std::mutex mutex_;
    std::condition_variable changed_;
    size_t claimed_ = 0; // blocks handed out so far
    size_t written_ = 0; // blocks given to the sink so far
    bool stopping_ = false;
    std::exception_ptr failure_;
};

} // namespace

void appendCsvField(std::string& out, std::string_view text) {
    if (std::none_of(text.begin(), text.end(),
                     [](char c) { return kQuotedBytes[static_cast<unsigned char>(c)]; })) {
        out.append(text);
        return;
    }
    out += '"';
    for (char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    out += '"';
}

void writeCsv(const SumoraDocument& document, const std::function<void(std::string_view)>& sink) {
    if (document.sheets.empty()) return;
    const Sheet& sheet = document.sheets.front();
    const RowFormatter formatter(sheet);
    // The grid is written whole, so a sheet reaching a far cell makes a file
    // of mostly commas: it goes out in pieces, never held in memory at once.
    const int64_t rows = sheet.rowCount();
    const int64_t rowsPerBlock = std::max<int64_t>(kBlockFields / formatter.width(), 1);
    if (rows >= 2 * rowsPerBlock && std::thread::hardware_concurrency() >= 2) {
        BlockWriter(formatter, rows, rowsPerBlock).write(sink);
        return;
    }
    std::string out;
    out.reserve(kPieceBytes + 4096);
    formatter.stream({0, 0}, rows, out, sink);
}

std::string writeCsv(const SumoraDocument& document) {
    std::string out;
    writeCsv(document, [&out](std::string_view piece) { out += piece; });
    return out;
}

} // namespace sumora
