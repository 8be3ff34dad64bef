#include "document/StorageAhead.h"

#include <atomic>

namespace sumora {

namespace {
std::atomic<StorageAheadHook> hook{nullptr};
}

void setStorageAheadHook(StorageAheadHook h) {
    hook.store(h, std::memory_order_release);
}

void expectStorage(const void* recent, std::size_t bytes) {
    if (StorageAheadHook h = hook.load(std::memory_order_acquire)) h(recent, bytes);
}

} // namespace sumora
