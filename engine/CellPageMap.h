#pragma once
// A map from a cell to a 32-bit value, kept as pages of 64 consecutive rows
// of one column. Formulas and the cells they read come in columns, so a
// recalculation that walks down a sheet finds its entries side by side in one
// page, and the hash of page positions stays small enough to live in cache —
// a plain hash of 300,000 cells spends its time waiting on memory instead.
#include <array>
#include <cstdint>
#include <vector>

#include "engine/CellKeyMap.h"

namespace sumora {

class CellPageMap {
  public:
    static constexpr uint32_t kMissing = CellKeyMap::kMissing;

    size_t size() const { return size_; }

    uint32_t find(int32_t col, int32_t row) const {
        uint32_t page = pages_.find(cellKey(col, row >> kShift));
        return page == CellKeyMap::kMissing ? kMissing : values_[page][static_cast<size_t>(row) & kMask];
    }
    // Sets a value; kMissing removes the entry. Pages stay once made.
    void set(int32_t col, int32_t row, uint32_t value) {
        uint64_t key = cellKey(col, row >> kShift);
        uint32_t page = pages_.find(key);
        if (page == CellKeyMap::kMissing) {
            if (value == kMissing) return;
            page = static_cast<uint32_t>(values_.size());
            pages_.insertOrAssign(key, page);
            values_.emplace_back();
            values_.back().fill(kMissing);
        }
        uint32_t& slot = values_[page][static_cast<size_t>(row) & kMask];
        if (slot == kMissing && value != kMissing) ++size_;
        if (slot != kMissing && value == kMissing) --size_;
        slot = value;
    }
    void clear() {
        pages_.clear();
        values_.clear();
        size_ = 0;
    }

  private:
    static constexpr int kShift = 6;
    static constexpr size_t kMask = (size_t{1} << kShift) - 1;

    CellKeyMap pages_; // (col, row / 64) → index into values_
    std::vector<std::array<uint32_t, size_t{1} << kShift>> values_;
    size_t size_ = 0;
};

} // namespace sumora
