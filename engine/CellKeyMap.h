#pragma once
// A compact hash map from a position (a cell, or a block of cells) to a
// 32-bit index, for the indexes of the dependency graph. Open addressing over
// one flat array keeps each entry at 16 bytes and each lookup to a probe or
// two, where a node-based map allocates per entry.
#include <cstddef>
#include <cstdint>
#include <vector>

namespace sumora {

// Column in the high half, row in the low half; negative values never occur.
inline uint64_t cellKey(int32_t col, int32_t row) {
    return (static_cast<uint64_t>(static_cast<uint32_t>(col)) << 32) | static_cast<uint32_t>(row);
}

class CellKeyMap {
  public:
    static constexpr uint32_t kMissing = UINT32_MAX;

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }

    void clear() {
        slots_.clear();
        size_ = 0;
        shift_ = 64;
    }
    void reserve(size_t n) {
        size_t want = 16;
        while (want < n + n / 2)
            want *= 2;
        if (want > slots_.size()) rehash(want);
    }

    uint32_t find(uint64_t key) const {
        if (slots_.empty()) return kMissing;
        for (size_t i = slot(key);; i = (i + 1) & mask()) {
            const Slot& s = slots_[i];
            if (s.key == key) return s.value;
            if (s.key == kEmptyKey) return kMissing;
        }
    }

    // The value stored under key, inserted as `initial` when absent.
    uint32_t& findOrInsert(uint64_t key, uint32_t initial) {
        if ((size_ + 1) * 4 > slots_.size() * 3) rehash(slots_.empty() ? 16 : slots_.size() * 2);
        size_t i = slot(key);
        for (;; i = (i + 1) & mask()) {
            Slot& s = slots_[i];
            if (s.key == key) return s.value;
            if (s.key == kEmptyKey) break;
        }
        slots_[i] = Slot{key, initial};
        ++size_;
        return slots_[i].value;
    }

    void insertOrAssign(uint64_t key, uint32_t value) { findOrInsert(key, value) = value; }

    // Removes key by shifting the rest of its probe run back (no tombstones,
    // so lookups stay short however many edits a sheet sees).
    void erase(uint64_t key) {
        if (slots_.empty()) return;
        size_t i = slot(key);
        for (;; i = (i + 1) & mask()) {
            if (slots_[i].key == key) break;
            if (slots_[i].key == kEmptyKey) return;
        }
        size_t hole = i;
        for (size_t j = (hole + 1) & mask(); slots_[j].key != kEmptyKey; j = (j + 1) & mask()) {
            size_t home = slot(slots_[j].key);
            // Move j into the hole unless its home lies cyclically in (hole, j].
            bool stays = hole <= j ? (hole < home && home <= j) : (hole < home || home <= j);
            if (!stays) {
                slots_[hole] = slots_[j];
                hole = j;
            }
        }
        slots_[hole] = Slot{};
        --size_;
    }

    template <class F> void forEach(F&& f) const {
        for (const Slot& s : slots_)
            if (s.key != kEmptyKey) f(s.key, s.value);
    }

  private:
    static constexpr uint64_t kEmptyKey = UINT64_MAX;
    struct Slot {
        uint64_t key = kEmptyKey;
        uint32_t value = 0;
    };

    size_t mask() const { return slots_.size() - 1; }
    // Fibonacci hashing: the top bits of the product depend on every key bit.
    size_t slot(uint64_t key) const { return static_cast<size_t>((key * 0x9E3779B97F4A7C15ULL) >> shift_); }
    void rehash(size_t capacity) {
        std::vector<Slot> old = std::move(slots_);
        slots_.assign(capacity, Slot{});
        shift_ = 64;
        for (size_t c = capacity; c > 1; c >>= 1)
            --shift_;
        for (const Slot& s : old) {
            if (s.key == kEmptyKey) continue;
            size_t i = slot(s.key);
            while (slots_[i].key != kEmptyKey)
                i = (i + 1) & mask();
            slots_[i] = s;
        }
    }

    std::vector<Slot> slots_;
    size_t size_ = 0;
    unsigned shift_ = 64;
};

} // namespace sumora
