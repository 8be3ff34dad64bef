#include "engine/RangeIndex.h"

#include <algorithm>

namespace sumora {

std::array<RangeIndex::Level, 5> RangeIndex::makeLevels() {
    std::array<Level, 5> levels;
    for (size_t i = 0; i < levels.size(); ++i) {
        levels[i].colShift = static_cast<int>(3 * i);
        levels[i].rowShift = static_cast<int>(7 + 4 * i);
    }
    return levels;
}

int RangeIndex::levelFor(const CellRect& r) const {
    for (size_t i = 0; i < levels_.size(); ++i) {
        const Level& l = levels_[i];
        int64_t cols = int64_t{r.col2 >> l.colShift} - (r.col1 >> l.colShift) + 1;
        int64_t rows = int64_t{r.row2 >> l.rowShift} - (r.row1 >> l.rowShift) + 1;
        if (cols * rows <= kMaxBlocks) return static_cast<int>(i);
    }
    return -1;
}

template <class F> void RangeIndex::forEachBlock(const Level& level, const CellRect& r, F&& f) {
    // 64-bit counters: a rectangle may end on the last representable column.
    for (int64_t bc = r.col1 >> level.colShift; bc <= r.col2 >> level.colShift; ++bc)
        for (int64_t br = r.row1 >> level.rowShift; br <= r.row2 >> level.rowShift; ++br)
            f(cellKey(static_cast<int32_t>(bc), static_cast<int32_t>(br)));
}

void RangeIndex::add(const CellRect& rect, uint32_t owner) {
    int li = levelFor(rect);
    if (li < 0) {
        huge_.push_back({rect, owner});
        return;
    }
    Level& level = levels_[static_cast<size_t>(li)];
    forEachBlock(level, rect, [&](uint64_t key) {
        uint32_t& list = level.blocks.findOrInsert(key, static_cast<uint32_t>(level.lists.size()));
        if (list == level.lists.size()) level.lists.emplace_back();
        level.lists[list].push_back({rect, owner});
    });
    ++level.registrations;
}

void RangeIndex::remove(const CellRect& rect, uint32_t owner) {
    auto eraseFrom = [&](std::vector<Entry>& entries) {
        auto it = std::find_if(entries.begin(), entries.end(),
                               [&](const Entry& e) { return e.owner == owner && e.rect == rect; });
        if (it == entries.end()) return false;
        *it = entries.back();
        entries.pop_back();
        return true;
    };
    int li = levelFor(rect);
    if (li < 0) {
        eraseFrom(huge_);
        return;
    }
    Level& level = levels_[static_cast<size_t>(li)];
    bool found = false;
    forEachBlock(level, rect, [&](uint64_t key) {
        uint32_t list = level.blocks.find(key);
        if (list != CellKeyMap::kMissing) found = eraseFrom(level.lists[list]) || found;
    });
    // Emptied block lists stay allocated for the next registration there.
    if (found) --level.registrations;
}

void RangeIndex::clear() {
    levels_ = makeLevels();
    huge_.clear();
}

size_t RangeIndex::registrationCount() const {
    size_t n = huge_.size();
    for (const Level& l : levels_)
        n += l.registrations;
    return n;
}

size_t RangeIndex::blockEntryCount() const {
    size_t n = huge_.size();
    for (const Level& l : levels_)
        for (const auto& list : l.lists)
            n += list.size();
    return n;
}

} // namespace sumora
