#include "macros/MacroRunner.h"

#include <optional>
#include <stdexcept>

#include "editing/SumoraEditorView.h"

namespace sumora {

std::string_view macroExampleScript() {
    return R"JS(// Example: Fill column A with row numbers
for (var i = 0; i < 10; i++) {
    setRef("A" + (i + 1), i + 1);
}
recalculate();
console.log("Filled 10 rows in column A");
)JS";
}

const std::vector<MacroReferenceEntry>& macroReferenceEntries() {
    static const std::vector<MacroReferenceEntry> entries = {
        {"cell(\"A1\")", "Read cell value by reference"},
        {"setRef(\"A1\", value)", "Write value to cell"},
        {"num(\"A1\")", "Read as number (0 if not numeric)"},
        {"getCell(col, row)", "Read by 0-based col-row index"},
        {"setCell(col, row, value)", "Write by 0-based col-row index"},
        {"getRange(sc, sr, ec, er)", "Read 2D range as string array"},
        {"recalculate()", "Recalculate all formulas"},
        {"console.log(msg)", "Print to output panel"},
        {"colIndex(\"A\")", "Column letter to 0-based index"},
    };
    return entries;
}

namespace {

// A rectangle handed to a script is built in full (cells outside the grid
// read as ""), so its size is bounded rather than the grid's.
constexpr int64_t kMaxRangeCells = 2'000'000;

std::string cellText(const Sheet& sheet, CellPosition at) {
    if (!sheet.contains(at.row, at.col)) return {};
    return std::string(sheet.cell(at.row, at.col).displayValue());
}

} // namespace

MacroRunner::MacroRunner(SumoraEditorView& editor) : editor_(editor) {}

MacroRunResult MacroRunner::run(std::string_view script) {
    stopSwitch_->reset();
    if (auto reason = SumoraScriptEngine::unavailableReason()) {
        MacroRunResult refused{{"Error: " + *reason}, false};
        output.insert(output.end(), refused.lines.begin(), refused.lines.end());
        return refused;
    }
    SumoraScriptEngine engine;
    engine.timeLimitSeconds = timeLimitSeconds;
    engine.stopSwitch = stopSwitch_;

    engine.getCellHandler = [this](CellPosition at) {
        const Sheet* sheet = editor_.activeSheet();
        return sheet ? cellText(*sheet, at) : std::string();
    };
    engine.setCellHandler = [this](CellPosition at, std::string_view value) {
        const Sheet* sheet = editor_.activeSheet();
        if (!sheet || !sheet->contains(at.row, at.col)) return;
        editor_.setCellValue(at, value);
    };
    engine.getRangeHandler = [this](const CellArea& area) {
        const int64_t sc = area.startCol, sr = area.startRow, ec = area.endCol, er = area.endRow;
        std::vector<std::vector<std::string>> rows;
        const Sheet* sheet = editor_.activeSheet();
        if (!sheet || sc > ec || sr > er) return rows;
        const int64_t width = ec - sc + 1, height = er - sr + 1;
        if (width > kMaxRangeCells || height > kMaxRangeCells / width)
            throw std::length_error("getRange: the rectangle holds more than " +
                                    std::to_string(kMaxRangeCells) + " cells");
        rows.reserve(static_cast<size_t>(height));
        for (int64_t r = sr; r <= er; ++r) {
            auto& row = rows.emplace_back();
            row.reserve(static_cast<size_t>(width));
            for (int64_t c = sc; c <= ec; ++c)
                row.push_back(cellText(*sheet, {c, r}));
        }
        return rows;
    };
    engine.recalcHandler = [this] { editor_.recalculateAllFormulas(); };

    // The writes are collected into the run's one step instead of each
    // becoming a step of its own.
    engine.logOutput.clear();
    MacroRunResult result;
    editor_.beginCellChanges();
    try {
        result.completed = engine.evaluate(script);
    } catch (...) {
        editor_.endCellChanges();
        throw;
    }
    result.lines = std::move(engine.logOutput);
    if (result.lines.empty()) result.lines.emplace_back(kMacroNoOutputLine);
    output.insert(output.end(), result.lines.begin(), result.lines.end());
    editor_.recalculateAllFormulas();

    CellChangeRecord record = editor_.endCellChanges();
    record.dropUnchanged();
    editor_.registerCellChanges(std::string(kMacroUndoActionName), std::move(record),
                                UndoRecalculation::wholeSheet);
    return result;
}

} // namespace sumora
