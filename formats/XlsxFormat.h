#pragma once
// Office Open XML workbooks.
#include <string>
#include <string_view>
#include <vector>

#include "document/SumoraDocument.h"

namespace sumora {

// Builds a document from XLSX bytes; throws on failure (the open dispatch
// turns the error's text into the user's message). Without `recalculate`,
// formula cells keep the cached results the file stores.
SumoraDocument readXlsxDocument(std::string_view bytes, bool recalculate = true);
// The package bytes of the sheets; throws FileWriteError on a failed check.
std::string writeXlsx(const std::vector<Sheet>& sheets);
// The same with what the workbook keeps beside its sheets (defined names,
// workbook protection); saving a document uses this one.
std::string writeXlsx(const SumoraDocument& document);

} // namespace sumora
