// Whole-entry inflation with libdeflate, several times faster than a zlib
// stream. It is used only where nothing can differ from the ordinary read:
// a plain deflated entry whose sizes and CRC the archive declares, within
// the reader's limits and the ratio deflate can reach. An entry that does
// not inflate to exactly its declared size and CRC is read again through
// libzip, which reports the damage in the usual words.
#include "formats/ZipArchive.h"

#include <libdeflate.h>
#include <zip.h>

#include <memory>

namespace sumora {

namespace {

// Deflate expands at most about 1032:1; a declared size beyond that is a lie.
constexpr std::uint64_t kMaxDeflateRatio = 1032;
// An entry is inflated whole only up to this size and this multiple of the
// whole archive's size: past them a part is streamed through zlib, so that
// a small hostile package cannot make the reader hold gigabytes at once.
constexpr std::uint64_t kMaxWholeInflateBytes = std::uint64_t{256} << 20;
constexpr std::uint64_t kMaxWholeInflateRatio = 100;

struct DecompressorFree {
    void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
};

} // namespace

bool ZipReader::inflatable(std::size_t index) const {
    const ZipEntry& entry = entries_[index];
    const Storage& storage = storage_[index];
    return storage.deflated && storage.crcKnown && entry.sizeDeclared && !entry.isDirectory &&
           entry.uncompressedSize > 0 && entry.uncompressedSize <= limits_.maxEntryBytes &&
           totalBytesRead_ + entry.uncompressedSize <= limits_.maxTotalBytes &&
           entry.uncompressedSize <= (entry.compressedSize + 1) * kMaxDeflateRatio &&
           entry.compressedSize <= bytes_.size() && entry.uncompressedSize <= kMaxWholeInflateBytes &&
           entry.uncompressedSize <= bytes_.size() * kMaxWholeInflateRatio;
}

std::string ZipReader::rawDeflated(std::size_t index) {
    std::string raw(entries_[index].compressedSize, '\0');
    zip_file_t* file = zip_fopen_index(archive_, index, ZIP_FL_COMPRESSED);
    if (!file) return {};
    zip_int64_t n = zip_fread(file, raw.data(), raw.size());
    zip_fclose(file);
    if (n < 0 || static_cast<std::uint64_t>(n) != raw.size()) return {};
    return raw;
}

bool ZipReader::inflateWhole(std::size_t index, char* out) {
    const ZipEntry& entry = entries_[index];
    std::string raw = rawDeflated(index);
    if (raw.empty()) return false;
    std::unique_ptr<libdeflate_decompressor, DecompressorFree> decompressor(libdeflate_alloc_decompressor());
    if (!decompressor) return false;
    auto size = static_cast<std::size_t>(entry.uncompressedSize);
    // Without an actual-size result, anything but exactly `size` bytes fails.
    if (libdeflate_deflate_decompress(decompressor.get(), raw.data(), raw.size(), out, size, nullptr) !=
        LIBDEFLATE_SUCCESS)
        return false;
    if (libdeflate_crc32(0, out, size) != storage_[index].crc) return false;
    totalBytesRead_ += entry.uncompressedSize;
    return true;
}

} // namespace sumora
