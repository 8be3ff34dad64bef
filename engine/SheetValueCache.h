#pragma once
// Decoded cell values of the sheet being calculated. Formulas read cells as
// text (readCellText: a computed text first, else the value), and decoding a
// number from text on every read would dominate a sheet of window sums that
// reads ten million cells. So each cell is decoded once, into per-column
// arrays of 1024 rows, and forgotten whenever its texts change; what a read
// returns is always exactly what readCellText gives for the stored texts.
#include <cstdint>
#include <memory>
#include <vector>

#include "document/Sheet.h"
#include "engine/CellResolver.h"

namespace sumora {

class SheetValueCache {
  public:
    // The value of one cell of `sheet` (inside the grid).
    FormulaValue value(const Sheet& sheet, int64_t col, int64_t row);
    // Row-major values / numbers of a rectangle already clipped to the grid.
    void appendValues(const Sheet& sheet, const RangeSpec& clipped, std::vector<FormulaValue>& out);
    void appendNumbers(const Sheet& sheet, const RangeSpec& clipped, std::vector<double>& out);
    // The non-empty cells of a clipped rectangle, visiting stored cells only.
    void appendEntries(const Sheet& sheet, const RangeSpec& clipped, std::vector<RangeEntry>& out);

    // The cell's texts changed.
    void forget(int64_t col, int64_t row);
    // The cell's text was just written as the text form of `number`, which
    // reads back as exactly that number: no need to decode it again.
    void rememberNumber(int64_t col, int64_t row, double number);
    void clear() { columns_.clear(); }

  private:
    static constexpr int kChunkShift = 10;
    static constexpr size_t kChunkRows = size_t{1} << kChunkShift;
    enum Tag : uint8_t { unknown, number, empty, boolTrue, boolFalse, text };
    struct Chunk {
        double numbers[kChunkRows];
        Tag tags[kChunkRows];
    };

    // The chunk holding (col, row), created on demand; rows beyond the stored
    // ones never get one (they read as empty).
    Chunk& chunk(int64_t col, int64_t row);
    Chunk* existingChunk(int64_t col, int64_t row);
    static Tag decode(const Cell& cell, double& number);
    FormulaValue materialise(const Sheet& sheet, int64_t col, int64_t row, Tag tag, double number) const;
    Tag tagOf(const Sheet& sheet, int64_t col, int64_t row, double& number);

    std::vector<std::vector<std::unique_ptr<Chunk>>> columns_;
};

} // namespace sumora
