#pragma once
// A 16-byte string for cell storage: texts of up to 15 bytes live inline (most
// numbers and short labels), longer ones on the heap. Three spare bits in the
// tag byte are lent to the owner (Cell keeps its flags there), which is what
// keeps a stored cell at 32 bytes.
#include <cstdint>
#include <cstring>
#include <string_view>

namespace sumora {

class CompactText {
  public:
    static constexpr size_t kInlineCapacity = 15;

    CompactText() noexcept { std::memset(raw_, 0, sizeof raw_); }
    explicit CompactText(std::string_view s) : CompactText() { assign(s); }
    CompactText(const CompactText& o) : CompactText() {
        assign(o.view());
        setFlags(o.flags());
    }
    CompactText(CompactText&& o) noexcept {
        std::memcpy(raw_, o.raw_, sizeof raw_);
        std::memset(o.raw_, 0, sizeof o.raw_);
    }
    CompactText& operator=(const CompactText& o) {
        if (this != &o) {
            assign(o.view());
            setFlags(o.flags());
        }
        return *this;
    }
    CompactText& operator=(CompactText&& o) noexcept {
        if (this != &o) {
            release();
            std::memcpy(raw_, o.raw_, sizeof raw_);
            std::memset(o.raw_, 0, sizeof o.raw_);
        }
        return *this;
    }
    ~CompactText() { release(); }

    std::string_view view() const noexcept {
        if (isHeap()) {
            const char* p;
            uint32_t n;
            std::memcpy(&p, raw_, sizeof p);
            std::memcpy(&n, raw_ + 8, sizeof n);
            return {p, n};
        }
        return {reinterpret_cast<const char*>(raw_), static_cast<size_t>(tag() & kLengthMask)};
    }
    bool empty() const noexcept { return view().empty(); }
    size_t size() const noexcept { return view().size(); }

    void assign(std::string_view s) {
        uint8_t keptFlags = flags();
        release();
        if (s.size() <= kInlineCapacity) {
            if (!s.empty()) std::memcpy(raw_, s.data(), s.size()); // an empty view may carry a null pointer
            setTag(static_cast<uint8_t>(s.size()));
        } else {
            char* p = new char[s.size()];
            std::memcpy(p, s.data(), s.size());
            auto n = static_cast<uint32_t>(s.size());
            std::memcpy(raw_, &p, sizeof p);
            std::memcpy(raw_ + 8, &n, sizeof n);
            setTag(kHeapBit);
        }
        setFlags(keptFlags);
    }

    // Three bits of owner state that survive assignment of new text.
    uint8_t flags() const noexcept { return static_cast<uint8_t>((tag() & kFlagMask) >> 4); }
    void setFlags(uint8_t f) noexcept {
        setTag(static_cast<uint8_t>((tag() & ~kFlagMask) | ((f << 4) & kFlagMask)));
    }

    bool operator==(const CompactText& o) const noexcept { return view() == o.view(); }

  private:
    static constexpr uint8_t kHeapBit = 0x80;
    static constexpr uint8_t kFlagMask = 0x70;
    static constexpr uint8_t kLengthMask = 0x0F;

    uint8_t tag() const noexcept { return raw_[15]; }
    void setTag(uint8_t t) noexcept { raw_[15] = t; }
    bool isHeap() const noexcept { return (tag() & kHeapBit) != 0; }
    void release() noexcept {
        if (isHeap()) {
            char* p;
            std::memcpy(&p, raw_, sizeof p);
            delete[] p;
        }
        uint8_t f = tag() & kFlagMask;
        std::memset(raw_, 0, sizeof raw_);
        setTag(f);
    }

    alignas(8) unsigned char raw_[16];
};

static_assert(sizeof(CompactText) == 16);

} // namespace sumora
