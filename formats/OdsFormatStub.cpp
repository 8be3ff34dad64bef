// Placeholder until the ODS reader and writer land.
#include <stdexcept>

#include "formats/FileErrors.h"
#include "formats/OdsFormat.h"

namespace sumora {
std::vector<Sheet> readOdsSheets(std::string_view) { throw std::runtime_error("ODS reading is not available"); }
std::string writeOds(const std::vector<Sheet>&) { throw FileWriteError("ODS writing is not available"); }
} // namespace sumora
