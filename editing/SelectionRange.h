#pragma once
// A block of cells as the user selected it: the corner where the selection
// started and the one where it ended, in either order.
#include "document/CellArea.h"

namespace sumora {

using SelectionRange = CellArea;

} // namespace sumora
