#pragma once
// Readers that know, while they read, how much cell storage the next rows
// will take say so here. A front end that knows its allocator can then make
// that memory ready on a spare core (first touching fresh memory is a tenth
// of opening a big workbook), off the reader's path. Without a front end's
// hook a hint costs a load and a compare.
#include <cstddef>

namespace sumora {

// Called on the reader's thread; must return at once.
using StorageAheadHook = void (*)(const void* recent, std::size_t bytes);

// Set once, before any reading starts.
void setStorageAheadHook(StorageAheadHook hook);

// Storage was just allocated at `recent`; about `bytes` more will be
// allocated shortly.
void expectStorage(const void* recent, std::size_t bytes);

} // namespace sumora
