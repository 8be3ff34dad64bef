#pragma once
// A shared formula: one master cell holds the text, every other cell of the
// group gets that text with its relative references moved by the cell's
// distance from the master (see ReferenceShifter, which analyses the master
// once for the whole group).
#include <cstdint>
#include <string>

#include "document/CellPosition.h"
#include "engine/ReferenceShifter.h"

namespace sumora::xlsx {

class SharedFormula {
  public:
    SharedFormula(std::string text, CellPosition origin);

    const std::string& text() const { return shifter_.text(); }
    CellPosition origin() const { return origin_; }
    // False when the master does not parse: the other cells of the group
    // then keep their saved results instead of copies of a broken formula.
    bool parses() const { return parses_; }

    // The text for the cell `at` of the group.
    std::string textAt(CellPosition at) const {
        return shifter_.shifted(at.row - origin_.row, at.col - origin_.col);
    }

  private:
    ReferenceShifter shifter_;
    CellPosition origin_;
    bool parses_ = true;
};

} // namespace sumora::xlsx
