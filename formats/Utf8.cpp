#include "formats/Utf8.h"

#include <cstdint>
#include <cstring>

namespace sumora {

std::size_t utf8SequenceLength(std::string_view s, std::size_t i) {
    auto at = [&](std::size_t k) { return static_cast<unsigned char>(s[i + k]); };
    unsigned char lead = at(0);
    if (lead < 0x80) return 1;
    std::size_t length;
    unsigned char low = 0x80, high = 0xBF; // allowed range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;  // overlong
        if (lead == 0xED) high = 0x9F; // surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;  // overlong
        if (lead == 0xF4) high = 0x8F; // beyond U+10FFFF
    } else {
        return 0;
    }
    if (i + length > s.size()) return 0;
    if (at(1) < low || at(1) > high) return 0;
    for (std::size_t k = 2; k < length; ++k)
        if ((at(k) & 0xC0) != 0x80) return 0;
    return length;
}

bool isValidUtf8(std::string_view bytes) {
    const std::size_t size = bytes.size();
    for (std::size_t i = 0; i < size;) {
        // Runs of ASCII, the bulk of most texts, eight bytes at a time.
        std::uint64_t word;
        while (i + sizeof word <= size) {
            std::memcpy(&word, bytes.data() + i, sizeof word);
            if (word & 0x8080808080808080ULL) break;
            i += sizeof word;
        }
        if (i == size) break;
        if (static_cast<unsigned char>(bytes[i]) < 0x80) {
            ++i;
            continue;
        }
        std::size_t length = utf8SequenceLength(bytes, i);
        if (length == 0) return false;
        i += length;
    }
    return true;
}

} // namespace sumora
