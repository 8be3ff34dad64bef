#include "formats/FileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <random>
#include <string>

#include "values/Log.h"
#include "formats/FileErrors.h"
#include "formats/SaveInterruption.h"

namespace sumora {

namespace {

namespace fs = std::filesystem;

constexpr int kMaxLinkHops = 40;
constexpr std::string_view kTemporaryInfix = ".sumora-";
constexpr std::string_view kTemporarySuffix = ".tmp";

FileWriteError writeError(const fs::path& target, const std::string& reason) {
    return FileWriteError("Could not write \"" + target.string() + "\": " + reason);
}

std::string reasonFor(int error) {
    switch (error) {
    case ENOSPC:
        return "the disk is full.";
    case EDQUOT:
        return "the disk quota is used up.";
    case EFBIG:
        return "the file would be larger than this system allows.";
    case EACCES:
    case EPERM:
        return "permission denied.";
    case EROFS:
        return "the disk is read-only.";
    default:
        return std::string(std::strerror(error)) + ".";
    }
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

// The old file's mode and owner carry over to the new one. Changing the
// owner needs privileges; without them the group alone may still be set.
void copyModeAndOwner(int fd, const struct stat& old, const fs::path& target) {
    ::fchmod(fd, old.st_mode & 07777);
    if (old.st_uid == ::geteuid() && old.st_gid == ::getegid()) return;
    if (::fchown(fd, old.st_uid, old.st_gid) == 0) return;
    if (::fchown(fd, static_cast<uid_t>(-1), old.st_gid) != 0 || old.st_uid != ::geteuid())
        Log::info("The saved \"" + target.string() + "\" could not keep its owner: " + std::strerror(errno));
    // The group change may have cleared set-id bits; the mode goes back on.
    ::fchmod(fd, old.st_mode & 07777);
}

void removeStaleTemporaries(const fs::path& dir, const std::string& name) {
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        std::string entry = it->path().filename().string();
        if (!isSaveTemporaryName(entry, name)) continue;
        std::error_code removeError;
        if (fs::remove(it->path(), removeError))
            Log::info("Removed \"" + entry + "\", left by an interrupted save");
    }
}

// Writes the complete temporary copy; returns its descriptor, still open.
int writeTemporary(const fs::path& temp, const fs::path& target, const ByteProducer& produce,
                   const std::optional<struct stat>& old) {
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, old ? 0600 : 0666);
    if (fd < 0) {
        int error = errno;
        throw writeError(target, error == EACCES || error == EROFS ? "the folder is not writable."
                                                                   : reasonFor(error));
    }
    bool ok = true;
    int error = 0;
    off_t size = 0;
    try {
        produce([&](std::string_view piece) {
            if (!ok) return;
            ok = writeAll(fd, piece);
            if (!ok) error = errno;
            size += static_cast<off_t>(piece.size());
        });
    } catch (...) {
        ::close(fd);
        ::unlink(temp.c_str());
        throw;
    }
    if (ok && ::fsync(fd) != 0) ok = false, error = errno;
    struct stat written = {};
    if (ok && (::fstat(fd, &written) != 0 || written.st_size != size)) ok = false, error = EIO;
    if (!ok) {
        ::close(fd);
        ::unlink(temp.c_str());
        throw writeError(target, reasonFor(error));
    }
    if (old) copyModeAndOwner(fd, *old, target);
    return fd;
}

// Copies the complete temporary file into `fd` from its start.
bool copyInto(int fd, const fs::path& temp) {
    int in = ::open(temp.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return false;
    char buffer[1 << 16];
    off_t total = 0;
    bool ok = true;
    for (;;) {
        ssize_t n = ::read(in, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) ok = false;
        if (n <= 0) break;
        if (!writeAll(fd, std::string_view(buffer, static_cast<size_t>(n)))) {
            ok = false;
            break;
        }
        total += n;
    }
    int error = errno;
    ::close(in);
    errno = error;
    return ok && ::ftruncate(fd, total) == 0;
}

// A file with other names (hard links) keeps its identity: the contents are
// written into it once a complete copy exists, which is kept if this fails.
void rewriteInPlace(const fs::path& target, const fs::path& temp) {
    int fd = ::open(target.c_str(), O_WRONLY | O_CLOEXEC);
    bool ok = fd >= 0 && copyInto(fd, temp) && ::fsync(fd) == 0;
    int error = errno;
    if (fd >= 0) ::close(fd);
    if (!ok) {
        if (fd < 0) {
            ::unlink(temp.c_str());
            throw writeError(target, reasonFor(error));
        }
        throw writeError(target, reasonFor(error) +
                                     " The file has other names (hard links) and was "
                                     "written in place; it may be incomplete. The complete "
                                     "contents are in \"" +
                                     temp.string() + "\".");
    }
    ::unlink(temp.c_str());
}

void syncFolder(const fs::path& dir) {
    int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

} // namespace

bool isSaveTemporaryName(std::string_view name, std::string_view targetName) {
    // "." + target + ".sumora-" + digits + ".tmp"
    if (name.size() < 1 + targetName.size() + kTemporaryInfix.size() + 1 + kTemporarySuffix.size())
        return false;
    if (name.front() != '.' || name.substr(1, targetName.size()) != targetName) return false;
    name.remove_prefix(1 + targetName.size());
    if (!name.starts_with(kTemporaryInfix) || !name.ends_with(kTemporarySuffix)) return false;
    name =
        name.substr(kTemporaryInfix.size(), name.size() - kTemporaryInfix.size() - kTemporarySuffix.size());
    return !name.empty() && name.find_first_not_of("0123456789") == std::string_view::npos;
}

fs::path resolvedSaveTarget(const fs::path& path) {
    fs::path current = path;
    for (int hop = 0; hop < kMaxLinkHops; ++hop) {
        std::error_code ec;
        if (!fs::is_symlink(fs::symlink_status(current, ec))) return current;
        fs::path next = fs::read_symlink(current, ec);
        if (ec) throw writeError(path, ec.message() + ".");
        current = next.is_absolute() ? next : current.parent_path() / next;
    }
    throw writeError(path, "its symbolic links form a loop.");
}

void checkSaveTarget(const fs::path& target) {
    struct stat st = {};
    if (::stat(target.c_str(), &st) != 0) return;
    if (S_ISDIR(st.st_mode)) throw writeError(target, "a folder of that name is in the way.");
    if (!S_ISREG(st.st_mode))
        throw writeError(target, "it is a device, pipe or socket, not a file; Sumora does not replace it.");
}

void replaceFileContents(const fs::path& target, std::string_view bytes) {
    replaceFileContents(target, [bytes](const ByteSink& sink) { sink(bytes); });
}

void replaceFileContents(const fs::path& target, const ByteProducer& produce) {
    fs::path dir = target.parent_path().empty() ? fs::path(".") : target.parent_path();
    std::string name = target.filename().string();

    checkSaveTarget(target);
    std::optional<struct stat> old;
    if (struct stat st = {}; ::stat(target.c_str(), &st) == 0) old = st;
    removeStaleTemporaries(dir, name);

    std::random_device random;
    fs::path temp = dir / ("." + name + std::string(kTemporaryInfix) + std::to_string(random()) +
                           std::string(kTemporarySuffix));
    InterruptionCleanup cleanup(temp.string());
    int fd = writeTemporary(temp, target, produce, old);
    ::close(fd);

    if (old && old->st_nlink > 1) {
        cleanup.release(); // the complete copy outlives a stop half-way through
        rewriteInPlace(target, temp);
        return;
    }
    if (::rename(temp.c_str(), target.c_str()) != 0) {
        int error = errno;
        ::unlink(temp.c_str());
        throw writeError(target, reasonFor(error));
    }
    syncFolder(dir);
}

} // namespace sumora
