#pragma once
// Runs a piece of a test in a forked child whose address space may grow only
// a little past what the test process maps already, so that code which would
// allocate without bound fails there (or the child dies) instead of taking the
// machine's memory.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>

namespace sumora::test {

inline size_t mappedBytes() {
    FILE* f = std::fopen("/proc/self/statm", "r");
    unsigned long pages = 0;
    if (f) {
        if (std::fscanf(f, "%lu", &pages) != 1) pages = 0;
        std::fclose(f);
    }
    return static_cast<size_t>(pages) * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// The child's exit status: what `body` returned, 99 when it threw, and -1
// when it ended by a signal.
inline int runWithMemoryLimit(size_t extraBytes, const std::function<int()>& body) {
    std::fflush(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        rlimit limit{};
        limit.rlim_cur = limit.rlim_max = mappedBytes() + extraBytes;
        setrlimit(RLIMIT_AS, &limit);
        int code = 99;
        try {
            code = body();
        } catch (...) {
        }
        std::fflush(nullptr);
        _exit(code);
    }
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid) return -2;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace sumora::test
