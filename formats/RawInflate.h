#pragma once
// A raw deflate stream inflated by zlib, with the CRC of what comes out
// taken by libdeflate's, several times faster than zlib's own: how a big ZIP
// entry is streamed while its reader parses. It only reports that something
// is wrong; saying what (in the archive library's words) is the caller's part.
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace sumora {

class RawInflate {
  public:
    // Fills up to `capacity` bytes with the next raw bytes: 0 at their end,
    // negative when they cannot be read.
    using Source = std::function<std::int64_t(char* into, std::size_t capacity)>;

    explicit RawInflate(Source source);
    ~RawInflate();
    RawInflate(const RawInflate&) = delete;
    RawInflate& operator=(const RawInflate&) = delete;

    // Up to `capacity` inflated bytes into `destination`, their count in
    // `produced` (0 once the stream has ended); false when the stream is
    // damaged or cut short, or its source failed.
    bool readSome(char* destination, std::size_t capacity, std::size_t& produced);
    // Of every byte produced so far.
    std::uint32_t crc() const { return crc_; }

  private:
    Source source_;
    z_stream stream_{};
    bool ready_ = false, inputEnded_ = false, ended_ = false;
    std::uint32_t crc_ = 0;
    char input_[64 * 1024];
};

} // namespace sumora
