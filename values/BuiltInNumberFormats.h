#pragma once
// The number formats that an XLSX style may name by id alone, without a
// numFmt record of its own.
#include <map>
#include <string>

namespace sumora {

// Id -> format code. Exactly these 29 ids are built in here; 5-8, 23-36 and
// 41-43 are left out on purpose, and id 44 is the short accounting code.
const std::map<int, std::string>& builtInNumberFormats();

} // namespace sumora
