/// @file
/// Lets allocations fail. A program that uses this is built with FailingAllocation.cpp, which replaces
/// operator new.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "libvekstream/TraceException.h"

/// From here to its end one allocation fails, or that one and all behind it.
class FailingAllocation {
public:
    /// `number` counts from 0.
    FailingAllocation(long number, bool everAfter) : first(number), forGood(everAfter) {
        current = this;
    }
    ~FailingAllocation() { current = nullptr; }
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    bool hasFailed() const { return made > first; }

    /// Null where it fails.
    static void* allocate(size_t size) {
        FailingAllocation* const failing = current;
        void* const memory = failing != nullptr && failing->fails() ? nullptr : std::malloc(size);
        alive += memory == nullptr ? 0 : 1;
        return memory;
    }
    static void release(void* memory) {
        alive -= memory == nullptr ? 0 : 1;
        std::free(memory);
    }
    /// Blocks that are not freed yet, in every thread.
    static std::atomic<long> alive;

private:
    bool fails() {
        const long number = made++;
        return number == first || (forGood && number > first);
    }

    static std::atomic<FailingAllocation*> current;

    long first;
    bool forGood;
    long made = 0;
};

/// Runs `operation` until none of its allocations fails any more: each one fails in its turn, and
/// then each one with all behind it. Returns how many there are.
///
/// A failure ends in an exception, and the memory that there was before is what there is afterwards.
template <class Operation>
long failEachAllocation(Operation operation) {
    long number = 0;
    for (const bool everAfter : {false, true}) {
        number = -1;
        for (bool hasFailed = true; hasFailed;) {
            const long before = FailingAllocation::alive;
            bool isTold = false;
            {
                const FailingAllocation failing(++number, everAfter);
                try {
                    operation();
                } catch (const std::bad_alloc&) {
                    isTold = true;
                } catch (const TraceException&) {
                    isTold = true;
                }
                hasFailed = failing.hasFailed();
            }
            EXPECT_EQ(FailingAllocation::alive.load(), before) << number;
            EXPECT_TRUE(isTold || !hasFailed) << number;
        }
    }
    return number;
}
