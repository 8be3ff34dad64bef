// Writing ZIP archives. The container is simple enough to lay out here; the
// costly part is deflate, done by libdeflate on whole parts, several parts at
// once on the machine's cores, so that a big worksheet and its shared-string
// table are compressed side by side; a part of a few megabytes or more is
// itself deflated in pieces (DeflatePieces.h). ZIP64 records are written
// only where a size, an offset or the entry count does not fit the classic
// fields.
#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <exception>
#include <map>
#include <memory>
#include <thread>

#include "formats/DeflatePieces.h"
#include "formats/ZipArchive.h"

namespace sumora {

namespace {

constexpr std::uint32_t kLocalHeader = 0x04034b50;
constexpr std::uint32_t kCentralHeader = 0x02014b50;
constexpr std::uint32_t kEndOfCentralDirectory = 0x06054b50;
constexpr std::uint32_t kZip64EndOfCentralDirectory = 0x06064b50;
constexpr std::uint32_t kZip64Locator = 0x07064b50;
constexpr std::uint16_t kZip64ExtraId = 0x0001;
constexpr std::uint16_t kUtf8NameFlag = 0x0800;
constexpr std::uint16_t kMadeByUnix = 3 << 8;
constexpr std::uint16_t kVersionDefault = 20; // 2.0: deflate and directories
constexpr std::uint16_t kVersionZip64 = 45;
constexpr std::uint64_t kMax32 = 0xFFFFFFFFu;
constexpr std::uint64_t kMax16 = 0xFFFFu;
// Parts smaller than this are not worth a thread of their own.
constexpr std::uint64_t kParallelBytes = 64 * 1024;

void put16(std::string& out, std::uint64_t v) {
    out += static_cast<char>(v & 0xFF);
    out += static_cast<char>((v >> 8) & 0xFF);
}
void put32(std::string& out, std::uint64_t v) {
    put16(out, v & 0xFFFF);
    put16(out, (v >> 16) & 0xFFFF);
}
void put64(std::string& out, std::uint64_t v) {
    put32(out, v & kMax32);
    put32(out, v >> 32);
}

bool isAscii(std::string_view s) {
    return std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// MS-DOS date and time of the moment of writing, as archivers stamp new entries.
std::pair<std::uint16_t, std::uint16_t> dosDateTime() {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    int year = std::clamp(local.tm_year + 1900, 1980, 2107);
    auto date = static_cast<std::uint16_t>(((year - 1980) << 9) | ((local.tm_mon + 1) << 5) | local.tm_mday);
    auto time = static_cast<std::uint16_t>((local.tm_hour << 11) | (local.tm_min << 5) | (local.tm_sec / 2));
    return {date, time};
}

// One piece of work: a whole part, or one piece of a big one.
struct DeflateJob {
    ZipWriter::Part* part = nullptr;
    size_t begin = 0, end = 0;
    bool piece = false; // one of several: deflated without a final block
    std::uint32_t crc = 0;
    std::string out;
};

// One worker's compressors, one per level it met (allocating one costs more
// than compressing a small part).
class Compressors {
  public:
    PieceCompressor& at(int level) {
        auto& slot = compressors_[level];
        if (!slot) slot = std::make_unique<PieceCompressor>(level);
        return *slot;
    }

  private:
    std::map<int, std::unique_ptr<PieceCompressor>> compressors_;
};

bool deflated(const ZipWriter::Part& part) {
    return part.compression == Compression::deflate && !part.isDirectory && !part.deflatedAhead;
}

// Compresses every part, longest jobs first, on up to as many threads as
// there are cores; the calling thread is one of them. A part of several
// pieces is deflated piece by piece, so that even a workbook of one big part
// keeps every core busy.
void compressAll(std::vector<ZipWriter::Part>& parts) {
    const size_t cores = std::max<size_t>(std::thread::hardware_concurrency(), 1);
    std::vector<DeflateJob> jobs;
    for (ZipWriter::Part& part : parts) {
        if (part.deflatedAhead) continue;
        part.size = part.bytes.size();
        if (deflated(part) && cores >= 2 && part.size >= 2 * kDeflatePieceBytes) {
            for (size_t begin = 0; begin < part.size; begin += kDeflatePieceBytes)
                jobs.push_back(
                    {&part, begin, std::min<size_t>(part.size, begin + kDeflatePieceBytes), true, 0, {}});
        } else {
            jobs.push_back({&part, 0, part.bytes.size(), false, 0, {}});
        }
    }
    std::vector<size_t> order(jobs.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
        return jobs[a].end - jobs[a].begin > jobs[b].end - jobs[b].begin;
    });
    size_t big = static_cast<size_t>(std::count_if(jobs.begin(), jobs.end(), [](const DeflateJob& j) {
        return deflated(*j.part) && j.end - j.begin >= kParallelBytes;
    }));
    size_t threads = std::clamp<size_t>(cores, 1, std::max<size_t>(big, 1));

    std::atomic<size_t> next{0};
    std::atomic<bool> failed{false};
    std::vector<std::exception_ptr> errors(threads);
    auto work = [&](size_t worker) {
        try {
            Compressors compressors;
            for (size_t i = next++; i < order.size() && !failed; i = next++) {
                DeflateJob& job = jobs[order[i]];
                ZipWriter::Part& part = *job.part;
                std::string_view in = std::string_view(part.bytes).substr(job.begin, job.end - job.begin);
                job.crc = static_cast<std::uint32_t>(libdeflate_crc32(0, in.data(), in.size()));
                if (!deflated(part)) continue;
                PieceCompressor& compressor = compressors.at(part.level == -1 ? 6 : part.level);
                job.out = job.piece ? compressor.compress(in) : compressor.compressWhole(in);
            }
        } catch (...) {
            errors[worker] = std::current_exception();
            failed = true;
        }
    };
    std::vector<std::thread> helpers;
    for (size_t t = 1; t < threads; ++t) {
        try {
            helpers.emplace_back(work, t);
        } catch (const std::system_error&) {
            break; // no thread to be had: the calling thread does the rest
        }
    }
    work(0);
    for (auto& helper : helpers)
        helper.join();
    for (auto& error : errors)
        if (error) std::rethrow_exception(error);

    // A part's pieces follow each other, then the final block ends them.
    for (size_t i = 0; i < jobs.size();) {
        ZipWriter::Part& part = *jobs[i].part;
        if (!jobs[i].piece) {
            part.crc = jobs[i].crc;
            if (deflated(part)) part.bytes = std::move(jobs[i].out);
            ++i;
            continue;
        }
        std::string bytes;
        std::uint32_t crc = 0;
        size_t first = i, size = kDeflateFinalBlock.size();
        for (; i < jobs.size() && jobs[i].part == &part; ++i)
            size += jobs[i].out.size();
        bytes.reserve(size);
        for (size_t k = first; k < i; ++k) {
            crc = static_cast<std::uint32_t>(
                crc32_combine(crc, jobs[k].crc, static_cast<z_off_t>(jobs[k].end - jobs[k].begin)));
            bytes += jobs[k].out;
            std::string().swap(jobs[k].out);
        }
        bytes += kDeflateFinalBlock;
        part.crc = crc;
        part.bytes = std::move(bytes);
    }
}

} // namespace

void ZipWriter::requireOpen(const char* operation) const {
    if (finished_)
        throw ArchiveError(std::string("Cannot ") + operation + ": the ZIP archive is already finished.");
}

void ZipWriter::add(std::string_view path, std::string_view bytes, Compression compression, int level) {
    addPart(path, std::string(bytes), compression, level, false);
}

void ZipWriter::add(std::string_view path, std::string&& bytes, Compression compression, int level) {
    addPart(path, std::move(bytes), compression, level, false);
}

void ZipWriter::addDeflated(std::string_view path, DeflatedPart&& deflatedPart) {
    addPart(path, std::move(deflatedPart.bytes), Compression::deflate, -1, false);
    Part& part = parts_.back();
    part.deflatedAhead = true;
    part.crc = deflatedPart.crc;
    part.size = deflatedPart.size;
}

void ZipWriter::addDirectory(std::string_view path) {
    std::string name(path);
    if (name.empty() || name.back() != '/') name += '/';
    addPart(name, std::string(), Compression::store, -1, true);
}

void ZipWriter::addPart(std::string_view path, std::string&& bytes, Compression compression, int level,
                        bool isDirectory) {
    requireOpen(isDirectory ? "add a directory" : "add an entry");
    if (level != -1 && (level < 1 || level > 9))
        throw std::invalid_argument("Deflate level must be -1 or 1 to 9, not " + std::to_string(level));
    if (path.empty() || path.size() > kMax16)
        throw ArchiveError("Cannot add an entry named '" + std::string(path.substr(0, 64)) +
                           "' to the ZIP archive: the name is empty or too long.");
    if (!paths_.emplace(path).second)
        throw ArchiveError("Cannot add '" + std::string(path) +
                           "' to the ZIP archive: the name is already taken.");
    Part part;
    part.path = std::string(path);
    part.bytes = std::move(bytes);
    part.compression = compression;
    part.level = level;
    part.isDirectory = isDirectory;
    parts_.push_back(std::move(part));
}

std::string ZipWriter::finish() {
    requireOpen("finish");
    finished_ = true;
    std::vector<Part> parts = std::move(parts_);
    parts_.clear();
    paths_.clear();
    compressAll(parts);

    const auto [date, time] = dosDateTime();
    size_t total = 22 + 56 + 20;
    for (const Part& p : parts)
        total += 2 * p.path.size() + p.bytes.size() + 30 + 46 + 2 * 32;
    std::string out;
    out.reserve(total);

    // Local headers, each followed by its data.
    std::vector<std::uint64_t> offsets(parts.size()), storedSizes(parts.size());
    auto method = [](const Part& p) {
        return p.compression == Compression::deflate && !p.isDirectory ? 8 : 0;
    };
    for (size_t i = 0; i < parts.size(); ++i) {
        Part& p = parts[i];
        offsets[i] = out.size();
        storedSizes[i] = p.bytes.size();
        const bool zip64 = p.size >= kMax32 || storedSizes[i] >= kMax32;
        put32(out, kLocalHeader);
        put16(out, zip64 ? kVersionZip64 : kVersionDefault);
        put16(out, isAscii(p.path) ? 0 : kUtf8NameFlag);
        put16(out, method(p));
        put16(out, time);
        put16(out, date);
        put32(out, p.crc);
        put32(out, zip64 ? kMax32 : storedSizes[i]);
        put32(out, zip64 ? kMax32 : p.size);
        put16(out, p.path.size());
        put16(out, zip64 ? 20 : 0);
        out += p.path;
        if (zip64) {
            put16(out, kZip64ExtraId);
            put16(out, 16);
            put64(out, p.size);
            put64(out, storedSizes[i]);
        }
        out += p.bytes;
        std::string().swap(p.bytes); // the archive holds it now
    }

    // The central directory.
    const std::uint64_t directoryOffset = out.size();
    for (size_t i = 0; i < parts.size(); ++i) {
        const Part& p = parts[i];
        std::string extra;
        if (p.size >= kMax32) put64(extra, p.size);
        if (storedSizes[i] >= kMax32) put64(extra, storedSizes[i]);
        if (offsets[i] >= kMax32) put64(extra, offsets[i]);
        const bool zip64 = !extra.empty();
        const std::uint16_t version = zip64 ? kVersionZip64 : kVersionDefault;
        put32(out, kCentralHeader);
        put16(out, kMadeByUnix | version);
        put16(out, version);
        put16(out, isAscii(p.path) ? 0 : kUtf8NameFlag);
        put16(out, method(p));
        put16(out, time);
        put16(out, date);
        put32(out, p.crc);
        put32(out, std::min(storedSizes[i], kMax32));
        put32(out, std::min(p.size, kMax32));
        put16(out, p.path.size());
        put16(out, zip64 ? extra.size() + 4 : 0);
        put16(out, 0); // comment
        put16(out, 0); // disk
        put16(out, 0); // internal attributes
        // Unix permissions: rw-r--r-- files, rwxr-xr-x directories (with the DOS directory bit).
        put32(out, p.isDirectory ? (std::uint64_t{040755} << 16) | 0x10 : std::uint64_t{0100644} << 16);
        put32(out, std::min(offsets[i], kMax32));
        out += p.path;
        if (zip64) {
            put16(out, kZip64ExtraId);
            put16(out, extra.size());
            out += extra;
        }
    }
    const std::uint64_t directorySize = out.size() - directoryOffset;
    const std::uint64_t count = parts.size();

    if (count >= kMax16 || directoryOffset >= kMax32 || directorySize >= kMax32) {
        const std::uint64_t recordOffset = out.size();
        put32(out, kZip64EndOfCentralDirectory);
        put64(out, 44); // the record's size after this field
        put16(out, kMadeByUnix | kVersionZip64);
        put16(out, kVersionZip64);
        put32(out, 0);
        put32(out, 0);
        put64(out, count);
        put64(out, count);
        put64(out, directorySize);
        put64(out, directoryOffset);
        put32(out, kZip64Locator);
        put32(out, 0);
        put64(out, recordOffset);
        put32(out, 1);
    }
    put32(out, kEndOfCentralDirectory);
    put16(out, 0);
    put16(out, 0);
    put16(out, std::min(count, kMax16));
    put16(out, std::min(count, kMax16));
    put32(out, std::min(directorySize, kMax32));
    put32(out, std::min(directoryOffset, kMax32));
    put16(out, 0); // comment
    return out;
}

} // namespace sumora
