#pragma once
// Where the parts an XLSX package carries through are kept, so that they
// never take a name the writer gives its own parts, and how a relationship
// names one part from another.
#include <string>
#include <string_view>

namespace sumora::xlsx {

// `path` itself, or, when the writer may write a part of that name
// ("xl/charts/chart3.xml"), the same file name in a "carried" folder
// beside it ("xl/charts/carried/chart3.xml").
std::string carriedPartPath(std::string_view path);

// The relative Target that leads from the part `from` to the part `to`
// ("xl/worksheets/sheet1.xml", "xl/drawings/drawing1.xml" → "../drawings/drawing1.xml").
std::string relativeTarget(std::string_view from, std::string_view to);

} // namespace sumora::xlsx
