#pragma once
// Undo and redo stacks of named steps. A step carries the action that undoes
// it and the action that redoes it; undoing moves it to the redo stack.
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sumora {

class UndoManager {
public:
    struct Step {
        std::string name;
        std::function<void()> undo;
        std::function<void()> redo;
    };

    // Registers a new step (clears the redo stack, as every new edit does).
    void registerStep(std::string name, std::function<void()> undo, std::function<void()> redo);
    bool canUndo() const { return !undoStack_.empty(); }
    bool canRedo() const { return !redoStack_.empty(); }
    // Names of the steps an Undo/Redo menu item would name ("Typing", "Sort").
    std::optional<std::string> undoActionName() const;
    std::optional<std::string> redoActionName() const;
    bool undo();
    bool redo();
    void clear();
    size_t undoCount() const { return undoStack_.size(); }
    size_t redoCount() const { return redoStack_.size(); }
    // Bounds memory on long sessions: the oldest steps are dropped.
    void setLevelsOfUndo(size_t levels) { levels_ = levels; }

private:
    std::vector<Step> undoStack_;
    std::vector<Step> redoStack_;
    size_t levels_ = 500;
};

} // namespace sumora
