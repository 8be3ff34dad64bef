#include "formats/RawInflate.h"

#include <libdeflate.h>

#include <algorithm>
#include <climits>
#include <utility>

namespace sumora {

RawInflate::RawInflate(Source source) : source_(std::move(source)) {
    ready_ = inflateInit2(&stream_, -MAX_WBITS) == Z_OK;
}

RawInflate::~RawInflate() {
    if (ready_) inflateEnd(&stream_);
}

bool RawInflate::readSome(char* destination, std::size_t capacity, std::size_t& produced) {
    produced = 0;
    if (!ready_) return false;
    while (produced == 0 && !ended_ && capacity > 0) {
        if (stream_.avail_in == 0 && !inputEnded_) {
            const std::int64_t n = source_(input_, sizeof input_);
            if (n < 0) return false;
            inputEnded_ = n == 0;
            stream_.next_in = reinterpret_cast<Bytef*>(input_);
            stream_.avail_in = static_cast<uInt>(n);
        }
        stream_.next_out = reinterpret_cast<Bytef*>(destination);
        stream_.avail_out = static_cast<uInt>(std::min<std::size_t>(capacity, UINT_MAX));
        const int result = inflate(&stream_, Z_NO_FLUSH);
        produced = std::min<std::size_t>(capacity, UINT_MAX) - stream_.avail_out;
        if (result == Z_STREAM_END)
            ended_ = true;
        else if (result == Z_BUF_ERROR ? inputEnded_ && produced == 0 : result != Z_OK)
            return false; // invalid data, or the input ended before the stream did
    }
    crc_ = static_cast<std::uint32_t>(libdeflate_crc32(crc_, destination, produced));
    return true;
}

} // namespace sumora
