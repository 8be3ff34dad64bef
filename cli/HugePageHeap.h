#pragma once
// The command-line front end builds one large document per run: millions of
// small allocations, each new 4 KB page of which costs a page fault (a fifth
// of a CSV open). Growing the heap once, by a large step advised for huge
// pages, turns those into a few hundred 2 MB faults. Where a reader says
// how much storage is coming, a helper thread makes those pages ready ahead
// of it, so that even those faults leave the reader's path.
namespace sumora::cli {

// Call once, early in main. Only a hint: where the allocator or the kernel
// does not go along, the heap stays as it was and no pages are made ready.
void adviseHugePageHeap();

} // namespace sumora::cli
