#pragma once
// Files that a save creates and must not leave behind when the process is
// stopped half-way: the temporary copy and the lock file. They are
// registered while they exist, and the handlers that the front ends install
// remove them before the process ends. The registry is a fixed table of
// atomics, so the handlers touch nothing that a signal may interrupt.
#include <string>

namespace sumora {

// Removes the path when SIGTERM, SIGINT or SIGHUP arrives while the guard
// lives (the process then exits with 128 + the signal number).
class InterruptionCleanup {
  public:
    explicit InterruptionCleanup(const std::string& path);
    ~InterruptionCleanup();
    // Keeps the file from now on, even if the process is stopped.
    void release();
    InterruptionCleanup(const InterruptionCleanup&) = delete;
    InterruptionCleanup& operator=(const InterruptionCleanup&) = delete;

  private:
    int slot_ = -1;
};

// For the command-line front end and the application: removes registered
// files on SIGTERM, SIGINT and SIGHUP, and ignores SIGXFSZ so that a write
// past the file-size limit fails with an error the save reports instead of
// killing the process.
void installSaveSignalHandlers();

} // namespace sumora
