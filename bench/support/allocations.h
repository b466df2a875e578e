/// @file
/// How many times a thread has allocated. The count must not disturb what is timed: it is one
/// increment in front of malloc, and the same for every contender.
#pragma once

namespace bench {

/// Allocations that this thread has made through operator new.
long allocationsMade();

}  // namespace bench
