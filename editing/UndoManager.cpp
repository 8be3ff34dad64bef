#include "editing/UndoManager.h"

namespace sumora {

void UndoManager::registerStep(std::string name, std::function<void()> undo, std::function<void()> redo) {
    undoStack_.push_back({std::move(name), std::move(undo), std::move(redo)});
    if (levels_ && undoStack_.size() > levels_) undoStack_.erase(undoStack_.begin());
    redoStack_.clear();
}

std::optional<std::string> UndoManager::undoActionName() const {
    if (undoStack_.empty()) return std::nullopt;
    return undoStack_.back().name;
}

std::optional<std::string> UndoManager::redoActionName() const {
    if (redoStack_.empty()) return std::nullopt;
    return redoStack_.back().name;
}

bool UndoManager::undo() {
    if (undoStack_.empty()) return false;
    Step step = std::move(undoStack_.back());
    undoStack_.pop_back();
    if (step.undo) step.undo();
    redoStack_.push_back(std::move(step));
    return true;
}

bool UndoManager::redo() {
    if (redoStack_.empty()) return false;
    Step step = std::move(redoStack_.back());
    redoStack_.pop_back();
    if (step.redo) step.redo();
    undoStack_.push_back(std::move(step));
    return true;
}

void UndoManager::clear() {
    undoStack_.clear();
    redoStack_.clear();
}

} // namespace sumora
