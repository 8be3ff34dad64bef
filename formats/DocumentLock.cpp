#include "formats/DocumentLock.h"

#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <pwd.h>

#include "values/Log.h"
#include "formats/FileErrors.h"
#include "formats/SaveInterruption.h"

namespace sumora {

namespace {

namespace fs = std::filesystem;

// The last field of the line names the holder's settings location; ours
// names the process, which marks the file as Sumora's.
constexpr std::string_view kOwnMarker = "sumora:";

struct HeldLock {
    int fd = -1;
    int users = 0;
    fs::path path;
    std::unique_ptr<InterruptionCleanup> cleanup;
};

// Never destroyed: a lock held in a static object is released after other
// statics are gone.
std::mutex& heldMutex() {
    static auto* mutex = new std::mutex;
    return *mutex;
}
std::map<std::string, HeldLock>& heldLocks() {
    static auto* locks = new std::map<std::string, HeldLock>;
    return *locks;
}

std::string readAll(int fd) {
    std::string text;
    char buf[512];
    ::lseek(fd, 0, SEEK_SET);
    ssize_t n;
    while ((n = ::read(fd, buf, sizeof buf)) > 0 && text.size() < 4096)
        text.append(buf, static_cast<size_t>(n));
    return text;
}

// "Name,system user,host,date,location;" — the first non-empty of the two
// user fields is who the user is told about.
std::string holderName(const std::string& line) {
    std::string fields[2];
    size_t field = 0;
    for (char c : line) {
        if (c == ',' || c == ';' || c == '\n') {
            if (++field == 2) break;
            continue;
        }
        fields[field] += c;
    }
    if (!fields[0].empty()) return fields[0];
    if (!fields[1].empty()) return fields[1];
    return "another program";
}

std::string ownLockLine() {
    const char* user = std::getenv("USER");
    std::string userName = user ? user : "";
    if (userName.empty())
        if (const passwd* pw = ::getpwuid(::geteuid())) userName = pw->pw_name;
    char host[256] = {};
    ::gethostname(host, sizeof host - 1);
    char date[32] = {};
    std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::strftime(date, sizeof date, "%d.%m.%Y %H:%M", &local);
    return "Sumora," + userName + "," + host + "," + date + "," + std::string(kOwnMarker) +
           std::to_string(::getpid()) + ";";
}

FileWriteError inUse(const fs::path& target, const std::string& who, const fs::path& lockFile) {
    return FileWriteError("Could not save \"" + target.filename().string() + "\": it is in use by " + who +
                          " (lock file \"" + lockFile.filename().string() +
                          "\"). Close it there first, or delete the lock file if that program is no "
                          "longer running.");
}

// Opens and flocks the lock file; retries when the file it locked was
// removed or replaced by its previous holder meanwhile.
int openLocked(const fs::path& target, const fs::path& lockFile) {
    for (int attempt = 0; attempt < 5; ++attempt) {
        int fd = ::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
        if (fd < 0) return -1;
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            std::string who = holderName(readAll(fd));
            ::close(fd);
            throw inUse(target, who == "Sumora" ? "another Sumora window or command" : who, lockFile);
        }
        struct stat opened = {}, current = {};
        if (::fstat(fd, &opened) == 0 && ::stat(lockFile.c_str(), &current) == 0 &&
            opened.st_ino == current.st_ino && opened.st_dev == current.st_dev)
            return fd;
        ::close(fd);
    }
    return -1;
}

} // namespace

fs::path DocumentLock::lockFilePath(const fs::path& target) {
    return target.parent_path() / (".~lock." + target.filename().string() + "#");
}

DocumentLock::DocumentLock(const fs::path& target) : key_(fs::absolute(target).lexically_normal().string()) {
    std::lock_guard guard(heldMutex());
    auto& locks = heldLocks();
    if (auto it = locks.find(key_); it != locks.end()) {
        ++it->second.users;
        return;
    }
    fs::path lockFile = lockFilePath(target);
    int fd = openLocked(target, lockFile);
    if (fd < 0) {
        // A folder we cannot write to cannot take the save either; that
        // failure is reported by the write itself.
        Log::info("No lock file for \"" + target.string() + "\": " + std::strerror(errno));
        key_.clear();
        return;
    }
    std::string line = readAll(fd);
    if (!line.empty() && line.find(kOwnMarker) == std::string::npos) {
        // Another suite's lock: it holds no flock, the file itself says so.
        ::close(fd);
        key_.clear();
        throw inUse(target, holderName(line), lockFile);
    }
    std::string own = ownLockLine();
    if (::ftruncate(fd, 0) != 0 ||
        ::pwrite(fd, own.data(), own.size(), 0) != static_cast<ssize_t>(own.size()))
        Log::info("Could not write the lock file \"" + lockFile.string() + "\"");
    HeldLock& held = locks[key_];
    held.fd = fd;
    held.users = 1;
    held.path = lockFile;
    held.cleanup = std::make_unique<InterruptionCleanup>(lockFile.string());
}

DocumentLock::~DocumentLock() {
    if (key_.empty()) return;
    std::lock_guard guard(heldMutex());
    auto& locks = heldLocks();
    auto it = locks.find(key_);
    if (it == locks.end() || --it->second.users > 0) return;
    // Removed while still flocked, so nobody locks a file about to vanish.
    ::unlink(it->second.path.c_str());
    ::close(it->second.fd);
    locks.erase(it);
}

} // namespace sumora
