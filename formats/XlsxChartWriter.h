#pragma once
// Charts of a sheet: the drawing part that anchors them over the grid, its
// relationships, and one chart part per chart. Series refer to the sheet's
// cells with sheet-qualified absolute references and carry the current
// values as caches, so applications that do not recalculate show them too.
#include <cstdint>
#include <string>
#include <vector>

#include "document/WorkbookRecords.h"

namespace sumora {
class Sheet;
}

namespace sumora::xlsx {

// `chartNumbers[i]` is the workbook-wide number K of charts[i] ("chartK.xml", "rIdK").
std::string drawingXml(const std::vector<EmbeddedChart>& charts, const std::vector<int64_t>& chartNumbers);
std::string drawingRelsXml(const std::vector<int64_t>& chartNumbers);
// "xl/charts/chartK.xml" for a chart over `sheet`'s data.
std::string chartXml(const EmbeddedChart& chart, const Sheet& sheet);

} // namespace sumora::xlsx
