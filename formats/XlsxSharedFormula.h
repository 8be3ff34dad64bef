#pragma once
// A shared formula: one master cell holds the text, every other cell of the
// group gets that text with its relative references moved by the cell's
// distance from the master (see ReferenceShifter, which analyses the master
// once for the whole group).
#include <cstdint>
#include <string>

#include "engine/ReferenceShifter.h"

namespace sumora::xlsx {

class SharedFormula {
  public:
    SharedFormula(std::string text, int64_t row, int64_t col);

    const std::string& text() const { return shifter_.text(); }
    int64_t row() const { return row_; }
    int64_t col() const { return col_; }
    // False when the master does not parse: the other cells of the group
    // then keep their saved results instead of copies of a broken formula.
    bool parses() const { return parses_; }

    // The text for the cell at (row, col) of the group.
    std::string textAt(int64_t row, int64_t col) const { return shifter_.shifted(row - row_, col - col_); }

  private:
    ReferenceShifter shifter_;
    int64_t row_ = 0, col_ = 0;
    bool parses_ = true;
};

} // namespace sumora::xlsx
