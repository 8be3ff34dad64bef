#include "formats/SaveInterruption.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <unistd.h>

namespace sumora {

namespace {

constexpr int kSlots = 16;
constexpr size_t kMaxPath = 4096;

// A slot is free (0), being filled (1) or holds a path to remove (2).
struct Slot {
    std::atomic<int> state{0};
    char path[kMaxPath];
};
Slot slots[kSlots];

void removeRegisteredFiles() {
    for (Slot& slot : slots)
        if (slot.state.load() == 2) ::unlink(slot.path);
}

extern "C" void onTerminatingSignal(int sig) {
    removeRegisteredFiles();
    static const char message[] = "[Sumora] Stopped by a signal; the file being saved was left as it was.\n";
    ssize_t ignored = ::write(STDERR_FILENO, message, sizeof message - 1);
    (void)ignored;
    ::_exit(128 + sig);
}

} // namespace

InterruptionCleanup::InterruptionCleanup(const std::string& path) {
    if (path.size() >= kMaxPath) return;
    for (int i = 0; i < kSlots; ++i) {
        int expected = 0;
        if (!slots[i].state.compare_exchange_strong(expected, 1)) continue;
        std::memcpy(slots[i].path, path.c_str(), path.size() + 1);
        slots[i].state.store(2);
        slot_ = i;
        return;
    }
}

InterruptionCleanup::~InterruptionCleanup() {
    release();
}

void InterruptionCleanup::release() {
    if (slot_ >= 0) slots[slot_].state.store(0);
    slot_ = -1;
}

void installSaveSignalHandlers() {
    struct sigaction action = {};
    action.sa_handler = onTerminatingSignal;
    sigemptyset(&action.sa_mask);
    for (int sig : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&action.sa_mask, sig);
    for (int sig : {SIGTERM, SIGINT, SIGHUP})
        sigaction(sig, &action, nullptr);
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace sumora
