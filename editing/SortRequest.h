#pragma once
// The sort dialog's keys: performMultiSort compares by each in turn.
#include <cstdint>
#include <vector>

namespace sumora {

struct SortKey {
    int64_t column = 0;
    bool ascending = true;
};

struct SortRequest {
    std::vector<SortKey> keys;
    bool hasHeaderRow = false; // the first row stays in place
};

} // namespace sumora
