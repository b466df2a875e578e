/// @file
/// The signals that ask the program to end, as a flag that is looked at.
#pragma once

#include <atomic>

namespace vek::program {

/// From now on SIGINT, SIGTERM and SIGHUP set stopFlag(), a second one ends the process at once, and
/// writing into a closed pipe or beyond a file size limit is an ordinary error. A signal that the
/// process was started to ignore stays ignored.
void catchSignals();

/// Opens those of the descriptors 0 to 2 that are closed, so that no file gets their number. What is
/// read from or written to them fails.
void occupyStandardDescriptors();

/// Set once a signal came, and never cleared.
const std::atomic<bool>& stopFlag();

/// The number of the signal that came, or 0.
int stopSignal();

}  // namespace vek::program
