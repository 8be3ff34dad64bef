#pragma once
// Well-formed UTF-8 as the Unicode standard defines it (no overlong forms,
// no surrogates, nothing past U+10FFFF), for the readers and writers that
// must not pass malformed text on.
#include <cstddef>
#include <string_view>

namespace sumora {

// Length of the well-formed sequence starting at byte i (1 for ASCII), or 0.
std::size_t utf8SequenceLength(std::string_view s, std::size_t i);

bool isValidUtf8(std::string_view bytes);

} // namespace sumora
