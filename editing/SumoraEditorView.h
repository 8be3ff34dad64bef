#pragma once
// The editor without any toolkit: the document it edits, the active sheet,
// the active cell and selection, the undo manager, and every command that
// changes cells. The desktop window only drives it; every command is usable
// headless. The data tools and what-if tools take their dialog's inputs as a
// request of their own (editing/GoalSeek.h, Solver.h, ScenarioRequest.h,
// FindReplace.h, SortRequest.h, TextToColumns.h, RemoveDuplicates.h) and
// return their outcome; the editor keeps only the state that outlives a
// command (the automatic filter, the last search, scenario originals).
//
// Command implementations live in one file per group:
//   EditorCellEntry.cpp    — setCellValue, recalculation, AutoSum, fill, text paste, insert/delete, merge,
//                            statistics, decimals, function insertion
//   EditorFormatting.cpp   — withFormattingUndo and the formatting commands
//   EditorClipboard.cpp    — copy, cut, paste of copied cells, paste special, clear contents, fill handle
//   EditorDataTools.cpp    — sort, filter, find and replace, text to columns, remove duplicates
//   EditorWhatIf.cpp       — goal seek, solver, scenarios
//   EditorLineVisibility.cpp — hiding and showing rows and columns
//   SumoraEditorView.cpp   — calculators, and the undo steps of changed cells
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/CellPosition.h"
#include "document/SumoraDocument.h"
#include "editing/AutoFilter.h"
#include "editing/CellChangeRecord.h"
#include "editing/Clipboard.h"
#include "editing/FindReplace.h"
#include "editing/GoalSeek.h"
#include "editing/RemoveDuplicates.h"
#include "editing/ScenarioRequest.h"
#include "editing/SelectionRange.h"
#include "editing/Solver.h"
#include "editing/SortRequest.h"
#include "editing/TextToColumns.h"
#include "editing/UndoManager.h"

namespace sumora {

class SheetCalculator;

struct SelectionStats {
    double sum = 0;
    int64_t count = 0;
    std::optional<double> average;
    std::optional<double> min;
    std::optional<double> max;
};

// What an undo or redo step of changed cells recomputes.
enum class UndoRecalculation {
    // Undo puts records back and recomputes nothing (cells that read them keep
    // their values until the next edit); redo recomputes each changed cell.
    entry,
    // Both recompute every formula of each sheet the step touched.
    wholeSheet,
};

enum class PasteMode { all, valuesOnly, formulasOnly, formattingOnly };

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
    AutoFilter autoFilter;

    Sheet* activeSheet();
    // Called when a sheet's structure changed outside the editor (sort,
    // insert/delete, file reload) so cached calculators rebuild.
    void invalidateCalculators();

    // ---- cell entry and editing commands (EditorCellEntry.cpp) -------------
    void setCellValue(CellPosition address, std::string_view value);
    // What typed text is stored as: a formula as typed, a literal read in the
    // entry locale ("1.234" in de_DE → "1234"). Checks before an entry use it.
    std::string storedEntryText(std::string_view text) const;
    void recalculateCell(CellPosition cell);
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

    // ---- hiding rows and columns (EditorLineVisibility.cpp) -----------------
    // Hides or shows the rows (columns) of the selection, else of the active
    // cell. Only the sheet's hidden flags change: no cell, size or formula
    // moves. One undo step when something changed.
    void setSelectedRowsHidden(bool hidden);
    void setSelectedColumnsHidden(bool hidden);

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

    // ---- undo of changed cells (SumoraEditorView.cpp) ----------------------
    // While a collection is open, the cells that entry and paste write are
    // noted in one record instead of registering steps of their own; nested
    // begin/end pairs fold into the outermost, whose end returns the record.
    void beginCellChanges();
    CellChangeRecord endCellChanges();
    // The one registration of changed cells as an undo step on the window's
    // undo manager (nothing without one, or for an empty record).
    void registerCellChanges(std::string name, CellChangeRecord record, UndoRecalculation how);

    // ---- sort, filter, find, clean-up (EditorDataTools.cpp) ----------------
    void sortColumn(bool ascending);
    void performMultiSort(const SortRequest& request);
    bool filteredRowVisible(int64_t row) const;
    // Searches afresh; the result stays until the next search.
    const FindResult& performFind(const FindRequest& request);
    // Step through the last search's matches; a request that searches for
    // something else (or a search without matches) searches afresh first.
    const FindResult& findNext(const FindRequest& request);
    const FindResult& findPrevious(const FindRequest& request);
    const FindResult& replaceCurrentMatch(const FindRequest& request);
    const FindResult& replaceAllMatches(const FindRequest& request);
    const FindResult& findResult() const { return findResult_; }
    void performTextToColumns(const TextToColumnsRequest& request);
    RemoveDuplicatesResult performRemoveDuplicates(const RemoveDuplicatesRequest& request);

    // ---- goal seek, solver, scenarios (EditorWhatIf.cpp) -------------------
    GoalSeekResult performGoalSeek(const GoalSeekRequest& request);
    SolverResult runSolver(const SolverRequest& request);
    static std::string formatSolverValue(double number);
    void saveScenario(const ScenarioRequest& request);
    void applyScenario(const Scenario& scenario);
    void restoreOriginalValues();
    // Value texts that applied scenarios replaced, by reference text.
    const std::map<std::string, std::string>& savedOriginalValues() const { return savedOriginalValues_; }

  private:
    // Undo and recalculation plumbing shared by the commands (SumoraEditorView.cpp).
    // Registers a step on the window's undo manager, when there is one.
    void registerUndoStep(std::string name, std::function<void()> undo, std::function<void()> redo);
    // Runs `body` inside a collection and registers what it changed as one step.
    void groupUndoSteps(std::string name, const std::function<void()>& body, UndoRecalculation how);
    // What putting a record's cells back recomputes: the only place where an
    // undo or redo step recalculates.
    void recalculateRestoredCells(const CellChangeRecord& record, CellChangeRecord::Side side,
                                  UndoRecalculation how, const std::vector<size_t>& sheets);
    // Writes a whole cell record, noting the old one in the open collection
    // (or registering a step of its own outside one).
    void replaceCell(size_t sheetIndex, CellPosition at, Cell cell);
    // One cell's content changed: recomputes it and what reads it.
    void recalculateChangedCell(size_t sheetIndex, CellPosition at);
    // Many cells were written directly: rebuilds and recomputes the sheet.
    void recalculateChangedSheet(size_t sheetIndex);
    // The same by sheet id (nothing when the sheet is gone).
    void recalculateChangedSheetWithId(const std::string& sheetId);
    // Cells moved without recalculation (insert, delete): the calculator
    // forgets what it learnt so later edits see the cells where they are.
    void forgetCalculatedState(size_t sheetIndex);
    SheetCalculator& calculator(size_t sheetIndex);
    // One cell record was put back without recalculation (undo of an entry):
    // the calculator re-reads that cell and keeps everything else.
    void cellRestored(size_t sheetIndex, CellPosition at);
    // Pastes the cells held by copySelection/cutSelection; false when there
    // are none or the clipboard's text no longer comes from them.
    bool pasteCopiedCells(PasteMode mode);
    // Cells a command acts on: the selection, else the active cell.
    std::optional<SelectionRange> targetRange() const;
    // Adds [first, last] to the active sheet's `lines` or removes it, as one undo step.
    void setLinesHidden(LineSet Sheet::*lines, int64_t first, int64_t last, bool hidden,
                        std::string actionName);
    // Moves to match `index` of the last search and names it in the status.
    void showMatch(size_t index);

    UndoManager ownUndoManager_;
    MemoryClipboard ownClipboard_;
    std::vector<std::unique_ptr<SheetCalculator>> calculators_;
    std::vector<std::string> calculatorSheetIds_; // sheet each calculator was built for
    // Cells copied by copySelection/cutSelection, with their origin.
    struct CopiedBlock {
        std::string sheetId;
        SelectionRange range;
        std::vector<std::vector<Cell>> cells;
        bool isCut = false;
    };
    std::optional<CopiedBlock> copied_;
    std::optional<CellChangeRecord> collecting_;
    int collectingDepth_ = 0;
    FindRequest findRequest_; // the last search
    FindResult findResult_;
    std::map<std::string, std::string> savedOriginalValues_;

    friend class EditorTestAccess;
};

} // namespace sumora
