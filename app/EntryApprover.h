#pragma once
// Asked before typed text is stored into the active sheet at (col, row);
// false keeps the entry out of the sheet. Data validation installs one on
// the grid and on the formula bar.
#include <QString>
#include <cstdint>
#include <functional>

namespace sumora::app {

using EntryApprover = std::function<bool(int64_t col, int64_t row, const QString& text)>;

} // namespace sumora::app
