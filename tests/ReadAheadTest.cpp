#include "formats/ReadAhead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>

using namespace sumora;

namespace {

// A producer of `total` bytes counting 0, 1, 2, ... that throws once it has
// produced `failAfter` bytes (when set).
struct CountingFill {
    std::size_t total;
    std::size_t failAfter = SIZE_MAX;
    std::size_t produced = 0;

    std::size_t operator()(char* into, std::size_t capacity) {
        if (produced >= failAfter) throw std::runtime_error("damaged at " + std::to_string(produced));
        std::size_t n = std::min({capacity, total - produced, failAfter - produced});
        for (std::size_t i = 0; i < n; ++i)
            into[i] = static_cast<char>((produced + i) % 251);
        produced += n;
        return n;
    }
};

std::string expected(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        text[i] = static_cast<char>(i % 251);
    return text;
}

} // namespace

TEST(ReadAhead, DeliversEveryByteInOrderWhateverTheRingShape) {
    struct Case {
        std::size_t total, chunkBytes, slots;
    } cases[] = {{0, 16, 2},      {1, 16, 2},         {100'000, 1, 1},
                 {100'000, 7, 3}, {1 << 20, 4096, 8}, {65'536, 65'536, 1}};
    for (const Case& c : cases) {
        CountingFill fill{c.total};
        std::string received;
        std::size_t largest = 0;
        ASSERT_TRUE(readAhead(std::ref(fill),
                              [&](char* chunk, std::size_t size) {
                                  received.append(chunk, size);
                                  largest = std::max(largest, size);
                              },
                              {c.chunkBytes, c.slots}));
        EXPECT_TRUE(received == expected(c.total)) << c.total << " bytes in chunks of " << c.chunkBytes;
        EXPECT_LE(largest, c.chunkBytes);
    }
}

TEST(ReadAhead, ProducerErrorArrivesAfterTheBytesBeforeIt) {
    CountingFill fill{1 << 20, 300'000};
    std::size_t received = 0;
    try {
        readAhead(std::ref(fill), [&](char*, std::size_t size) { received += size; }, {4096, 4});
        ADD_FAILURE() << "the producer's error was lost";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "damaged at 300000");
    }
    EXPECT_EQ(received, 300'000u);
}

TEST(ReadAhead, ConsumerErrorStopsAnEndlessProducer) {
    struct Stop {};
    std::size_t calls = 0;
    auto endless = [](char* into, std::size_t capacity) {
        std::fill_n(into, capacity, 'x');
        return capacity;
    };
    EXPECT_THROW(readAhead(endless,
                           [&](char*, std::size_t) {
                               if (++calls == 3) throw Stop{};
                           },
                           {64, 2}),
                 Stop);
    EXPECT_EQ(calls, 3u);
}
