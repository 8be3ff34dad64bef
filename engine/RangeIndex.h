#pragma once
// Which registered rectangles contain a given cell. A formula that reads a
// range is one entry here, however many cells the range covers, so that
// =SUM(A1:A1000000) and a column of sliding-window sums stay small.
//
// Each rectangle is filed in the blocks of the finest grid level on which it
// covers at most kMaxBlocks blocks; a query looks at one block per level that
// holds anything. Levels grow by 8 columns × 16 rows per step, from 1 × 128
// cells (so a window over one column never shares a block with its
// neighbours' columns) up to 4096 × 8M; larger rectangles go to a short list
// that every query scans.
#include <array>
#include <cstdint>
#include <vector>

#include "engine/CellKeyMap.h"

namespace sumora {

// An inclusive rectangle of cells on the calculated sheet.
struct CellRect {
    int32_t col1 = 0, row1 = 0, col2 = 0, row2 = 0;

    static CellRect cell(int32_t col, int32_t row) { return {col, row, col, row}; }
    bool isCell() const { return col1 == col2 && row1 == row2; }
    bool isBackwards() const { return col2 < col1 || row2 < row1; }
    bool contains(int32_t col, int32_t row) const {
        return col >= col1 && col <= col2 && row >= row1 && row <= row2;
    }
    bool operator==(const CellRect&) const = default;
    auto operator<=>(const CellRect&) const = default;
};

class RangeIndex {
  public:
    static constexpr int kMaxBlocks = 16;

    void add(const CellRect& rect, uint32_t owner);
    // Removes one registration of (rect, owner); nothing if there is none.
    void remove(const CellRect& rect, uint32_t owner);
    void clear();

    // Calls f(owner) once for every registration whose rectangle holds the cell.
    template <class F> void forEachContaining(int32_t col, int32_t row, F&& f) const {
        for (const Level& level : levels_) {
            if (level.registrations == 0) continue;
            uint32_t list = level.blocks.find(cellKey(col >> level.colShift, row >> level.rowShift));
            if (list == CellKeyMap::kMissing) continue;
            for (const Entry& e : level.lists[list])
                if (e.rect.contains(col, row)) f(e.owner);
        }
        for (const Entry& e : huge_)
            if (e.rect.contains(col, row)) f(e.owner);
    }

    // The level a rectangle is filed on: 0 (finest) to 4, or 5 for the list
    // of huge ones. forEachContaining reports level by level in this order,
    // and within a level in the order of registration (until a removal).
    static constexpr int kHugeLevel = 5;
    int levelOf(const CellRect& rect) const {
        int level = levelFor(rect);
        return level < 0 ? kHugeLevel : level;
    }

    // Registered rectangles, and the block entries that file them.
    size_t registrationCount() const;
    size_t blockEntryCount() const;

  private:
    struct Entry {
        CellRect rect;
        uint32_t owner;
    };
    struct Level {
        int colShift = 0, rowShift = 0;
        CellKeyMap blocks; // block position → index into lists
        std::vector<std::vector<Entry>> lists;
        size_t registrations = 0;
    };
    // The level a rectangle is filed on, or -1 for the list of huge ones.
    int levelFor(const CellRect& rect) const;
    template <class F> static void forEachBlock(const Level& level, const CellRect& rect, F&& f);

    std::array<Level, 5> levels_ = makeLevels();
    std::vector<Entry> huge_;

    static std::array<Level, 5> makeLevels();
};

} // namespace sumora
