#pragma once
// The ZIP layer under the XLSX and ODS packages. Everything happens in memory:
// a reader works on the package bytes it was given, a writer collects parts and
// hands back the finished archive's bytes. No temporary files are involved.
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

struct zip;

namespace sumora {

// Every message names the ZIP archive, so that the open dispatch recognises a
// damaged package by its description.
class ArchiveError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct ZipEntry {
    std::string path; // as stored, directories end in "/"
    bool isDirectory = false;
    std::uint64_t uncompressedSize = 0; // as declared by the archive; reads never trust it
    bool sizeDeclared = false;          // whether the archive declared uncompressedSize
    std::uint64_t compressedSize = 0;
};

// Bounds on what reading may decompress, so that a ZIP bomb fails with an
// ArchiveError instead of exhausting memory. Bytes are counted as they come
// out of the decompressor; declared sizes are only used to fail early.
struct ZipLimits {
    std::uint64_t maxEntryBytes = std::uint64_t{1} << 30; // one entry, 1 GiB
    std::uint64_t maxTotalBytes = std::uint64_t{4} << 30; // all reads of one reader together, 4 GiB
};

// Package bytes a ZipReader reads in place instead of copying: the caller
// keeps them alive and unchanged for as long as the reader exists.
struct BorrowedBytes {
    std::string_view bytes;
};

// Reads a ZIP archive held in memory. The reader keeps its own copy of the
// bytes (or takes over a moved-in string, or borrows them), so the caller's
// buffer may go away unless it was lent.
//
// Lookup by path is forgiving: an exact match wins; otherwise a leading "/" and
// backslash separators are ignored and letters compare case-insensitively.
// When an archive holds the same name twice, the first entry wins for lookup;
// entries() still lists both.
//
// Not thread-safe: one reader serves one thread at a time.
class ZipReader {
  public:
    static constexpr std::size_t chunkSize = 256 * 1024;

    explicit ZipReader(std::string_view bytes, ZipLimits limits = {});
    explicit ZipReader(std::string&& bytes, ZipLimits limits = {});
    explicit ZipReader(BorrowedBytes bytes, ZipLimits limits = {});
    ~ZipReader();
    ZipReader(const ZipReader&) = delete;
    ZipReader& operator=(const ZipReader&) = delete;

    // In stored order.
    const std::vector<ZipEntry>& entries() const { return entries_; }
    bool contains(std::string_view path) const;
    // The entry a path names (looked up as by contains), or nullptr.
    const ZipEntry* entry(std::string_view path) const;

    // Reads one entry whole. Throws ArchiveError when the entry is missing,
    // damaged (CRC or deflate errors), encrypted or over a limit.
    std::string read(std::string_view path);
    // Reads one entry in pieces of at most chunkSize bytes; the view is only
    // valid during the call. To stop early, throw from the callback.
    void stream(std::string_view path, const std::function<void(std::string_view chunk)>& consume);
    // As stream(), for readers that take parts to their end: a big entry is
    // inflated on a second thread while `consume` works (which must not use
    // this reader meanwhile), a smaller one in one piece where it can be
    // (several times faster than a stream). Each chunk is the consumer's to
    // overwrite until it returns, so it can be parsed in place.
    using WritableChunk = std::function<void(char* chunk, std::size_t size)>;
    void streamWhole(std::string_view path, const WritableChunk& consume);

    // Decompressed bytes delivered so far by this reader (checked against maxTotalBytes).
    std::uint64_t totalBytesRead() const { return totalBytesRead_; }

  private:
    // What a whole-entry inflate needs to know beyond ZipEntry.
    struct Storage {
        bool deflated = false; // plain deflate, not encrypted
        bool crcKnown = false;
        std::uint32_t crc = 0;
    };

    void open();
    std::size_t indexOf(std::string_view path) const;
    // The entry's compressed bytes when it can be inflated in one call (see
    // ZipInflate.cpp); empty otherwise.
    std::string rawDeflated(std::size_t index);
    // Inflates a whole entry into `out` (of the declared size) with its CRC
    // checked; false when the entry is not eligible or does not inflate
    // exactly as declared, and is then read the ordinary way.
    bool inflateWhole(std::size_t index, char* out);
    bool inflatable(std::size_t index) const;

    std::string ownBytes_;
    std::string_view bytes_; // ownBytes_ or the borrowed bytes
    ZipLimits limits_;
    zip* archive_ = nullptr;
    std::vector<ZipEntry> entries_;
    std::vector<Storage> storage_;
    std::unordered_map<std::string, std::size_t> exactIndex_;
    std::unordered_map<std::string, std::size_t> foldedIndex_;
    std::uint64_t totalBytesRead_ = 0;
};

enum class Compression { store, deflate };

struct DeflatedPart;

// Builds a ZIP archive in memory; entries keep the order in which they were added.
//
// Deflate levels follow zlib's scale: 1 is fastest, 9 smallest, -1 means the
// usual balance (6). For big parts (a worksheet of tens of megabytes) use
// level 1 to 3: they compress several times faster and lose only a few
// percent of size on spreadsheet XML. Parts are compressed when the archive
// is finished, several at once on the machine's cores, biggest first; a part
// of several megabytes is itself compressed in pieces on all of them.
class ZipWriter {
  public:
    ZipWriter() = default;
    ZipWriter(const ZipWriter&) = delete;
    ZipWriter& operator=(const ZipWriter&) = delete;

    // Adding a path twice is an ArchiveError; a level outside -1 and 1..9 is
    // std::invalid_argument.
    void add(std::string_view path, std::string_view bytes, Compression compression = Compression::deflate,
             int level = -1);
    // Takes the bytes over instead of copying them (for big parts).
    void add(std::string_view path, std::string&& bytes, Compression compression = Compression::deflate,
             int level = -1);
    void add(std::string_view path, const char* bytes, Compression compression = Compression::deflate,
             int level = -1) {
        add(path, std::string_view(bytes), compression, level);
    }
    // A part deflated beforehand (PieceDeflater), with its checksum and size.
    void addDeflated(std::string_view path, DeflatedPart&& part);
    // A trailing "/" is added when missing.
    void addDirectory(std::string_view path);

    // Produces the archive. The writer is spent afterwards: any further call throws.
    std::string finish();

    struct Part {
        std::string path;
        std::string bytes; // as added; replaced by the compressed bytes when finishing
        Compression compression = Compression::store;
        int level = -1;
        bool isDirectory = false;
        bool deflatedAhead = false; // bytes, crc and size came deflated
        std::uint32_t crc = 0;
        std::uint64_t size = 0; // uncompressed
    };

  private:
    void addPart(std::string_view path, std::string&& bytes, Compression compression, int level,
                 bool isDirectory);
    void requireOpen(const char* operation) const;

    std::vector<Part> parts_;
    std::unordered_set<std::string> paths_;
    bool finished_ = false;
};

} // namespace sumora
