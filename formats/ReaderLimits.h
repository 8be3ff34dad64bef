#pragma once
// Bounds shared by the file readers, so that a small hostile file cannot make
// the process allocate without end. Each is far past what real workbooks
// need; a reader that reaches one fails with the message given here.
#include <cstdint>
#include <stdexcept>
#include <string>

namespace sumora {

// A workbook whose cells would hold more text than this fails to open: the
// bound that keeps one long shared string repeated in millions of cells, or
// one space-run element repeated a million times, from taking the memory.
inline constexpr int64_t kMaxStoredTextBytes = int64_t{512} << 20;

[[noreturn]] inline void throwTooMuchText() {
    throw std::runtime_error("The workbook's cells hold more than " +
                             std::to_string(kMaxStoredTextBytes >> 20) +
                             " MB of text, more than can be opened.");
}

} // namespace sumora
