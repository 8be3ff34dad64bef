#include "cli/HugePageHeap.h"

#include <malloc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace sumora::cli {

namespace {

// How far the heap grows at a time: address space only, until touched.
constexpr size_t kHeapStep = size_t{256} << 20;
// Blocks up to this size come from the heap too (and so from huge pages),
// rather than from a mapping of their own each.
constexpr int kMappedFrom = 32 << 20;
// The allocator's own growth step.
constexpr int kDefaultTopPad = 128 << 10;

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
}

} // namespace sumora::cli
