#pragma once
// Where a raw deflate stream's final block begins and where the stream ends,
// found by walking its blocks and codes without producing output. A stream
// compressed on its own (by a compressor that can only finish streams) can
// then continue into the next one: clearing the final block's flag and
// padding to a byte boundary with an empty stored block, as zlib's sync
// flush does, lets another stream's blocks follow directly.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sumora {

struct DeflateStreamEnd {
    std::size_t finalBlockBit = 0; // the final block's first header bit (its "last block" flag)
    std::size_t endBit = 0;        // just past the final block's end-of-block code
    std::uint64_t length = 0;      // bytes the stream inflates to
};

// nullopt for anything that is not one complete, well-formed stream (codes
// that do not decode, distances before the start, data cut short).
std::optional<DeflateStreamEnd> findDeflateStreamEnd(std::string_view stream);

} // namespace sumora
