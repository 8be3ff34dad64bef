#pragma once
// The shared-string table a workbook's worksheets refer to: every distinct
// constant text gets one index, in the order of first use. Looked up once
// per text cell, so it is an open-addressing table of (hash, index) slots
// over views of the cells' own texts rather than a node-based map.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sumora::xlsx {

class SharedStringTable {
  public:
    SharedStringTable();

    // The index of `text`, counting one more reference. The table keeps a view
    // only: the text must outlive the table (cells of the sheets being written).
    uint32_t index(std::string_view text) {
        ++count_;
        return intern(text);
    }
    // Starts loading the slot `text` will be looked up in: a big table's
    // slots are mostly not in the cache, and a row's texts can be announced
    // a row ahead.
    void prefetch(std::string_view text) const;

    uint64_t count() const { return count_; }
    size_t uniqueCount() const { return texts_.size(); }

    // "xl/sharedStrings.xml".
    std::string xml() const;

  private:
    struct Slot {
        uint32_t hash = 0;
        uint32_t index = kEmpty;
    };
    static constexpr uint32_t kEmpty = UINT32_MAX;

    // The index of `text` without counting a reference.
    uint32_t intern(std::string_view text);
    void grow();

    std::vector<Slot> slots_; // a power of two in size, at most half full
    std::vector<std::string_view> texts_;
    uint64_t count_ = 0;
};

} // namespace sumora::xlsx
