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

void SumoraEditorView::recalculateChangedCell(size_t sheetIndex, int64_t col, int64_t row) {
    if (sheetIndex >= document.sheets.size()) return;
    calculator(sheetIndex).recalculate(col, row);
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

void SumoraEditorView::cellRestored(size_t sheetIndex, int64_t col, int64_t row) {
    if (sheetIndex < calculators_.size() && calculators_[sheetIndex] &&
        calculatorSheetIds_[sheetIndex] == document.sheets[sheetIndex].id)
        calculators_[sheetIndex]->cellRestored(col, row);
}

void SumoraEditorView::registerUndoStep(std::string name, std::function<void()> undo,
                                        std::function<void()> redo) {
    if (undoManager) undoManager->registerStep(std::move(name), std::move(undo), std::move(redo));
}

void SumoraEditorView::groupUndoSteps(std::string name, const std::function<void()>& body,
                                      std::function<void()> afterChange) {
    UndoManager* window = undoManager;
    if (!window) {
        body();
        return;
    }
    // The body's steps land on a private manager; undoing the group unwinds
    // it completely and redoing replays it, in order.
    auto steps = std::make_shared<UndoManager>();
    steps->setLevelsOfUndo(0);
    undoManager = steps.get();
    try {
        body();
    } catch (...) {
        undoManager = window;
        throw;
    }
    undoManager = window;
    if (!steps->canUndo()) return;
    window->registerStep(
        std::move(name),
        [steps, afterChange] {
            while (steps->undo()) {
            }
            if (afterChange) afterChange();
        },
        [steps, afterChange] {
            while (steps->redo()) {
            }
            if (afterChange) afterChange();
        });
}

void SumoraEditorView::replaceCell(size_t sheetIndex, int64_t col, int64_t row, Cell cell) {
    if (sheetIndex >= document.sheets.size() || col < 0 || row < 0) return;
    Sheet& sheet = document.sheets[sheetIndex];
    Cell before = sheet.cell(row, col);
    if (before == cell) return;
    auto put = [this, sheetId = sheet.id, col, row](const Cell& record) {
        if (auto index = document.sheetIndexById(sheetId)) document.sheets[*index].setCell(row, col, record);
    };
    put(cell);
    registerUndoStep(
        "Edit", [put, before] { put(before); }, [put, after = std::move(cell)] { put(after); });
}

std::optional<SelectionRange> SumoraEditorView::targetRange() const {
    if (selection) return selection;
    if (activeCell) return SelectionRange{activeCell->col, activeCell->row, activeCell->col, activeCell->row};
    return std::nullopt;
}

} // namespace sumora
