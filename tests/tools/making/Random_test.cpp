#include "tools/vektrace/making/Random.h"

#include <gtest/gtest.h>

#include "support/hex.h"

using vek::program::Random;

namespace {

/// The plain twin: adds up shifted factors, bit by bit, in two words.
uint64_t highProduct(uint64_t a, uint64_t b) {
    uint64_t high = 0;
    uint64_t low = 0;
    for (int bit = 63; bit >= 0; --bit) {
        high = high << 1 | low >> 63;
        low <<= 1;
        if ((b >> bit & 1) != 0) {
            low += a;
            high += low < a ? 1 : 0;
        }
    }
    return high;
}

}  // namespace

TEST(Random, GivesTheSameNumbersOnEveryMachine) {
    Random random(1, 0);
    EXPECT_EQ(random.next(), 6366115181607701404u);
    EXPECT_EQ(random.next(), 849969928429367488u);
    EXPECT_EQ(Random(2, 0).next(), 12202923460603808758u);
    EXPECT_EQ(Random(1, 1).next(), 8465487511646287984u);
}

TEST(Random, FillsBytesInTheSameOrderOnEveryMachine) {
    byteVec_t bytes(11);
    Random(1, 0).fill(bytes.data(), bytes.size());
    EXPECT_EQ(hex(bytes), "58 58 FC 07 4E F2 CB 9C 0B CB B3");
}

TEST(Random, TakesTheUpperHalfOfTheProductForANumberBelowABound) {
    Random values(7, 0);
    Random twin(7, 0);
    Random bounds(8, 0);
    for (int i = 0; i < 10000; ++i) {
        const uint64_t bound = (bounds.next() >> bounds.below(64)) | 1;
        EXPECT_EQ(values.below(bound), highProduct(twin.next(), bound)) << bound;
    }
}

TEST(Random, ReachesBothEndsOfARange) {
    Random random(1, 0);
    bool first = false;
    bool last = false;
    for (int i = 0; i < 1000; ++i) {
        const uint64_t value = random.between(5, 7);
        ASSERT_GE(value, 5u);
        ASSERT_LE(value, 7u);
        first = first || value == 5;
        last = last || value == 7;
    }
    EXPECT_TRUE(first && last);
}
