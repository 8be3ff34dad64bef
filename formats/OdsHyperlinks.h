#pragma once
// Cell hyperlinks as OpenDocument files carry them: an xlink:href on a
// text:a inside the cell's paragraph. A place in the workbook is
// "#Sheet2.A1"; the model keeps it as "Sheet2!A1", as a worksheet's
// location does.
#include <string>
#include <string_view>

#include "document/WorkbookRecords.h"

namespace sumora::ods {

CellHyperlink hyperlinkFromHref(std::string_view href);

} // namespace sumora::ods
