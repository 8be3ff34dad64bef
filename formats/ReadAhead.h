#pragma once
// Producing bytes on a second thread while the calling thread consumes them:
// the producer fills a small ring of reused chunks, so memory stays at
// slots × chunk bytes however long the stream, and neither side waits while
// the other has work in hand. Used to inflate a big package part on one core
// while the XML scanner reads it on the other.
#include <cstddef>
#include <functional>

namespace sumora {

struct ReadAheadRing {
    std::size_t chunkBytes = 256 * 1024;
    std::size_t slots = 8;
};

// Fills up to `capacity` bytes at `into`; 0 marks the end. Runs on the
// producer thread, never at the same time as another call.
using ReadAheadFill = std::function<std::size_t(char* into, std::size_t capacity)>;

// Hands every chunk `fill` produces to `consume`, in order, on the calling
// thread; the chunk is the consumer's to overwrite until it returns. An exception from `fill` reaches the
// caller after the chunks produced before it were consumed, as a sequential read would deliver them; an
// exception from `consume` stops the producer and propagates. Returns false, having called neither, when no
// thread can be started.
bool readAhead(const ReadAheadFill& fill, const std::function<void(char* chunk, std::size_t size)>& consume,
               ReadAheadRing ring = {});

} // namespace sumora
