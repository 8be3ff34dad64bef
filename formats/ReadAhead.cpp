#include "formats/ReadAhead.h"

#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace sumora {

namespace {

// The ring and its hand-over counts. Chunk `produced % slots` belongs to the
// producer while fewer than `slots` chunks wait; chunk `consumed % slots`
// belongs to the consumer while any chunk waits.
class Ring {
  public:
    explicit Ring(ReadAheadRing shape) : shape_(shape), data_(new char[shape.chunkBytes * shape.slots]) {
        sizes_.resize(shape.slots);
    }

    void produce(const ReadAheadFill& fill) {
        try {
            for (;;) {
                std::size_t slot;
                {
                    std::unique_lock lock(mutex_);
                    roomOrStop_.wait(lock, [&] { return stopped_ || produced_ - consumed_ < shape_.slots; });
                    if (stopped_) return;
                    slot = produced_ % shape_.slots;
                }
                std::size_t n = fill(chunk(slot), shape_.chunkBytes);
                std::lock_guard lock(mutex_);
                if (n == 0) {
                    finished_ = true;
                } else {
                    sizes_[slot] = n;
                    ++produced_;
                }
                chunkOrEnd_.notify_one();
                if (finished_) return;
            }
        } catch (...) {
            std::lock_guard lock(mutex_);
            error_ = std::current_exception();
            finished_ = true;
            chunkOrEnd_.notify_one();
        }
    }

    // The next chunk and its size, or a size of 0 at the end of the stream.
    std::pair<char*, std::size_t> next() {
        std::unique_lock lock(mutex_);
        chunkOrEnd_.wait(lock, [&] { return finished_ || consumed_ < produced_; });
        if (consumed_ == produced_) return {nullptr, 0};
        std::size_t slot = consumed_ % shape_.slots;
        return {chunk(slot), sizes_[slot]};
    }

    void release() {
        std::lock_guard lock(mutex_);
        ++consumed_;
        roomOrStop_.notify_one();
    }

    void stop() {
        std::lock_guard lock(mutex_);
        stopped_ = true;
        roomOrStop_.notify_one();
    }

    std::exception_ptr error() const { return error_; }

  private:
    char* chunk(std::size_t slot) const { return data_.get() + slot * shape_.chunkBytes; }

    const ReadAheadRing shape_;
    std::unique_ptr<char[]> data_;
    std::vector<std::size_t> sizes_;
    std::mutex mutex_;
    std::condition_variable roomOrStop_, chunkOrEnd_;
    std::size_t produced_ = 0, consumed_ = 0;
    bool finished_ = false, stopped_ = false;
    std::exception_ptr error_;
};

} // namespace

bool readAhead(const ReadAheadFill& fill, const std::function<void(char* chunk, std::size_t size)>& consume,
               ReadAheadRing shape) {
    if (shape.chunkBytes == 0 || shape.slots == 0) shape = ReadAheadRing{};
    Ring ring(shape);
    std::thread producer;
    try {
        producer = std::thread([&] { ring.produce(fill); });
    } catch (const std::system_error&) {
        return false;
    }
    try {
        for (auto [chunk, size] = ring.next(); size > 0; std::tie(chunk, size) = ring.next()) {
            consume(chunk, size);
            ring.release();
        }
    } catch (...) {
        ring.stop();
        producer.join();
        throw;
    }
    producer.join();
    if (ring.error()) std::rethrow_exception(ring.error());
    return true;
}

} // namespace sumora
