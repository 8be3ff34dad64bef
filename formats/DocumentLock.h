#pragma once
// Keeps two programs from saving the same file over each other. The lock is
// the lock file that office suites share (".~lock.NAME#" beside the file,
// one line naming who holds it), held with flock() for as long as this
// process owns it. A lock file that another program wrote is honoured; one
// left behind by a Sumora process that no longer runs (nobody holds its
// flock) is taken over.
#include <filesystem>
#include <memory>
#include <string>

namespace sumora {

class InterruptionCleanup;

class DocumentLock {
  public:
    // Locks `target` (a path whose links are already resolved), or throws
    // FileWriteError saying who has the file in use. Within one process a
    // second lock of the same file is granted and shares the first.
    explicit DocumentLock(const std::filesystem::path& target);
    ~DocumentLock();
    DocumentLock(const DocumentLock&) = delete;
    DocumentLock& operator=(const DocumentLock&) = delete;

    static std::filesystem::path lockFilePath(const std::filesystem::path& target);

  private:
    std::string key_;
};

} // namespace sumora
