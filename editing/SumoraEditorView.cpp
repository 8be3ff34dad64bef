// The editor's shared plumbing: the active sheet, one long-lived calculator
// per sheet, and the undo helpers every command group registers through.
#include "editing/SumoraEditorView.h"

#include <stdexcept>

#include "engine/SheetCalculator.h"
#include "functions/BuiltinFunctions.h"

namespace sumora {

SumoraEditorView::SumoraEditorView(SumoraDocument& doc)
    : document(doc), undoManager(&ownUndoManager_), clipboard(&ownClipboard_) {}

SumoraEditorView::~SumoraEditorView() = default;

Sheet* SumoraEditorView::activeSheet() {
    if (activeSheetIndex < 0 || static_cast<size_t>(activeSheetIndex) >= document.sheets.size())
        return nullptr;
    return &document.sheets[static_cast<size_t>(activeSheetIndex)];
}

void SumoraEditorView::invalidateCalculators() {
    for (auto& c : calculators_)
        if (c) c->invalidate();
}

SheetCalculator& SumoraEditorView::calculator(size_t sheetIndex) {
    if (sheetIndex >= document.sheets.size())
        throw std::out_of_range("The workbook has no sheet number " + std::to_string(sheetIndex + 1) + ".");
    if (calculators_.size() <= sheetIndex) {
        calculators_.resize(sheetIndex + 1);
        calculatorSheetIds_.resize(sheetIndex + 1);
    }
    // A sheet deleted or replaced under the editor leaves another sheet at
    // this index; what the old calculator learnt is about the wrong cells.
    const std::string& id = document.sheets[sheetIndex].id;
    if (!calculators_[sheetIndex] || calculatorSheetIds_[sheetIndex] != id) {
        calculators_[sheetIndex] =
            std::make_unique<SheetCalculator>(document, sheetIndex, builtinFunctions());
        calculatorSheetIds_[sheetIndex] = id;
    }
    return *calculators_[sheetIndex];
}

void SumoraEditorView::recalculateChangedCell(size_t sheetIndex, CellPosition at) {
    if (sheetIndex >= document.sheets.size()) return;
    calculator(sheetIndex).recalculate(at);
}

void SumoraEditorView::recalculateChangedSheet(size_t sheetIndex) {
    if (sheetIndex >= document.sheets.size()) return;
    // recalculateAll rebuilds the graph from the cells, which also covers moves.
    calculator(sheetIndex).recalculateAll();
}

void SumoraEditorView::recalculateChangedSheetWithId(const std::string& sheetId) {
    if (auto index = document.sheetIndexById(sheetId)) recalculateChangedSheet(*index);
}

void SumoraEditorView::forgetCalculatedState(size_t sheetIndex) {
    if (sheetIndex < calculators_.size() && calculators_[sheetIndex]) calculators_[sheetIndex]->invalidate();
}

void SumoraEditorView::cellRestored(size_t sheetIndex, CellPosition at) {
    if (sheetIndex < calculators_.size() && calculators_[sheetIndex] &&
        calculatorSheetIds_[sheetIndex] == document.sheets[sheetIndex].id)
        calculators_[sheetIndex]->cellRestored(at);
}

void SumoraEditorView::registerUndoStep(std::string name, std::function<void()> undo,
                                        std::function<void()> redo) {
    if (undoManager) undoManager->registerStep(std::move(name), std::move(undo), std::move(redo));
}

void SumoraEditorView::beginCellChanges() {
    if (collectingDepth_++ == 0) collecting_.emplace();
}

CellChangeRecord SumoraEditorView::endCellChanges() {
    if (collectingDepth_ == 0 || --collectingDepth_ > 0) return {};
    CellChangeRecord record = std::move(*collecting_);
    collecting_.reset();
    record.readAfter(document);
    return record;
}

void SumoraEditorView::registerCellChanges(std::string name, CellChangeRecord record, UndoRecalculation how) {
    if (!undoManager || record.empty()) return;
    auto shared = std::make_shared<const CellChangeRecord>(std::move(record));
    auto put = [this, shared, how](CellChangeRecord::Side side) {
        // Redoing an entry writes where the grid may since have shrunk.
        const bool grow = how == UndoRecalculation::entry && side == CellChangeRecord::Side::after;
        recalculateRestoredCells(*shared, side, how, shared->put(document, side, grow));
    };
    undoManager->registerStep(
        std::move(name), [put] { put(CellChangeRecord::Side::before); },
        [put] { put(CellChangeRecord::Side::after); });
}

void SumoraEditorView::recalculateRestoredCells(const CellChangeRecord& record, CellChangeRecord::Side side,
                                                UndoRecalculation how, const std::vector<size_t>& sheets) {
    if (how == UndoRecalculation::wholeSheet) {
        invalidateCalculators();
        for (size_t index : sheets)
            recalculateChangedSheet(index);
        return;
    }
    if (side == CellChangeRecord::Side::before) {
        // Undo of an entry recalculates nothing: the calculator re-reads the
        // restored cells and keeps everything else it knows.
        for (const CellChangeRecord::Change& c : record.changes())
            if (auto index = document.sheetIndexById(record.sheetIds()[c.sheet])) cellRestored(*index, c.at);
        return;
    }
    for (const CellChangeRecord::Change& c : record.changes())
        if (auto index = document.sheetIndexById(record.sheetIds()[c.sheet]))
            recalculateChangedCell(*index, c.at);
}

void SumoraEditorView::groupUndoSteps(std::string name, const std::function<void()>& body,
                                      UndoRecalculation how) {
    beginCellChanges();
    try {
        body();
    } catch (...) {
        endCellChanges();
        throw;
    }
    registerCellChanges(std::move(name), endCellChanges(), how);
}

void SumoraEditorView::replaceCell(size_t sheetIndex, CellPosition at, Cell cell) {
    const int64_t col = at.col, row = at.row;
    if (sheetIndex >= document.sheets.size() || col < 0 || row < 0) return;
    Sheet& sheet = document.sheets[sheetIndex];
    if (sheet.cell(row, col) == cell) return;
    if (collecting_) {
        collecting_->noteBefore(sheet, {col, row});
        sheet.setCell(row, col, std::move(cell));
        return;
    }
    CellChangeRecord record;
    record.add(sheet, {col, row}, sheet.cell(row, col), cell);
    sheet.setCell(row, col, std::move(cell));
    registerCellChanges("Edit", std::move(record), UndoRecalculation::entry);
}

std::optional<SelectionRange> SumoraEditorView::targetRange() const {
    if (selection) return selection;
    if (activeCell) return SelectionRange{activeCell->col, activeCell->row, activeCell->col, activeCell->row};
    return std::nullopt;
}

} // namespace sumora
