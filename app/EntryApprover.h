#pragma once
// Asked before typed text is stored into the active sheet at `at`;
// false keeps the entry out of the sheet. Data validation installs one on
// the grid and on the formula bar.
#include <QString>
#include <cstdint>
#include <functional>

#include "document/CellPosition.h"

namespace sumora::app {

using EntryApprover = std::function<bool(CellPosition at, const QString& text)>;

} // namespace sumora::app
