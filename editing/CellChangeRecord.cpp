#include "editing/CellChangeRecord.h"

#include <algorithm>
#include <optional>

#include "document/SumoraDocument.h"

namespace sumora {

size_t CellChangeRecord::sheetSlot(const std::string& id) {
    auto it = std::find(sheetIds_.begin(), sheetIds_.end(), id);
    if (it != sheetIds_.end()) return static_cast<size_t>(it - sheetIds_.begin());
    sheetIds_.push_back(id);
    return sheetIds_.size() - 1;
}

void CellChangeRecord::noteBefore(const Sheet& sheet, CellPosition at) {
    const size_t slot = sheetSlot(sheet.id);
    auto [it, inserted] = noted_.try_emplace(Key{slot, at.col, at.row}, changes_.size());
    if (inserted) changes_.push_back({slot, at, sheet.cell(at.row, at.col), Cell()});
}

void CellChangeRecord::add(const Sheet& sheet, CellPosition at, Cell before, Cell after) {
    changes_.push_back({sheetSlot(sheet.id), at, std::move(before), std::move(after)});
}

void CellChangeRecord::readAfter(const SumoraDocument& document) {
    std::vector<std::optional<size_t>> indices;
    for (const std::string& id : sheetIds_)
        indices.push_back(document.sheetIndexById(id));
    for (Change& c : changes_)
        if (const auto& index = indices[c.sheet]) c.after = document.sheets[*index].cell(c.at.row, c.at.col);
    noted_.clear();
}

void CellChangeRecord::dropUnchanged() {
    std::erase_if(changes_, [](const Change& c) { return c.before == c.after; });
    noted_.clear();
}

std::vector<size_t> CellChangeRecord::put(SumoraDocument& document, Side side, bool growGrid) const {
    std::vector<size_t> written;
    for (size_t slot = 0; slot < sheetIds_.size(); ++slot) {
        auto index = document.sheetIndexById(sheetIds_[slot]);
        if (!index) continue;
        written.push_back(*index);
        // Undo walks back, so a cell listed twice ends at its first state.
        auto apply = [&](const Change& c) {
            if (c.sheet != slot) return;
            if (growGrid) document.ensureGridSize(static_cast<int64_t>(*index), c.at.row + 1, c.at.col + 1);
            Sheet& sheet = document.sheets[*index];
            if (sheet.contains(c.at.row, c.at.col))
                sheet.setCell(c.at.row, c.at.col, side == Side::before ? c.before : c.after);
        };
        if (side == Side::before)
            std::for_each(changes_.rbegin(), changes_.rend(), apply);
        else
            std::for_each(changes_.begin(), changes_.end(), apply);
    }
    return written;
}

} // namespace sumora
