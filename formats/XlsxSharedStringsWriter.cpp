#include "formats/XlsxSharedStringsWriter.h"

#include <cstring>

#include "formats/XlsxWriterText.h"

namespace sumora::xlsx {

namespace {

uint64_t mix(uint64_t x) {
    x ^= x >> 32;
    x *= 0xD6E8FEB86659FD93ULL;
    x ^= x >> 32;
    return x;
}

uint64_t load(const char* p, size_t n) {
    uint64_t word = 0;
    std::memcpy(&word, p, n);
    return word;
}

// Eight bytes at a time; cell texts are mostly short, so the common case is
// one or two words.
uint32_t hashText(std::string_view text) {
    const char* p = text.data();
    size_t n = text.size();
    uint64_t h = 0x9E3779B97F4A7C15ULL ^ (n * 0xFF51AFD7ED558CCDULL);
    while (n >= 8) {
        h = mix(h ^ load(p, 8));
        p += 8;
        n -= 8;
    }
    if (n > 0) h = mix(h ^ load(p, n) ^ (uint64_t{n} << 59));
    return static_cast<uint32_t>(mix(h));
}

} // namespace

SharedStringTable::SharedStringTable() : slots_(1024) {}

uint32_t SharedStringTable::intern(std::string_view text) {
    uint32_t hash = hashText(text);
    size_t mask = slots_.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        Slot& slot = slots_[i];
        if (slot.index == kEmpty) {
            slot = {hash, static_cast<uint32_t>(texts_.size())};
            texts_.push_back(text);
            if (texts_.size() * 2 > slots_.size()) grow();
            return static_cast<uint32_t>(texts_.size() - 1);
        }
        if (slot.hash == hash && texts_[slot.index] == text) return slot.index;
    }
}

void SharedStringTable::prefetch(std::string_view text) const {
    __builtin_prefetch(&slots_[hashText(text) & (slots_.size() - 1)]);
}

void SharedStringTable::grow() {
    std::vector<Slot> old(slots_.size() * 2);
    old.swap(slots_);
    size_t mask = slots_.size() - 1;
    for (const Slot& s : old) {
        if (s.index == kEmpty) continue;
        size_t i = s.hash & mask;
        while (slots_[i].index != kEmpty)
            i = (i + 1) & mask;
        slots_[i] = s;
    }
}

std::string SharedStringTable::xml() const {
    size_t bytes = 256;
    for (std::string_view s : texts_)
        bytes += s.size() + 16;
    std::string out;
    out.reserve(bytes + bytes / 8);
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
           "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" count=\"";
    appendInt(out, static_cast<int64_t>(count_));
    out += "\" uniqueCount=\"";
    appendInt(out, static_cast<int64_t>(texts_.size()));
    out += "\">";
    for (std::string_view s : texts_) {
        out += needsSpacePreserve(s) ? "<si><t xml:space=\"preserve\">" : "<si><t>";
        appendStringText(out, s);
        out += "</t></si>";
    }
    out += "</sst>";
    return out;
}

} // namespace sumora::xlsx
