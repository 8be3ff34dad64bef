#pragma once
// Cell hyperlinks as OpenDocument writes them: an xlink:href on a text:a
// inside the cell's paragraph. A place in the workbook is "#Sheet2.A1";
// the model writes it "Sheet2!A1", as a worksheet's location does.
#include <string>
#include <string_view>

#include "document/WorkbookRecords.h"

namespace sumora::ods {

CellHyperlink hyperlinkFromHref(std::string_view href);
std::string hrefFromHyperlink(const CellHyperlink& link);

} // namespace sumora::ods
