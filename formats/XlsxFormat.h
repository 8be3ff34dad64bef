#pragma once
// Office Open XML workbooks.
#include <string>
#include <string_view>
#include <vector>

#include "document/SumoraDocument.h"
#include "formats/LossReport.h"

namespace sumora {

// Builds a document from XLSX bytes, its formulas not yet calculated;
// throws on failure (the open dispatch turns the error's text into the
// user's message, and calculates).
SumoraDocument readXlsxDocument(std::string_view bytes);
// The package bytes of the sheets; throws FileWriteError on a failed check.
// Sheet names the format cannot hold are changed in the file and listed in
// `losses` when given.
std::string writeXlsx(const std::vector<Sheet>& sheets, LossReport* losses = nullptr);
// The same with what the workbook keeps beside its sheets (defined names,
// workbook protection); saving a document uses this one.
std::string writeXlsx(const SumoraDocument& document, LossReport* losses = nullptr);

} // namespace sumora
