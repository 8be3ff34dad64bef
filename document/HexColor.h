#pragma once
// Colours are kept as hexadecimal digits "RRGGBB"; a leading "#" is accepted
// wherever one is read, and the file formats' other spellings are folded to
// the six digits here, once.
#include <optional>
#include <string>
#include <string_view>

namespace sumora {

// The text without one leading "#".
std::string_view withoutHash(std::string_view colour);

// "RRGGBB" from "RRGGBB", "AARRGGBB" (alpha dropped) or "RGB" (each digit
// doubled), with or without "#", letter case kept; none for anything else.
std::optional<std::string> sixDigitHexColor(std::string_view colour);

} // namespace sumora
