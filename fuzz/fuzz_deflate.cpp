// Walks arbitrary bytes as a raw deflate stream: the walk must never read
// out of bounds, and whatever it accepts zlib must inflate to exactly the
// length it counted, ending where it said.
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "formats/DeflateStreamEnd.h"

using namespace sumora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    auto end = findDeflateStreamEnd(bytes);
    if (!end) return 0;
    if (end->endBit > size * 8 || end->finalBlockBit >= end->endBit) std::abort();
    z_stream z{};
    if (inflateInit2(&z, -15) != Z_OK) return 0;
    z.next_in = const_cast<Bytef*>(data);
    z.avail_in = static_cast<uInt>(size);
    std::string out(1 << 16, '\0');
    std::uint64_t length = 0;
    int status = Z_OK;
    while (status == Z_OK) {
        z.next_out = reinterpret_cast<Bytef*>(out.data());
        z.avail_out = static_cast<uInt>(out.size());
        status = inflate(&z, Z_NO_FLUSH);
        length += out.size() - z.avail_out;
        if (length > end->length) break;
    }
    const std::size_t consumed = size - z.avail_in;
    inflateEnd(&z);
    if (status != Z_STREAM_END || length != end->length || consumed != (end->endBit + 7) / 8) std::abort();
    return 0;
}
