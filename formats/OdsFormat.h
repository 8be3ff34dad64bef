#pragma once
// OpenDocument spreadsheets.
#include <string>
#include <string_view>
#include <vector>

#include "document/SumoraDocument.h"

namespace sumora {

// The sheets of an ODS package; throws on failure.
std::vector<Sheet> readOdsSheets(std::string_view bytes);
// The package bytes of the sheets; throws FileWriteError on a failed check.
std::string writeOds(const std::vector<Sheet>& sheets);

} // namespace sumora
