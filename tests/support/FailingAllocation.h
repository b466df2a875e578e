/// @file
/// Runs a piece of code out of memory: at its first, second, ... allocation, in turn.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <new>

#include "support/allocations.h"

/// While it lives, an allocation fails: the one behind `successes` others, alone or with all that
/// follow it.
class FailingAllocation {
public:
    enum mode_t { ONCE, FROM_THEN_ON };

    FailingAllocation(long successes, mode_t mode) {
        allocations::untilFailure = successes;
        allocations::failsFromThenOn = mode == FROM_THEN_ON;
    }
    ~FailingAllocation() {
        allocations::untilFailure = -1;
        allocations::failsFromThenOn = false;
    }
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    bool hasFailed() const { return allocations::failed != failedBefore; }

private:
    long failedBefore = allocations::failed;
};

/// Runs `operation` with its first, second, ... allocation failing, in both modes, until it makes
/// no further one. Each failure must come out as std::bad_alloc and without one nothing may be
/// thrown; `afterwards`, which is told whether it failed, looks at what is left each time, then puts
/// all back. Nothing may leak. Returns how many allocations there are.
inline long expectBadAlloc(
    const std::function<void()>& operation,
    const std::function<void(bool)>& afterwards = [](bool) {}) {
    long count = 0;
    for (const auto mode : {FailingAllocation::ONCE, FailingAllocation::FROM_THEN_ON}) {
        bool failed = true;
        for (count = 0; failed; ++count) {
            const long alive = allocations::alive;
            bool thrown = false;
            {
                const FailingAllocation memory(count, mode);
                try {
                    operation();
                } catch (const std::bad_alloc&) {
                    thrown = true;
                }
                failed = memory.hasFailed();
            }
            EXPECT_EQ(thrown, failed) << "at allocation " << count;
            afterwards(failed);
            EXPECT_EQ(allocations::alive, alive) << "at allocation " << count;
        }
    }
    return count - 1;
}
