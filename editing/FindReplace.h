#pragma once
// The find bar's inputs and what a search found. The editor keeps the last
// search, so that find next and previous step through its matches; every
// find and replace operation takes the bar's request and searches afresh
// when the search it describes differs from the last one.
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "document/CellPosition.h"

namespace sumora {

struct FindRequest {
    std::string findText;
    std::string replaceText;
    bool matchCase = false;
    bool matchEntireCell = false;
    bool searchInFormulas = false;
    bool useRegularExpression = false;

    // Same search (the replacement text aside).
    bool searchesLike(const FindRequest& other) const {
        return findText == other.findText && matchCase == other.matchCase &&
               matchEntireCell == other.matchEntireCell && searchInFormulas == other.searchInFormulas &&
               useRegularExpression == other.useRegularExpression;
    }
};

struct FindResult {
    std::vector<CellPosition> matches; // row-major
    std::optional<size_t> currentMatchIndex;
    std::string statusText;   // "No matches", "2 of 5"
    size_t replacedCells = 0; // set by Replace All: the cells whose content changed
};

} // namespace sumora
