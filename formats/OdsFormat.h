#pragma once
// OpenDocument spreadsheets.
#include <string>
#include <string_view>
#include <vector>

#include "document/SumoraDocument.h"

namespace sumora {

// The sheets of an ODS package; throws on failure. What the reader could not
// keep is described, a sentence each, in `droppedOnOpen` when given.
std::vector<Sheet> readOdsSheets(std::string_view bytes, std::vector<std::string>* droppedOnOpen = nullptr);
// The package bytes of the sheets; throws FileWriteError on a failed check.
std::string writeOds(const std::vector<Sheet>& sheets);

} // namespace sumora
