#pragma once
// The editor without any toolkit: the document it edits, the active sheet,
// the active cell and selection, the undo manager, the inputs and status
// texts of the find bar and dialogs, and every command that changes cells.
// The desktop window only drives it; every command is usable headless.
//
// Command implementations live in one file per group:
//   EditorCellEntry.cpp    — setCellValue, recalculation, AutoSum, fill, text paste, insert/delete, merge,
//                            statistics, decimals, function insertion
//   EditorFormatting.cpp   — withFormattingUndo and the formatting commands
//   EditorClipboard.cpp    — copy, cut, paste of copied cells, paste special, clear contents, fill handle
//   EditorDataTools.cpp    — sort, filter, find and replace, text to columns, remove duplicates
//   EditorWhatIf.cpp       — goal seek, solver, scenarios
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "document/SumoraDocument.h"
#include "editing/UndoManager.h"

namespace sumora {

class SheetCalculator;

struct CellPosition {
    int64_t col = 0;
    int64_t row = 0;
    bool operator==(const CellPosition&) const = default;
};

struct SelectionRange {
    int64_t startCol = 0, startRow = 0, endCol = 0, endRow = 0;
    // Bounds ordered low to high.
    int64_t minCol() const { return std::min(startCol, endCol); }
    int64_t maxCol() const { return std::max(startCol, endCol); }
    int64_t minRow() const { return std::min(startRow, endRow); }
    int64_t maxRow() const { return std::max(startRow, endRow); }
    bool isSingleCell() const { return startCol == endCol && startRow == endRow; }
    bool operator==(const SelectionRange&) const = default;
};

// The system pasteboard as plain text; the desktop app plugs in its own.
class Clipboard {
  public:
    virtual ~Clipboard() = default;
    virtual std::optional<std::string> text() const = 0;
    virtual void setText(std::string text) = 0;
};

// A clipboard held in memory (tests, the command line).
class MemoryClipboard : public Clipboard {
  public:
    std::optional<std::string> text() const override { return text_; }
    void setText(std::string text) override { text_ = std::move(text); }

  private:
    std::optional<std::string> text_;
};

struct SelectionStats {
    double sum = 0;
    int64_t count = 0;
    std::optional<double> average;
    std::optional<double> min;
    std::optional<double> max;
};

enum class PasteMode { all, valuesOnly, formulasOnly, formattingOnly };

enum class TextToColumnsDelimiter { comma, semicolon, space, pipe, custom };

struct SortKey {
    int64_t column = 0;
    bool ascending = true;
};

struct SolverConstraint {
    std::string id = newIdentifier();
    std::string cellRef;
    std::string op; // "<=", ">=", "=", "int", "bin"
    std::string value;
};

class SumoraEditorView {
  public:
    explicit SumoraEditorView(SumoraDocument& document);
    ~SumoraEditorView();
    SumoraEditorView(const SumoraEditorView&) = delete;
    SumoraEditorView& operator=(const SumoraEditorView&) = delete;

    // ---- view state --------------------------------------------------------
    SumoraDocument& document;
    int64_t activeSheetIndex = 0;
    std::optional<CellPosition> activeCell;
    std::optional<SelectionRange> selection;
    UndoManager* undoManager; // the window's; defaults to the editor's own
    // Locale of number entry ("en_US", "de_DE"): decimal and grouping separators.
    std::string localeIdentifier = "en_US";
    Clipboard* clipboard; // defaults to an in-memory clipboard

    Sheet* activeSheet();
    // Called when a sheet's structure changed outside the editor (sort,
    // insert/delete, file reload) so cached calculators rebuild.
    void invalidateCalculators();

    // ---- cell entry and editing commands (EditorCellEntry.cpp) -------------
    void setCellValue(CellPosition address, std::string_view value);
    // What typed text is stored as: a formula as typed, a literal read in the
    // entry locale ("1.234" in de_DE → "1234"). Checks before an entry use it.
    std::string storedEntryText(std::string_view text) const;
    void recalculateCell(int64_t column, int64_t row);
    void recalculateAllFormulas();
    void insertAutoSum();
    void fillDown();
    void fillRight();
    void pasteCell();
    void insertRowAbove();
    void insertColumnLeft();
    void deleteSelectedRow();
    void deleteSelectedColumn();
    void toggleMergeCells();
    SelectionStats selectionStats() const;
    // "Cell: B2", and for numeric selections "Sum: ", "Average: ", "Min: ",
    // "Max: " ("%.2f") and "Count: " ("%lld"), in that order.
    std::vector<std::string> statusTexts() const;
    void increaseDecimal();
    void decreaseDecimal();
    // The function-arguments panel: stores "=NAME(args)" in the target cell.
    void commitFunctionArgs(std::string_view name, const std::vector<std::string>& args, CellPosition target);
    // Opens the panel for a catalogue entry: logs and returns the slot count.
    int insertFunction(std::string_view name);

    // ---- formatting (EditorFormatting.cpp) ---------------------------------
    // Snapshots the formatting of every selected cell (or the active cell),
    // runs `body` on each, and registers one undo step named `actionName`.
    void withFormattingUndo(std::string_view actionName, const std::function<void(CellFormat&)>& body);
    void toggleBold();
    void toggleItalic();
    void toggleUnderline();
    void toggleStrikethrough();
    void setFontName(std::optional<std::string> name);
    void setFontSize(std::optional<double> size);
    void setFontColor(std::optional<std::string> hex);
    void setFillColor(std::optional<std::string> hex);
    void setBorders(bool top, bool bottom, bool left, bool right, bool thickBottom = false);
    void setAlignment(CellAlignment alignment);
    void toggleWrapText();
    void setNumberFormat(std::optional<std::string> code, int64_t numberFormatId = 0);
    void clearFormatting();

    // ---- clipboard (EditorClipboard.cpp) -----------------------------------
    void copySelection();
    void cutSelection();
    // Pastes copied cells (with reference adjustment and formats) when the
    // editor holds some, else the clipboard's text (pasteCell's text path).
    void paste();
    void pasteSpecial(PasteMode mode);
    void clearContents();
    // The fill handle: extends the source block over the target block.
    void performFill(const SelectionRange& source, const SelectionRange& target);
    // The value of step `stepIndex` (1 = the first filled cell) of a series
    // that starts with `seeds` (one or more texts).
    static std::string autoFillValue(const std::vector<std::string>& seeds, int64_t stepIndex);

  private:
    // Undo and recalculation plumbing shared by the commands (SumoraEditorView.cpp).
    // Registers a step on the window's undo manager, when there is one.
    void registerUndoStep(std::string name, std::function<void()> undo, std::function<void()> redo);
    // Runs `body` and registers everything it registered as one step named
    // `name`; `afterChange` runs after the grouped undo and after the redo.
    void groupUndoSteps(std::string name, const std::function<void()>& body,
                        std::function<void()> afterChange = {});
    // Writes a whole cell record, registering a step that puts the old one back.
    void replaceCell(size_t sheetIndex, int64_t col, int64_t row, Cell cell);
    // One cell's content changed: recomputes it and what reads it.
    void recalculateChangedCell(size_t sheetIndex, int64_t col, int64_t row);
    // Many cells were written directly: rebuilds and recomputes the sheet.
    void recalculateChangedSheet(size_t sheetIndex);
    // The same by sheet id, for undo steps (nothing when the sheet is gone).
    void recalculateChangedSheetWithId(const std::string& sheetId);
    // Cells moved without recalculation (insert, delete): the calculator
    // forgets what it learnt so later edits see the cells where they are.
    void forgetCalculatedState(size_t sheetIndex);
    // One cell record was put back without recalculation (undo of an entry):
    // the calculator re-reads that cell and keeps everything else.
    void cellRestored(size_t sheetIndex, int64_t col, int64_t row);
    // Pastes the cells held by copySelection/cutSelection; false when there
    // are none or the clipboard's text no longer comes from them.
    bool pasteCopiedCells(PasteMode mode);
    // Cells a command acts on: the selection, else the active cell.
    std::optional<SelectionRange> targetRange() const;

    std::vector<std::string> calculatorSheetIds_; // sheet each calculator was built for

  public:
    // ---- sort, filter, find, clean-up (EditorDataTools.cpp) ----------------
    void sortColumn(bool ascending);
    std::vector<SortKey> sortKeys; // the sort dialog's keys
    bool sortHasHeaderRow = false;
    void performMultiSort();
    bool autoFilterEnabled = false;
    std::map<int64_t, std::set<std::string>> autoFilterAllowed; // column → allowed texts
    bool filteredRowVisible(int64_t row) const;

    std::string findText;
    std::string replaceText;
    bool findMatchCase = false;
    bool findMatchEntireCell = false;
    bool findSearchInFormulas = false;
    bool findUseRegularExpression = false;
    std::vector<CellPosition> findMatches;
    std::optional<size_t> currentMatchIndex;
    std::string findStatusText; // "No matches", "2 of 5"
    void performFind();
    void findNext();
    void findPrevious();
    void replaceCurrentMatch();
    void replaceAllMatches();

    TextToColumnsDelimiter textToColumnsDelimiter = TextToColumnsDelimiter::comma;
    std::string textToColumnsCustomDelimiter;
    bool textToColumnsTreatConsecutiveAsOne = false;
    std::vector<std::string> splitText(std::string_view text) const;
    void performTextToColumns();

    bool removeDuplicatesHasHeaders = false;
    std::set<int64_t> removeDuplicatesColumns; // "Select columns to check"
    std::string removeDuplicatesStatusText;
    // Shown in the dialog before the removal: it registers no undo step.
    static constexpr std::string_view removeDuplicatesWarningText =
        "This action cannot be undone. Consider saving your workbook first.";
    void performRemoveDuplicates();

    // ---- goal seek, solver, scenarios (EditorWhatIf.cpp) -------------------
    std::string goalSeekSetCell;
    std::string goalSeekTargetValue;
    std::string goalSeekChangingCell;
    std::string goalSeekStatusText;
    void performGoalSeek();

    std::string solverObjectiveCell;
    std::string solverGoal = "max"; // "max", "min", "value"
    std::string solverTargetValue;
    std::string solverVariableCells;
    std::vector<SolverConstraint> solverConstraints;
    std::string solverStatusText;
    void runSolver();
    static std::string formatSolverValue(double number);

    std::string scenarioName;
    std::string scenarioComment;
    std::string scenarioChangingCells;
    std::optional<std::string> editingScenarioId;
    std::map<std::string, std::string> savedOriginalValues;
    void saveScenario();
    void applyScenario(const Scenario& scenario);
    void restoreOriginalValues();

  private:
    SheetCalculator& calculator(size_t sheetIndex);

    UndoManager ownUndoManager_;
    MemoryClipboard ownClipboard_;
    std::vector<std::unique_ptr<SheetCalculator>> calculators_;
    // Cells copied by copySelection/cutSelection, with their origin.
    struct CopiedBlock {
        std::string sheetId;
        SelectionRange range;
        std::vector<std::vector<Cell>> cells;
        bool isCut = false;
    };
    std::optional<CopiedBlock> copied_;

    friend class EditorTestAccess;
};

} // namespace sumora
