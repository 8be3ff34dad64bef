#pragma once
// The ODS reader's entry with its one switch, for tests and the fuzzer: a
// big content part is read in two halves at once unless told otherwise.
#include <string_view>
#include <vector>

#include "document/Sheet.h"

namespace sumora::ods {

std::vector<Sheet> readSheets(std::string_view bytes, bool splitBigParts = true);

} // namespace sumora::ods
