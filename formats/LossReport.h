#pragma once
// What a save had to change or leave out because the chosen format cannot
// hold it: one sentence per item, for the user to read.
#include <string>
#include <vector>

namespace sumora {

using LossReport = std::vector<std::string>;

} // namespace sumora
