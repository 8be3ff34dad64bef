#pragma once
// A shared formula: one master cell holds the text, every other cell of the
// group gets that text with its relative references moved by the cell's
// distance from the master — what FormulaAdjuster::adjustReferences does.
// A group may cover hundreds of thousands of cells, so the master text is
// searched for references once and each cell's text is assembled from the
// pieces, giving exactly the adjuster's result without running its regular
// expression per cell.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sumora::xlsx {

class SharedFormula {
  public:
    SharedFormula() = default;
    SharedFormula(std::string text, int64_t row, int64_t col);

    const std::string& text() const { return text_; }
    int64_t row() const { return row_; }
    int64_t col() const { return col_; }

    // The text for the cell at (row, col) of the group.
    std::string textAt(int64_t row, int64_t col) const;

  private:
    struct Reference {
        size_t start = 0, end = 0; // the whole match in text_
        size_t letters = 0;        // where the optional "$" before the column begins
        bool absoluteColumn = false, absoluteRow = false;
        int64_t column = 0, row = 0; // zero-based column, one-based row as written
    };

    std::string text_;
    int64_t row_ = 0, col_ = 0;
    std::vector<Reference> references_;
};

} // namespace sumora::xlsx
