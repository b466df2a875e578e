/// @file
/// How far a job is: bytes, rate and time left, on standard error.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "tools/vektrace/program/Session.h"

namespace vek::program {

class Progress {
public:
    /// `total` bytes are to be read; 0 when nobody knows. With --progress auto nothing is shown
    /// unless standard error is a terminal, and not before a second has gone by.
    Progress(Session& session, uint64_t total);
    /// Wipes the line away; with --progress always the last state stays.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// So many bytes more have been read. Looks at the clock, so tell it of larger pieces.
    void advance(uint64_t bytes);

private:
    using clock_t = std::chrono::steady_clock;

    void show(clock_t::time_point now);

    Session& session;
    const uint64_t total;
    const bool enabled;
    const clock_t::time_point begin = clock_t::now();
    clock_t::time_point due;
    uint64_t done = 0;
};

/// "1.5 GiB, 300 MiB/s, 42%, 0:07 left": `seconds` went by for `done` of `total` bytes.
std::string progressText(uint64_t done, uint64_t total, double seconds);

}  // namespace vek::program
