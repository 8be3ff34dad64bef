#pragma once
// The cells one undoable action changed: each as it was before the action's
// first write to it and as the action left it. Every command that writes
// cells (entry, fill, paste, replace all, text to columns, a macro run, the
// macro panel's write-back) collects one record and hands it to
// SumoraEditorView::registerCellChanges, which makes it one undo step.
//
// Sheets are remembered by id, so a step still finds its sheet after tabs
// were added in front of it, and does nothing once the sheet is gone.
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "document/Cell.h"
#include "document/CellPosition.h"

namespace sumora {

class Sheet;
class SumoraDocument;

class CellChangeRecord {
  public:
    struct Change {
        size_t sheet = 0; // into sheetIds()
        CellPosition at;
        Cell before;
        Cell after;
    };
    enum class Side { before, after };

    // Notes a cell as it is now, before a write; a cell noted again keeps its
    // first state. The after side is read by readAfter.
    void noteBefore(const Sheet& sheet, CellPosition at);
    // A change whose two sides are already known.
    void add(const Sheet& sheet, CellPosition at, Cell before, Cell after);
    // Reads the after side of every noted cell from the document.
    void readAfter(const SumoraDocument& document);
    // Forgets the cells that ended as they began.
    void dropUnchanged();

    bool empty() const { return changes_.empty(); }
    size_t size() const { return changes_.size(); }
    const std::vector<Change>& changes() const { return changes_; }
    const std::vector<std::string>& sheetIds() const { return sheetIds_; }

    // Writes one side back. Cells outside their sheet's grid are skipped, or
    // with `growGrid` the grid grows to hold them. Returns the indices of the
    // sheets written (in the document's order at the time).
    std::vector<size_t> put(SumoraDocument& document, Side side, bool growGrid = false) const;

  private:
    struct Key {
        size_t sheet;
        int64_t col, row;
        bool operator==(const Key&) const = default;
    };
    struct KeyHash {
        size_t operator()(const Key& k) const {
            return std::hash<int64_t>()(k.row) * 1000003u ^ std::hash<int64_t>()(k.col) * 31u ^ k.sheet;
        }
    };
    size_t sheetSlot(const std::string& id);

    std::vector<std::string> sheetIds_;
    std::vector<Change> changes_;
    std::unordered_map<Key, size_t, KeyHash> noted_;
};

} // namespace sumora
