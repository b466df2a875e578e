/// @file
/// What a process is given at its start, made fit for the program: its signals and its standard streams.
#pragma once

#include <atomic>

namespace vek::program {

/// From now on SIGINT, SIGTERM and SIGHUP set stopFlag() and end waiting for input or output; the same
/// one a second time ends the process at once. Writing into a closed pipe or beyond a file size limit
/// is an ordinary error. Of the three a signal that the process was started to ignore stays ignored.
void catchSignals();

/// Opens those of the descriptors 0 to 2 that are closed, so that no file gets their number. What is
/// read from or written to them fails.
void occupyStandardDescriptors();

/// Set once a signal came, and never cleared.
const std::atomic<bool>& stopFlag();

/// The number of the signal that came, or 0.
int stopSignal();

}  // namespace vek::program
