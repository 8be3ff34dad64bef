#pragma once
// Where following a hyperlink inside the workbook leads: "Sheet2!B4",
// "'My sheet'!B4:C9", a bare "B4" on the current sheet, or a defined name.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "document/SumoraDocument.h"

namespace sumora {

struct LinkDestination {
    size_t sheetIndex = 0;
    int64_t row = 0, col = 0;
    bool operator==(const LinkDestination&) const = default;
};

// Nothing when the location names no sheet of the document or no cell.
std::optional<LinkDestination> linkDestination(const SumoraDocument& document, std::string_view location,
                                               size_t currentSheet);

} // namespace sumora
