#include "cli/HugePageHeap.h"

#include <malloc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <system_error>
#include <thread>

#include "document/StorageAhead.h"

namespace sumora::cli {

namespace {

// How far the heap grows at a time: address space only, until touched.
constexpr size_t kHeapStep = size_t{256} << 20;
// Blocks up to this size come from the heap too (and so from huge pages),
// rather than from a mapping of their own each.
constexpr int kMappedFrom = 32 << 20;
// The allocator's own growth step.
constexpr int kDefaultTopPad = 128 << 10;
constexpr uintptr_t kHugePage = uintptr_t{2} << 20;
// Asks the kernel to fault pages in writable without writing them (Linux
// 5.14 on); older kernels refuse it, and the pages are then left alone.
constexpr int kPopulateWrite = 23; // MADV_POPULATE_WRITE

// Pages of the heap step made ready on a helper thread, ahead of the
// reader's hints. Never destroyed: the helper waits on it until exit.
struct PagesAhead {
    uintptr_t start = 0, end = 0; // the advised step
    std::mutex mutex;
    std::condition_variable wake;
    uintptr_t ready = 0;  // pages below this are faulted in (or passed by the reader)
    uintptr_t wanted = 0; // and below this should be
};
PagesAhead* pagesAhead = nullptr;

// Only whole huge pages of the step, and only forward: a hint never makes
// ready more than the reader said it would use.
void expectHeapStorage(const void* recent, size_t bytes) {
    PagesAhead& a = *pagesAhead;
    const auto at = reinterpret_cast<uintptr_t>(recent);
    if (at < a.start || at >= a.end) return; // not from the step: another thread's pool
    const uintptr_t passed = at & ~(kHugePage - 1);
    const uintptr_t want = (at + std::min<uintptr_t>(bytes, a.end - at)) & ~(kHugePage - 1);
    {
        std::lock_guard<std::mutex> lock(a.mutex);
        a.ready = std::max(a.ready, passed);
        if (want <= std::max(a.wanted, a.ready)) return;
        a.wanted = want;
    }
    a.wake.notify_one();
}

void makePagesReady() {
    PagesAhead& a = *pagesAhead;
    std::unique_lock<std::mutex> lock(a.mutex);
    for (;;) {
        a.wake.wait(lock, [&] { return a.ready < a.wanted; });
        const uintptr_t from = a.ready;
        lock.unlock();
        const bool done = madvise(reinterpret_cast<void*>(from), kHugePage, kPopulateWrite) == 0;
        lock.lock();
        if (!done) {
            setStorageAheadHook(nullptr);
            return;
        }
        a.ready = std::max(a.ready, from + kHugePage);
    }
}

void startPagesAhead(uintptr_t start, uintptr_t end) {
    pagesAhead = new PagesAhead;
    pagesAhead->start = start;
    pagesAhead->end = end;
    // Huge pages begin at 2 MB boundaries; the part of one below is left alone.
    pagesAhead->ready = pagesAhead->wanted = (start + kHugePage - 1) & ~(kHugePage - 1);
    try {
        std::thread(makePagesReady).detach();
    } catch (const std::system_error&) {
        return; // no helper: the reader faults its pages in itself
    }
    setStorageAheadHook(expectHeapStorage);
}

} // namespace

void adviseHugePageHeap() {
    // Under a limit on address space the large step could fail where the
    // memory actually needed would not.
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY) return;
    mallopt(M_MMAP_THRESHOLD, kMappedFrom);
    // Free space at the top is given back only past twice the step, so the
    // advised space is not handed back as soon as something is freed.
    mallopt(M_TRIM_THRESHOLD, static_cast<int>(2 * kHeapStep));
    mallopt(M_TOP_PAD, static_cast<int>(kHeapStep));
    // A block larger than the heap's free top makes the heap grow, by the
    // step above; freed again, it leaves that space at the top.
    void* volatile grow = std::malloc(mallinfo2().keepcost + (size_t{1} << 20));
    std::free(grow);
    mallopt(M_TOP_PAD, kDefaultTopPad); // later growth in ordinary steps
    const auto end = reinterpret_cast<uintptr_t>(sbrk(0));
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t top = mallinfo2().keepcost;
    if (top < page || top > end) return;
    const uintptr_t start = (end - top + page - 1) / page * page;
    madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
    startPagesAhead(start, end);
}

} // namespace sumora::cli
