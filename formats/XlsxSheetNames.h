#pragma once
// Sheet names as an XLSX file can hold them: at most 31 characters, none of
// : \ / ? * [ ], no apostrophe at either end, not empty, and no two alike
// ignoring case. Other names are changed for the file only (the document
// keeps its own), and formulas that name a changed sheet are rewritten to
// match.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/Sheet.h"
#include "formats/LossReport.h"

namespace sumora::xlsx {

// The name each sheet gets in the file, in sheet order. Valid, distinct
// names are kept; the others get forbidden characters replaced by "_", are
// cut to 31 characters and, when still taken, numbered " (2)", " (3)"….
// Each change is described in `losses` when given.
std::vector<std::string> fileSheetNames(const std::vector<Sheet>& sheets, LossReport* losses);

// `formula` with every sheet prefix ('Quoted name'! or Bare!) that resolves
// to sheet i (exact name first, then ignoring case) written for newNames[i]
// where that differs; nothing when no prefix changed. String literals are
// left alone.
std::optional<std::string> renamedSheetReferences(std::string_view formula, const std::vector<Sheet>& sheets,
                                                  const std::vector<std::string>& newNames);

} // namespace sumora::xlsx
