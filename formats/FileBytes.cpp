#include "formats/FileBytes.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace sumora {

namespace {

// Below this a file is read into an ordinary string.
constexpr size_t kMappedFrom = size_t{2} << 20;
constexpr size_t kHugePage = size_t{2} << 20;

// Reads into [buffer, buffer + capacity) until the file ends or the buffer
// is full; returns the count, or nothing on a read error.
std::optional<size_t> readInto(int fd, char* buffer, size_t capacity) {
    size_t got = 0;
    while (got < capacity) {
        ssize_t n = ::read(fd, buffer + got, capacity - got);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return std::nullopt;
        if (n == 0) break;
        got += static_cast<size_t>(n);
    }
    return got;
}

// Appends the rest of the file to `text`; false on a read error.
bool readRest(int fd, std::string& text) {
    char chunk[1 << 16];
    for (;;) {
        std::optional<size_t> n = readInto(fd, chunk, sizeof chunk);
        if (!n) return false;
        text.append(chunk, *n);
        if (*n < sizeof chunk) return true;
    }
}

// Owns a descriptor for the length of a read.
struct Descriptor {
    int fd;
    ~Descriptor() {
        if (fd >= 0) ::close(fd);
    }
};

} // namespace

std::optional<FileBytes> FileBytes::read(const std::filesystem::path& path) {
    Descriptor file{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    struct stat st = {};
    // A folder opens on Linux but has no contents.
    if (file.fd < 0 || ::fstat(file.fd, &st) != 0 || S_ISDIR(st.st_mode)) return std::nullopt;
    FileBytes bytes;
    const auto expected = S_ISREG(st.st_mode) ? static_cast<size_t>(st.st_size) : 0;
    if (expected >= kMappedFrom) {
        // One byte more than the size, so that a file that grew is noticed.
        const size_t capacity = (expected + 1 + kHugePage - 1) / kHugePage * kHugePage;
        void* p = ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (p != MAP_FAILED) {
            ::madvise(p, capacity, MADV_HUGEPAGE); // a hint; without it the pages are small
            bytes.mapped_ = static_cast<char*>(p);
            bytes.mappedSize_ = capacity;
            std::optional<size_t> got = readInto(file.fd, bytes.mapped_, capacity);
            if (!got) return std::nullopt;
            bytes.size_ = *got;
            if (*got < capacity) return bytes;
            // The file outgrew the buffer: read it to its end as a string.
            bytes.text_.assign(bytes.mapped_, *got);
            ::munmap(bytes.mapped_, bytes.mappedSize_);
            bytes.mapped_ = nullptr;
        }
    }
    if (bytes.text_.empty()) bytes.text_.reserve(expected + 1);
    if (!readRest(file.fd, bytes.text_)) return std::nullopt;
    return bytes;
}

FileBytes::FileBytes(FileBytes&& o) noexcept
    : mapped_(o.mapped_), mappedSize_(o.mappedSize_), size_(o.size_), text_(std::move(o.text_)) {
    o.mapped_ = nullptr;
}

FileBytes::~FileBytes() {
    if (mapped_) ::munmap(mapped_, mappedSize_);
}

} // namespace sumora
