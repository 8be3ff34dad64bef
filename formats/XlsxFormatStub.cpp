// Placeholder until the XLSX reader and writer land.
#include <stdexcept>

#include "formats/FileErrors.h"
#include "formats/XlsxFormat.h"

namespace sumora {
SumoraDocument readXlsxDocument(std::string_view) { throw std::runtime_error("XLSX reading is not available"); }
std::string writeXlsx(const std::vector<Sheet>&) { throw FileWriteError("XLSX writing is not available"); }
} // namespace sumora
