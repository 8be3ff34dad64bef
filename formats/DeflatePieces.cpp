#include "formats/DeflatePieces.h"

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <new>
#include <system_error>

#include "formats/DeflateStreamEnd.h"
#include "formats/ZipArchive.h"

namespace sumora {

namespace {

// Pieces that may wait for a helper before the writer compresses one itself.
constexpr std::size_t kWaitingPieces = 4;
constexpr std::size_t kMaxHelpers = 7;

// An empty stored block's length and its complement, after the block's
// three header bits and the padding to a byte boundary.
constexpr std::string_view kEmptyStoredLengths{"\x00\x00\xFF\xFF", 4};

// zlib's sync flush: blocks that end on a byte boundary, none final.
std::string deflateWithZlib(std::string_view text, int level) {
    z_stream z{};
    if (deflateInit2(&z, level, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY) != Z_OK) throw std::bad_alloc();
    std::string out(deflateBound(&z, text.size()) + 16, '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    z.avail_in = static_cast<uInt>(text.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    const int status = deflate(&z, Z_SYNC_FLUSH);
    const bool complete = status == Z_OK && z.avail_in == 0 && z.avail_out > 0;
    out.resize(z.total_out);
    deflateEnd(&z);
    if (!complete) throw ArchiveError("Cannot deflate a part for the ZIP archive.");
    return out;
}

} // namespace

PieceCompressor::PieceCompressor(int level)
    : compressor_(libdeflate_alloc_compressor(level == -1 ? 6 : level)), level_(level == -1 ? 6 : level) {
    if (!compressor_) throw std::bad_alloc();
}

PieceCompressor::~PieceCompressor() {
    libdeflate_free_compressor(compressor_);
}

std::string PieceCompressor::compressWhole(std::string_view text) {
    // The bound is about the text's size and the output a fraction of it: a
    // scratch buffer, never cleared, and only the output copied.
    const size_t bound = libdeflate_deflate_compress_bound(compressor_, text.size());
    if (bound > scratchSize_) {
        scratch_.reset();
        scratch_.reset(new char[bound]);
        scratchSize_ = bound;
    }
    const size_t n =
        libdeflate_deflate_compress(compressor_, text.data(), text.size(), scratch_.get(), bound);
    if (n == 0) throw ArchiveError("Cannot deflate a part for the ZIP archive.");
    std::string out;
    out.reserve(n + 8); // room for the stored block that may end a piece
    out.assign(scratch_.get(), n);
    return out;
}

std::string PieceCompressor::compress(std::string_view text) {
    // zlib counts in 32 bits; pieces are far smaller.
    if (text.size() > (std::size_t{1} << 30)) throw ArchiveError("A piece is too big to deflate.");
    std::string out = compressWhole(text);
    const auto end = findDeflateStreamEnd(out);
    if (!end || end->length != text.size() || (end->endBit + 7) / 8 != out.size())
        return deflateWithZlib(text, std::clamp(level_, 1, 9));
    out[end->finalBlockBit / 8] &= static_cast<char>(~(1u << (end->finalBlockBit % 8)));
    const unsigned used = end->endBit % 8; // bits of the last byte in use
    if (used > 0) out.back() &= static_cast<char>((1u << used) - 1);
    // The empty stored block's three header bits go into the last byte's
    // free bits when they fit, else into a new byte.
    if (used == 0 || used > 5) out += '\0';
    out += kEmptyStoredLengths;
    return out;
}

PieceDeflater::PieceDeflater(int level, int smallPartLevel) : level_(level), smallPartLevel_(smallPartLevel) {
    text_.reserve(kDeflatePieceBytes + kDeflatePieceBytes / 8);
}

PieceDeflater::~PieceDeflater() {
    stopHelpers();
}

void PieceDeflater::stopHelpers() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    for (std::thread& helper : helpers_)
        helper.join();
    helpers_.clear();
}

void PieceDeflater::endPiece() {
    auto piece = std::make_unique<Piece>();
    piece->text = std::move(text_);
    size_ += piece->text.size();
    std::unique_lock lock(mutex_);
    if (!spare_.empty()) {
        text_ = std::move(spare_.back());
        spare_.pop_back();
    } else {
        text_ = std::string();
        text_.reserve(kDeflatePieceBytes + kDeflatePieceBytes / 8);
    }
    pieces_.push_back(std::move(piece));
    if (pieces_.size() == 1) {
        const std::size_t cores = std::thread::hardware_concurrency();
        const std::size_t helpers = std::min(cores > 1 ? cores - 1 : 0, kMaxHelpers);
        for (std::size_t i = 0; i < helpers; ++i) {
            try {
                helpers_.emplace_back([this] { help(); });
            } catch (const std::system_error&) {
                break; // no thread to spare: the writer compresses what is left
            }
        }
    }
    changed_.notify_one();
    while (pieces_.size() - nextWaiting_ > kWaitingPieces) {
        if (!own_) own_ = std::make_unique<PieceCompressor>(level_);
        compressWaiting(*own_, lock);
    }
}

bool PieceDeflater::compressWaiting(PieceCompressor& compressor, std::unique_lock<std::mutex>& lock) {
    if (nextWaiting_ >= pieces_.size()) return false;
    Piece& piece = *pieces_[nextWaiting_++];
    lock.unlock();
    try {
        piece.crc = static_cast<std::uint32_t>(libdeflate_crc32(0, piece.text.data(), piece.text.size()));
        piece.out = compressor.compress(piece.text);
    } catch (...) {
        piece.error = std::current_exception();
    }
    lock.lock();
    piece.size = piece.text.size();
    piece.text.clear();
    spare_.push_back(std::move(piece.text));
    piece.done = true;
    changed_.notify_all();
    return true;
}

void PieceDeflater::help() {
    try {
        PieceCompressor compressor(level_);
        std::unique_lock lock(mutex_);
        while (!stopping_) {
            if (!compressWaiting(compressor, lock)) changed_.wait(lock);
        }
    } catch (...) {
        // Without a compressor this helper does nothing; the writer finishes
        // every piece nobody took.
    }
}

DeflatedPart PieceDeflater::finish() {
    DeflatedPart part;
    if (pieces_.empty()) {
        // Smaller than a piece: one stream, on this thread.
        PieceCompressor compressor(smallPartLevel_);
        part.crc = static_cast<std::uint32_t>(libdeflate_crc32(0, text_.data(), text_.size()));
        part.size = text_.size();
        part.bytes = compressor.compressWhole(text_);
        return part;
    }
    if (!text_.empty()) endPiece();
    {
        std::unique_lock lock(mutex_);
        if (!own_) own_ = std::make_unique<PieceCompressor>(level_);
        while (compressWaiting(*own_, lock)) {
        }
        changed_.wait(lock, [this] {
            return std::all_of(pieces_.begin(), pieces_.end(), [](const auto& p) { return p->done; });
        });
    }
    stopHelpers();
    std::size_t bytes = kDeflateFinalBlock.size();
    for (const auto& piece : pieces_) {
        if (piece->error) std::rethrow_exception(piece->error);
        bytes += piece->out.size();
    }
    part.bytes.reserve(bytes);
    for (auto& piece : pieces_) {
        part.crc = static_cast<std::uint32_t>(
            crc32_combine(part.crc, piece->crc, static_cast<z_off_t>(piece->size)));
        part.bytes += piece->out;
        std::string().swap(piece->out);
    }
    part.bytes += kDeflateFinalBlock;
    part.size = size_;
    return part;
}

} // namespace sumora
