#pragma once
// Colours that number-format codes can name: [Red] and friends, and [ColorN]
// from the classic 56-entry spreadsheet palette.
#include <optional>
#include <string_view>

namespace sumora::numberformat {

// Six hex digits for a lower-case colour name ("red"), none for other names.
std::optional<std::string_view> namedColorHex(std::string_view lowerCaseName);

// Six hex digits for palette entry 1-56, none outside that range.
std::optional<std::string_view> paletteColorHex(int index);

} // namespace sumora::numberformat
