#pragma once
// Moving the cell references of a formula by a row and column distance, for
// cells that share one formula (an XLSX shared-formula group, which may cover
// hundreds of thousands of cells): the master text is tokenized once, and
// each cell's text is assembled from the pieces between its references.
//
// Only cell and range references move, and only their parts without "$";
// function names, string literals, sheet names, defined names and numbers
// are copied as written. A reference moved off the grid becomes "#REF!",
// sheet prefix and all (a whole range when either corner leaves).
//
// The arithmetic on one reference is shared with FormulaAdjuster, which finds
// its references with a pattern instead and clamps them at the grid's edge.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/FormulaTokenizer.h"

namespace sumora {

inline constexpr int64_t kGridRows = 1048576;
inline constexpr int64_t kGridColumns = 16384;

// The reference with its relative parts moved, clamped at column A and row 1.
ParsedCellRef clampedShift(const ParsedCellRef& ref, int64_t rowDelta, int64_t colDelta);
// The reference with its relative parts moved; nothing when it leaves the grid.
std::optional<ParsedCellRef> shiftWithinGrid(const ParsedCellRef& ref, int64_t rowDelta, int64_t colDelta);
// "$B$7" style text of a reference.
void appendReference(std::string& out, const ParsedCellRef& ref);

class ReferenceShifter {
  public:
    explicit ReferenceShifter(std::string formula);

    const std::string& text() const { return text_; }
    // The formula as seen from a cell `rowDelta` rows and `colDelta` columns
    // away from the one it was written for.
    std::string shifted(int64_t rowDelta, int64_t colDelta) const;

  private:
    // One reference, or the two corners of a range, in text_.
    struct Corner {
        uint32_t prefix = 0;         // where its sheet prefix begins, if it has one
        uint32_t begin = 0, end = 0; // the reference itself
        ParsedCellRef ref;
    };
    struct Piece {
        Corner first;
        std::optional<Corner> second;
    };

    std::string text_;
    std::vector<Piece> pieces_;
};

} // namespace sumora
