#include "formats/ZipArchive.h"

#include "formats/RawInflate.h"
#include "formats/ReadAhead.h"

#include <sys/mman.h>
#include <zip.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace sumora {

namespace {

// A part at least this big is inflated on a second thread while its reader
// scans; a smaller one costs less inflated in one piece than a thread.
constexpr std::uint64_t kReadAheadBytes = std::uint64_t{4} << 20;

// Deflate cannot expand data by more than about 1032:1; used to cap how much a
// declared size may make us reserve up front.
constexpr std::uint64_t maxDeflateRatio = 1032;

std::string quoted(std::string_view path) {
    std::string text = "'";
    text.append(path);
    text += "'";
    return text;
}

// The key for forgiving lookups: ASCII case folded, "\" read as "/", no leading "/".
std::string foldedPath(std::string_view path) {
    std::string key;
    key.reserve(path.size());
    for (char c : path) {
        if (c == '\\') c = '/';
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        key += c;
    }
    std::size_t start = key.find_first_not_of('/');
    return start == std::string::npos ? std::string() : key.substr(start);
}

class ErrorHolder {
  public:
    ErrorHolder() { zip_error_init(&error_); }
    ~ErrorHolder() { zip_error_fini(&error_); }
    zip_error_t* get() { return &error_; }
    std::string text() { return zip_error_strerror(&error_); }

  private:
    zip_error_t error_;
};

struct FileCloser {
    void operator()(zip_file_t* file) const { zip_fclose(file); }
};

} // namespace

// ---------------------------------------------------------------------------
// ZipReader

ZipReader::ZipReader(std::string_view bytes, ZipLimits limits)
    : ownBytes_(bytes), bytes_(ownBytes_), limits_(limits) {
    open();
}

ZipReader::ZipReader(std::string&& bytes, ZipLimits limits)
    : ownBytes_(std::move(bytes)), bytes_(ownBytes_), limits_(limits) {
    open();
}

ZipReader::ZipReader(BorrowedBytes bytes, ZipLimits limits) : bytes_(bytes.bytes), limits_(limits) {
    open();
}

ZipReader::~ZipReader() {
    if (archive_) zip_discard(archive_);
}

void ZipReader::open() {
    // libzip treats zero bytes as a fresh, empty archive; as input it is simply no archive.
    if (bytes_.empty()) throw ArchiveError("The ZIP archive is empty.");

    ErrorHolder error;
    zip_source_t* source = zip_source_buffer_create(bytes_.data(), bytes_.size(), 0, error.get());
    if (!source) throw ArchiveError("Cannot read the ZIP archive: " + error.text());
    archive_ = zip_open_from_source(source, ZIP_RDONLY, error.get());
    if (!archive_) {
        zip_source_free(source);
        throw ArchiveError("Cannot open the ZIP archive: " + error.text());
    }

    zip_int64_t count = zip_get_num_entries(archive_, 0);
    entries_.reserve(static_cast<std::size_t>(std::max<zip_int64_t>(count, 0)));
    for (zip_int64_t i = 0; i < count; ++i) {
        zip_stat_t stat;
        zip_stat_init(&stat);
        if (zip_stat_index(archive_, static_cast<zip_uint64_t>(i), 0, &stat) != 0 || !stat.name)
            throw ArchiveError("Cannot list the ZIP archive: " + std::string(zip_strerror(archive_)));
        ZipEntry entry;
        entry.path = stat.name;
        entry.isDirectory = !entry.path.empty() && entry.path.back() == '/';
        if (stat.valid & ZIP_STAT_SIZE) {
            entry.uncompressedSize = stat.size;
            entry.sizeDeclared = true;
        }
        if (stat.valid & ZIP_STAT_COMP_SIZE) entry.compressedSize = stat.comp_size;
        Storage storage;
        storage.deflated = (stat.valid & ZIP_STAT_COMP_METHOD) && (stat.valid & ZIP_STAT_ENCRYPTION_METHOD) &&
                           (stat.valid & ZIP_STAT_COMP_SIZE) && stat.comp_method == ZIP_CM_DEFLATE &&
                           stat.encryption_method == ZIP_EM_NONE;
        storage.crcKnown = stat.valid & ZIP_STAT_CRC;
        storage.crc = stat.crc;
        storage_.push_back(storage);
        std::size_t index = entries_.size();
        exactIndex_.emplace(entry.path, index);
        foldedIndex_.emplace(foldedPath(entry.path), index);
        entries_.push_back(std::move(entry));
    }
}

std::size_t ZipReader::indexOf(std::string_view path) const {
    if (auto it = exactIndex_.find(std::string(path)); it != exactIndex_.end()) return it->second;
    if (auto it = foldedIndex_.find(foldedPath(path)); it != foldedIndex_.end()) return it->second;
    return std::string::npos;
}

bool ZipReader::contains(std::string_view path) const {
    return indexOf(path) != std::string::npos;
}

const ZipEntry* ZipReader::entry(std::string_view path) const {
    std::size_t index = indexOf(path);
    return index == std::string::npos ? nullptr : &entries_[index];
}

namespace {

// One open entry with the size limits applied to every piece it delivers.
// Read through libzip, or, for a plain deflated entry whose CRC is known
// (`rawCrc`), inflated here from its raw bytes; should that go wrong in any
// way, libzip takes over from the same point and has the last word.
class ZipEntryReader {
  public:
    ZipEntryReader(zip_t* archive, std::size_t index, const ZipEntry& entry, const ZipLimits& limits,
                   std::uint64_t& totalBytesRead, std::optional<std::uint32_t> rawCrc = std::nullopt)
        : archive_(archive), index_(index), entry_(entry), limits_(limits), totalBytesRead_(totalBytesRead) {
        // Declared sizes can lie, so they only serve to refuse early; the counts below are what holds.
        if (entry.uncompressedSize > limits.maxEntryBytes) throw entryTooLarge();
        if (totalBytesRead + entry.uncompressedSize > limits.maxTotalBytes) throw totalTooLarge();
        if (rawCrc) {
            if (zip_file_t* raw = zip_fopen_index(archive, index, ZIP_FL_COMPRESSED)) {
                rawFile_.reset(raw);
                rawCrc_ = *rawCrc;
                inflate_ = std::make_unique<RawInflate>(
                    [raw](char* into, std::size_t capacity) { return zip_fread(raw, into, capacity); });
                return;
            }
        }
        openThroughLibzip();
    }

    // A size worth reserving up front, never more than the limits allow. Declared
    // sizes can lie in a hostile archive, so the reservation is also capped; a
    // larger entry grows the buffer as its bytes actually arrive.
    std::size_t sizeHint() const {
        constexpr std::uint64_t maxUpFront = std::uint64_t{64} << 20;
        std::uint64_t plausible = entry_.compressedSize * maxDeflateRatio + ZipReader::chunkSize;
        return static_cast<std::size_t>(
            std::min({entry_.uncompressedSize, limits_.maxEntryBytes, plausible, maxUpFront}));
    }

    // Fills up to `capacity` bytes; 0 means the entry is complete (and its CRC checked).
    std::size_t readSome(char* destination, std::size_t capacity) {
        std::size_t n = 0;
        if (inflate_) {
            if (!inflate_->readSome(destination, capacity, n) || (n == 0 && inflate_->crc() != rawCrc_)) {
                takeOverThroughLibzip();
                n = readThroughLibzip(destination, capacity);
            }
        } else {
            n = readThroughLibzip(destination, capacity);
        }
        auto count = static_cast<std::uint64_t>(n);
        entryBytes_ += count;
        totalBytesRead_ += count;
        if (entryBytes_ > limits_.maxEntryBytes) throw entryTooLarge();
        // An entry that expands past the size its header declares is damaged
        // or hostile; stop at once rather than at the cap.
        if (entry_.sizeDeclared && entryBytes_ > entry_.uncompressedSize)
            throw ArchiveError("The ZIP archive entry " + quoted(entry_.path) +
                               " is damaged: it expands beyond the " +
                               std::to_string(entry_.uncompressedSize) + " bytes its header declares.");
        if (totalBytesRead_ > limits_.maxTotalBytes) throw totalTooLarge();
        return static_cast<std::size_t>(count);
    }

  private:
    void openThroughLibzip() {
        file_.reset(zip_fopen_index(archive_, index_, 0));
        if (!file_)
            throw ArchiveError("Cannot read " + quoted(entry_.path) +
                               " from the ZIP archive: " + zip_strerror(archive_));
    }

    std::size_t readThroughLibzip(char* destination, std::size_t capacity) {
        zip_int64_t n = zip_fread(file_.get(), destination, capacity);
        if (n < 0)
            throw ArchiveError("The ZIP archive entry " + quoted(entry_.path) +
                               " is damaged: " + zip_error_strerror(zip_file_get_error(file_.get())));
        return static_cast<std::size_t>(n);
    }

    // Libzip reads the entry again up to where the raw inflating stopped
    // (the same bytes), then goes on, or says what is wrong.
    void takeOverThroughLibzip() {
        inflate_.reset();
        rawFile_.reset();
        openThroughLibzip();
        std::vector<char> skipped(64 * 1024);
        for (std::uint64_t left = entryBytes_; left > 0;) {
            const std::size_t n = readThroughLibzip(
                skipped.data(), static_cast<std::size_t>(std::min<std::uint64_t>(left, skipped.size())));
            if (n == 0) throw ArchiveError("The ZIP archive entry " + quoted(entry_.path) + " is damaged.");
            left -= n;
        }
    }

    ArchiveError entryTooLarge() const {
        return ArchiveError("The ZIP archive entry " + quoted(entry_.path) + " expands beyond " +
                            std::to_string(limits_.maxEntryBytes) + " bytes.");
    }
    ArchiveError totalTooLarge() const {
        return ArchiveError("The ZIP archive expands beyond " + std::to_string(limits_.maxTotalBytes) +
                            " bytes in total.");
    }

    zip_t* archive_;
    std::size_t index_;
    const ZipEntry& entry_;
    const ZipLimits& limits_;
    std::uint64_t& totalBytesRead_;
    std::uint64_t entryBytes_ = 0;
    std::unique_ptr<zip_file_t, FileCloser> file_;
    std::unique_ptr<zip_file_t, FileCloser> rawFile_;
    std::unique_ptr<RawInflate> inflate_;
    std::uint32_t rawCrc_ = 0;
};

// A buffer from the system whose consumed pieces go back to it at once.
class InflatedEntry {
  public:
    explicit InflatedEntry(std::size_t size) : size_(size) {
        if (size == 0) return;
        void* p = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (p != MAP_FAILED) data_ = static_cast<char*>(p);
    }
    ~InflatedEntry() {
        if (data_ && released_ < size_) munmap(data_ + released_, size_ - released_);
    }
    InflatedEntry(const InflatedEntry&) = delete;
    InflatedEntry& operator=(const InflatedEntry&) = delete;

    char* data() const { return data_; }

    // `piece` is a multiple of the page size, so every piece but the last
    // starts and ends on a page boundary.
    void deliver(std::size_t piece, const ZipReader::WritableChunk& consume) {
        for (std::size_t at = 0; at < size_; at += piece) {
            std::size_t n = std::min(piece, size_ - at);
            consume(data_ + at, n);
            if (n == piece) {
                munmap(data_ + at, n);
                released_ = at + n;
            }
        }
    }

  private:
    char* data_ = nullptr;
    std::size_t size_;
    std::size_t released_ = 0;
};

std::size_t requireEntry(std::size_t index, std::string_view path) {
    if (index == std::string::npos) throw ArchiveError("The ZIP archive has no entry " + quoted(path) + ".");
    return index;
}

} // namespace

std::string ZipReader::read(std::string_view path) {
    std::size_t index = requireEntry(indexOf(path), path);
    if (inflatable(index)) {
        std::string content(entries_[index].uncompressedSize, '\0');
        if (inflateWhole(index, content.data())) return content;
    }
    ZipEntryReader entry(archive_, index, entries_[index], limits_, totalBytesRead_);
    std::string content(entry.sizeHint(), '\0');
    std::size_t used = 0;
    for (;;) {
        std::size_t n;
        if (used < content.size()) {
            n = entry.readSome(content.data() + used, content.size() - used);
        } else {
            // Full: a small probe finds the end (and lets the CRC be checked)
            // without growing the result when the declared size was right.
            char probe[4096];
            n = entry.readSome(probe, sizeof probe);
            if (n > 0) {
                content.resize(std::max(2 * used, used + chunkSize));
                std::copy_n(probe, n, content.data() + used);
            }
        }
        if (n == 0) break;
        used += n;
    }
    content.resize(used);
    return content;
}

void ZipReader::stream(std::string_view path, const std::function<void(std::string_view chunk)>& consume) {
    std::size_t index = requireEntry(indexOf(path), path);
    ZipEntryReader entry(archive_, index, entries_[index], limits_, totalBytesRead_);
    std::unique_ptr<char[]> buffer(new char[chunkSize]);
    while (std::size_t n = entry.readSome(buffer.get(), chunkSize))
        consume(std::string_view(buffer.get(), n));
}

void ZipReader::streamWhole(std::string_view path, const WritableChunk& consume) {
    std::size_t index = requireEntry(indexOf(path), path);
    const ZipEntry& declared = entries_[index];
    if (std::max(declared.uncompressedSize, declared.compressedSize) >= kReadAheadBytes &&
        std::thread::hardware_concurrency() >= 2) {
        // The ordinary read, with its checks and messages, one core ahead of
        // the consumer; the consumer must leave this reader alone meanwhile.
        const Storage& storage = storage_[index];
        ZipEntryReader entry(archive_, index, declared, limits_, totalBytesRead_,
                             storage.deflated && storage.crcKnown ? std::optional(storage.crc)
                                                                  : std::nullopt);
        auto fill = [&](char* into, std::size_t capacity) { return entry.readSome(into, capacity); };
        if (readAhead(fill, consume, ReadAheadRing{chunkSize, 8})) return;
    }
    if (inflatable(index)) {
        // Handed on from one buffer in pieces, each piece's memory returned
        // once consumed, so that a big part never lies in memory twice.
        InflatedEntry inflated(entries_[index].uncompressedSize);
        if (inflated.data() && inflateWhole(index, inflated.data())) {
            inflated.deliver(chunkSize, consume);
            return;
        }
    }
    ZipEntryReader entry(archive_, index, entries_[index], limits_, totalBytesRead_);
    std::unique_ptr<char[]> buffer(new char[chunkSize]);
    while (std::size_t n = entry.readSome(buffer.get(), chunkSize))
        consume(buffer.get(), n);
}

} // namespace sumora
