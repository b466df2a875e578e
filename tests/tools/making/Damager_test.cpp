#include "tools/vektrace/making/Damager.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace vek::program;

namespace {

byteVec_t someBytes(size_t length) {
    byteVec_t bytes(length);
    Random(99, 0).fill(bytes.data(), bytes.size());
    return bytes;
}

struct Outcome {
    byteVec_t output;
    std::vector<DamageDone> done;
};

Outcome damage(const DamagePlan& plan, const byteVec_t& input, size_t piece = SIZE_MAX) {
    Outcome outcome;
    Damager damager(
        plan, input.size(),
        [&](const uint8_t* bytes, size_t length) {
            outcome.output.insert(outcome.output.end(), bytes, bytes + length);
        },
        [&](const DamageDone& done) { outcome.done.push_back(done); });
    for (size_t i = 0; i < input.size();) {
        const size_t length = std::min(piece, input.size() - i);
        damager.take(input.data() + i, length);
        i += length;
    }
    return outcome;
}

/// The plain twin: does what was told, one thing after the other, with what was put in taken from
/// the output, as it is random.
byteVec_t redo(const byteVec_t& input, const Outcome& outcome) {
    byteVec_t bytes = input;
    for (const DamageDone& done : outcome.done) {
        const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(done.outputOffset);
        const auto length = static_cast<std::ptrdiff_t>(done.length);
        const auto inserted =
            outcome.output.begin() + static_cast<std::ptrdiff_t>(done.outputOffset);
        if (done.kind == DAMAGE_CHANGE) {
            EXPECT_EQ(*at, done.before);
            *at = done.after;
        } else if (done.kind == DAMAGE_ZERO) {
            std::fill_n(at, done.length, uint8_t{0});
        } else if (done.kind == DAMAGE_CUT) {
            bytes.erase(at, at + length);
        } else {
            bytes.insert(at, inserted, inserted + length);
        }
    }
    return bytes;
}

uint64_t count(const Outcome& outcome, damage_t kind) {
    return static_cast<uint64_t>(
        std::count_if(outcome.done.begin(), outcome.done.end(),
                      [kind](const DamageDone& done) { return done.kind == kind; }));
}

DamagePlan someOfAll() {
    DamagePlan plan;
    plan.seed = 5;
    plan.changes = 300;
    plan.cuts = 7;
    plan.inserts = 9;
    plan.zeros = 5;
    plan.maxRun = 200;
    return plan;
}

}  // namespace

TEST(Damager, WithoutAPlanCopies) {
    const byteVec_t input = someBytes(100'000);
    const Outcome outcome = damage(DamagePlan(), input);
    EXPECT_EQ(outcome.output, input);
    EXPECT_TRUE(outcome.done.empty());
}

TEST(Damager, TellsEverythingThatItDoes) {
    const byteVec_t input = someBytes(200'000);
    const Outcome outcome = damage(someOfAll(), input);
    EXPECT_EQ(redo(input, outcome), outcome.output);
    EXPECT_NE(outcome.output, input);
}

TEST(Damager, DoesWhatThePlanCounts) {
    const Outcome outcome = damage(someOfAll(), someBytes(200'000));
    EXPECT_EQ(count(outcome, DAMAGE_CHANGE), 300u);
    EXPECT_EQ(count(outcome, DAMAGE_CUT), 7u);
    EXPECT_EQ(count(outcome, DAMAGE_INSERT), 9u);
    EXPECT_EQ(count(outcome, DAMAGE_ZERO), 5u);
}

TEST(Damager, DoesNotDependOnThePiecesOfTheInput) {
    const byteVec_t input = someBytes(20'000);
    const byteVec_t whole = damage(someOfAll(), input).output;
    for (const size_t piece : {size_t{1}, size_t{7}, size_t{4096}}) {
        EXPECT_EQ(damage(someOfAll(), input, piece).output, whole) << piece;
    }
}

TEST(Damager, DoesOtherDamageForAnotherSeed) {
    const byteVec_t input = someBytes(20'000);
    DamagePlan other = someOfAll();
    ++other.seed;
    EXPECT_NE(damage(other, input).output, damage(someOfAll(), input).output);
}

TEST(Damager, GoesForwardAndNeverTouchesAByteTwice) {
    for (uint64_t seed = 0; seed < 200; ++seed) {
        DamagePlan plan = someOfAll();
        plan.seed = seed;
        plan.changes = 1000;
        uint64_t free = 0;
        for (const DamageDone& done : damage(plan, someBytes(5000)).done) {
            ASSERT_GE(done.inputOffset, free) << seed;
            free = done.inputOffset + (done.kind == DAMAGE_INSERT ? 0 : done.length);
        }
    }
}

TEST(Damager, ChangesABytesValueAlwaysToAnotherOne) {
    DamagePlan plan;
    plan.changes = 100'000;
    const byteVec_t input = someBytes(static_cast<size_t>(plan.changes));
    const byteVec_t output = damage(plan, input).output;
    ASSERT_EQ(output.size(), input.size());
    for (size_t i = 0; i < input.size(); ++i) {
        ASSERT_NE(output[i], input[i]) << i;
    }
}

TEST(Damager, SpreadsChangesOverAllOfTheInput) {
    DamagePlan plan;
    plan.changes = 10'000;
    const Outcome outcome = damage(plan, someBytes(1'000'000));
    for (uint64_t tenth = 0; tenth < 10; ++tenth) {
        const auto inside = [tenth](const DamageDone& done) {
            return done.inputOffset / 100'000 == tenth;
        };
        const auto there = std::count_if(outcome.done.begin(), outcome.done.end(), inside);
        EXPECT_GT(there, 900) << tenth;
        EXPECT_LT(there, 1100) << tenth;
    }
}

TEST(Damager, KeepsRunsToTheirMostBytes) {
    DamagePlan plan = someOfAll();
    plan.maxRun = 1;
    for (const DamageDone& done : damage(plan, someBytes(5000)).done) {
        EXPECT_EQ(done.length, 1u);
    }
}

TEST(Damager, InsertsARunLongerThanItsPieces) {
    DamagePlan plan;
    plan.inserts = 1;
    plan.maxRun = 1'000'000;
    const byteVec_t input = someBytes(10);
    const Outcome outcome = damage(plan, input);
    EXPECT_EQ(outcome.output.size(), input.size() + outcome.done.front().length);
    EXPECT_GT(outcome.done.front().length, 0x10000u);
}

TEST(Damager, HasARunForEveryByteAtMost) {
    DamagePlan plan;
    plan.zeros = 10;
    EXPECT_TRUE(plan.fits(10));
    EXPECT_FALSE(plan.fits(9));
    EXPECT_EQ(damage(plan, someBytes(10)).output, byteVec_t(10, 0));
}

TEST(Damager, ChangesEveryByteThatNoRunTakesAtMost) {
    DamagePlan plan;
    plan.changes = 10;
    EXPECT_TRUE(plan.fits(10));
    EXPECT_FALSE(plan.fits(9));
    plan.zeros = 1;
    EXPECT_FALSE(plan.fits(10));
}

TEST(Damager, FitsNothingWhereTheRunsAreMoreThan64BitsHold) {
    DamagePlan plan;
    plan.cuts = UINT64_MAX;
    plan.inserts = 5;
    EXPECT_FALSE(plan.fits(100));
}

TEST(Damager, LeavesAnEmptyInputEmpty) { EXPECT_TRUE(damage(DamagePlan(), {}).output.empty()); }
