#pragma once
// Deflating one ZIP part in pieces on several cores. Each piece is
// compressed on its own by libdeflate, which is about twice as fast as zlib
// but only writes whole streams; its final-block flag is then cleared and
// the piece padded to a byte boundary with an empty stored block (as zlib's
// sync flush does), so pieces follow each other and one empty final block
// ends the part. Each piece starts without the previous one's history, which
// costs a fraction of a percent in size at a megabyte a piece.
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

struct libdeflate_compressor;

namespace sumora {

// Bytes of part text per piece.
inline constexpr std::size_t kDeflatePieceBytes = std::size_t{1} << 20;
// The empty final block (fixed codes, only the end-of-block code) that ends
// a part made of pieces.
inline constexpr std::string_view kDeflateFinalBlock{"\x03\x00", 2};

// A part's deflated bytes with what the archive records of its text.
struct DeflatedPart {
    std::string bytes;
    std::uint32_t crc = 0;
    std::uint64_t size = 0; // of the text
};

// One thread's libdeflate compressor, kept for the pieces it compresses.
class PieceCompressor {
  public:
    // Levels as zlib's: 1 to 9, -1 for the usual 6.
    explicit PieceCompressor(int level);
    ~PieceCompressor();
    PieceCompressor(const PieceCompressor&) = delete;
    PieceCompressor& operator=(const PieceCompressor&) = delete;

    // `text` deflated as blocks that end on a byte boundary, none of them
    // final, so that more blocks may follow. A piece that libdeflate's output
    // cannot be turned into (never seen) is deflated by zlib instead.
    std::string compress(std::string_view text);
    // The same as a complete stream.
    std::string compressWhole(std::string_view text);

  private:
    libdeflate_compressor* compressor_;
    int level_;
    std::unique_ptr<char[]> scratch_;
    std::size_t scratchSize_ = 0;
};

// Takes a part's text as it is written and deflates it in pieces on helper
// threads meanwhile. The writer appends to text() and calls pieceMayEnd()
// now and then (between rows, say); finish() hands back the whole part. A
// part that ends within its first piece is deflated whole, at its own level
// (small parts are worth a slower, tighter level).
// Pieces queue for the helpers; when too many wait, the writer compresses
// one itself, so that memory stays bounded and both cores stay busy.
class PieceDeflater {
  public:
    PieceDeflater(int level, int smallPartLevel);
    ~PieceDeflater();
    PieceDeflater(const PieceDeflater&) = delete;
    PieceDeflater& operator=(const PieceDeflater&) = delete;

    std::string& text() { return text_; }
    // Hands the text over once it has reached a piece's size.
    void pieceMayEnd() {
        if (text_.size() >= kDeflatePieceBytes) endPiece();
    }
    DeflatedPart finish();

  private:
    struct Piece {
        std::string text;
        std::string out;
        std::uint32_t crc = 0;
        std::uint64_t size = 0; // of the text
        bool done = false;
        std::exception_ptr error;
    };

    void endPiece();
    // Compresses the oldest waiting piece; false when none waits.
    bool compressWaiting(PieceCompressor& compressor, std::unique_lock<std::mutex>& lock);
    void help();
    void stopHelpers();

    int level_, smallPartLevel_;
    std::string text_;
    std::deque<std::unique_ptr<Piece>> pieces_; // in order; owned until finish()
    std::size_t nextWaiting_ = 0;               // first piece nobody has taken
    std::vector<std::string> spare_;            // texts to reuse
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::thread> helpers_;
    bool stopping_ = false;
    std::unique_ptr<PieceCompressor> own_; // the writer's, made when it first helps
    std::uint64_t size_ = 0;
};

} // namespace sumora
