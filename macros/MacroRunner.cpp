#include "macros/MacroRunner.h"

#include <optional>
#include <stdexcept>
#include <unordered_map>

#include "editing/SumoraEditorView.h"
#include "engine/Recalculation.h"
#include "functions/BuiltinFunctions.h"

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

// The cells a run changed, as they were before its first write to each and
// as they are at the end: the one undo step of the run.
class MacroEdits {
  public:
    void noteBeforeWrite(const Sheet& sheet, int64_t col, int64_t row) {
        auto [it, inserted] = index_.try_emplace(key(col, row), edits_.size());
        if (inserted) edits_.push_back({col, row, sheet.cell(row, col), Cell()});
    }

    // Keeps the cells whose record changed; false when none did.
    bool finish(const Sheet& sheet) {
        std::vector<Edit> changed;
        for (Edit& e : edits_) {
            e.after = sheet.cell(e.row, e.col);
            if (!(e.after == e.before)) changed.push_back(std::move(e));
        }
        edits_ = std::move(changed);
        index_.clear();
        return !edits_.empty();
    }

    void putBack(Sheet& sheet, bool restoreBefore) const {
        for (const Edit& e : edits_)
            if (sheet.contains(e.row, e.col)) sheet.setCell(e.row, e.col, restoreBefore ? e.before : e.after);
    }

  private:
    struct Edit {
        int64_t col, row;
        Cell before, after;
    };
    static uint64_t key(int64_t col, int64_t row) {
        return (static_cast<uint64_t>(row) << 32) | static_cast<uint32_t>(col);
    }

    std::vector<Edit> edits_;
    std::unordered_map<uint64_t, size_t> index_;
};

std::string cellText(const Sheet& sheet, int64_t col, int64_t row) {
    if (!sheet.contains(row, col)) return {};
    return std::string(sheet.cell(row, col).displayValue());
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

    auto edits = std::make_shared<MacroEdits>();
    engine.getCellHandler = [this](int64_t col, int64_t row) {
        const Sheet* sheet = editor_.activeSheet();
        return sheet ? cellText(*sheet, col, row) : std::string();
    };
    engine.setCellHandler = [this, edits](int64_t col, int64_t row, std::string_view value) {
        const Sheet* sheet = editor_.activeSheet();
        if (!sheet || !sheet->contains(row, col)) return;
        edits->noteBeforeWrite(*sheet, col, row);
        editor_.setCellValue({col, row}, value);
    };
    engine.getRangeHandler = [this](int64_t sc, int64_t sr, int64_t ec, int64_t er) {
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
                row.push_back(cellText(*sheet, c, r));
        }
        return rows;
    };
    engine.recalcHandler = [this] { editor_.recalculateAllFormulas(); };

    // Each write would otherwise be an undo step of its own; the run's
    // writes become one step below.
    UndoManager* window = editor_.undoManager;
    editor_.undoManager = nullptr;
    struct Restore {
        SumoraEditorView& editor;
        UndoManager* window;
        ~Restore() { editor.undoManager = window; }
    } restore{editor_, window};

    const std::string sheetId = editor_.activeSheet() ? editor_.activeSheet()->id : std::string();
    engine.logOutput.clear();
    MacroRunResult result;
    result.completed = engine.evaluate(script);
    result.lines = std::move(engine.logOutput);
    if (result.lines.empty()) result.lines.emplace_back(kMacroNoOutputLine);
    output.insert(output.end(), result.lines.begin(), result.lines.end());
    editor_.recalculateAllFormulas();

    const Sheet* sheet = editor_.activeSheet();
    if (!window || !sheet || !edits->finish(*sheet)) return result;
    SumoraEditorView& editor = editor_;
    auto putBack = [&editor, sheetId, edits](bool restoreBefore) {
        SumoraDocument& document = editor.document;
        auto index = document.sheetIndexById(sheetId);
        if (!index) return;
        edits->putBack(document.sheets[*index], restoreBefore);
        // The editor's calculators learnt the macro's cells; the sheet is
        // recomputed as a whole, as after the run.
        editor.invalidateCalculators();
        recalculateSheet(document, *index, builtinFunctions());
    };
    window->registerStep(
        std::string(kMacroUndoActionName), [putBack] { putBack(true); }, [putBack] { putBack(false); });
    return result;
}

} // namespace sumora
