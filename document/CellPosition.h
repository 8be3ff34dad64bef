#pragma once
// One cell of a sheet by zero-based column and row ("A1" is {0, 0}). Tools,
// readers and the editor pass positions as this one value rather than as two
// loose integers, so that a column cannot be handed over as a row.
#include <cstdint>

namespace sumora {

struct CellPosition {
    int64_t col = 0;
    int64_t row = 0;
    bool operator==(const CellPosition&) const = default;
};

} // namespace sumora
