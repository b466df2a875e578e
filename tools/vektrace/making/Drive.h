/// @file
/// Makes up the trace of a drive: what a logger records between its start and its shutdown.
///
/// The logger's own records begin and end it; between them buses send what they send in cycles with
/// jitter, Ethernet comes in bursts, positions come once per second. In the second quarter the
/// clock is set back, which a TIMEJUMP record tells, and in the third one a record stands that
/// nobody can decode: a TRIGGERCLEAR that carries bytes.
///
/// The bytes depend on the plan alone: they are the same on every machine. Payloads are opaque
/// bytes of plausible lengths, for their layouts are not defined here. Those of Ethernet records
/// are laid out like those of the example class in examples/ethernet/, so that its plugin has
/// something to show.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tools/vektrace/making/DriveSource.h"

namespace vek::program {

/// Either `length` or `size` is 0, the other one at least its minimum.
struct DrivePlan {
    uint64_t seed = 1;
    timeStamp_t start = 0;
    uint64_t length = 0;  ///< microseconds from the first record to the last one
    uint64_t size = 0;    ///< exactly so many bytes, for which a PADDING record makes up
    bool marked = true;
};

class Drive {
public:
    static constexpr uint64_t MIN_LENGTH = 1'000'000;
    static constexpr uint64_t MIN_SIZE = 1024;
    /// With these every time of a drive is a timestamp, also of one that has a size.
    static constexpr timeStamp_t MAX_START = UINT64_MAX / 2;
    static constexpr uint64_t MAX_LENGTH = UINT64_MAX / 2;

    explicit Drive(const DrivePlan& plan);

    /// Appends the next record. False: there is none any more.
    bool next(byteVec_t& trace);

private:
    enum phase_t : int {
        PHASE_STARTUP,
        PHASE_LOGGING_STARTED,
        PHASE_DRIVING,
        PHASE_FINISHING,
        PHASE_LOGGING_STOPPED,
        PHASE_SHUTDOWN,
        PHASE_OVER,
    };

    /// When a source sends next. Those that do so at once take turns in their order.
    struct Turn {
        uint64_t time;
        size_t source;
        bool operator>(const Turn& other) const {
            return time != other.time ? time > other.time : source > other.source;
        }
    };

    /// A record that comes once the drive has got as far as `due`.
    struct Event {
        uint64_t due;
        bool happened = false;
    };

    void step(byteVec_t& trace);
    void drive(byteVec_t& trace);
    void finish(byteVec_t& trace);
    /// Writes a record of an event that is due by `progress`, if there is one.
    bool happen(byteVec_t& trace, uint64_t progress);
    void setClockBack();
    bool hasRoom(size_t payloadLength, uint64_t time) const;
    uint64_t room() const;
    uint64_t progress() const { return plan.size != 0 ? written : elapsed; }
    void appendHeaderOnly(byteVec_t& trace, msgid_t id);
    void appendOpaque(byteVec_t& trace, msgid_t id, size_t payloadLength);
    /// Appends a record whose payload, which the result points to, is still to be written.
    uint8_t* append(byteVec_t& trace, msgid_t id, size_t payloadLength);
    size_t headerLength() const;

    const DrivePlan plan;
    Random random;
    Event timeJump;
    Event undecodable;
    std::vector<DriveSource> sources;
    std::vector<Turn> turns;  ///< a heap, the earliest on top
    phase_t phase = PHASE_STARTUP;
    uint64_t elapsed = 0;  ///< microseconds of the drive, whatever the clock was set to
    uint64_t setBack = 0;  ///< microseconds
    uint64_t written = 0;
};

}  // namespace vek::program
