#include "tools/vektrace/making/Drive.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace vek::program {

namespace {

/// Microseconds from STARTUP to DATALOGGINGSTARTED, and from DATALOGGINGSTOPPED to SHUTDOWN.
constexpr uint64_t BOOT = 250'000;
constexpr uint64_t HALT = 250'000;
/// What the TRIGGERCLEAR record carries, although such a record ends with its header.
constexpr size_t UNDECODABLE_LENGTH = 8;
constexpr size_t MARKER_LENGTH = sizeof MessageBase::SYNC_MARKER;

}  // namespace

Drive::Drive(const DrivePlan& _plan) : plan(_plan), random(plan.seed, 0) {
    const uint64_t quarter = (plan.size != 0 ? plan.size : plan.length) / 4;
    timeJump.due = quarter + random.below(quarter);
    undecodable.due = 2 * quarter + random.below(quarter);
    sources = makeDriveSources(BOOT, random);
    for (size_t i = 0; i < sources.size(); ++i) {
        turns.push_back({sources[i].cycle, i});
    }
    std::make_heap(turns.begin(), turns.end(), std::greater<>());
}

bool Drive::next(byteVec_t& trace) {
    const size_t before = trace.size();
    while (phase != PHASE_OVER && trace.size() == before) {
        step(trace);
    }
    return trace.size() != before;
}

void Drive::step(byteVec_t& trace) {
    switch (phase) {
        case PHASE_STARTUP:
            appendHeaderOnly(trace, MSGID_STARTUP);
            elapsed = BOOT;
            phase = PHASE_LOGGING_STARTED;
            break;
        case PHASE_LOGGING_STARTED:
            appendHeaderOnly(trace, MSGID_DATALOGGINGSTARTED);
            phase = PHASE_DRIVING;
            break;
        case PHASE_DRIVING:
            drive(trace);
            break;
        case PHASE_FINISHING:
            finish(trace);
            break;
        case PHASE_LOGGING_STOPPED:
            appendHeaderOnly(trace, MSGID_DATALOGGINGSTOPPED);
            elapsed += HALT;
            phase = PHASE_SHUTDOWN;
            break;
        case PHASE_SHUTDOWN:
            appendHeaderOnly(trace, MSGID_SHUTDOWN);
            phase = PHASE_OVER;
            break;
        case PHASE_OVER:
            break;
    }
}

void Drive::drive(byteVec_t& trace) {
    if (happen(trace, progress())) {
        return;
    }
    const Turn turn = turns.front();
    DriveSource& source = sources[turn.source];
    const size_t length = source.drawLength(random);
    if (!hasRoom(length, turn.time)) {
        phase = PHASE_FINISHING;
        return;
    }
    std::pop_heap(turns.begin(), turns.end(), std::greater<>());
    elapsed = turn.time;
    source.fillPayload(append(trace, source.id, length), length, random);
    turns.back().time = source.drawNext(turn.time, random);
    std::push_heap(turns.begin(), turns.end(), std::greater<>());
}

void Drive::finish(byteVec_t& trace) {
    if (plan.size == 0) {
        elapsed = plan.length - HALT;
    } else if (const uint64_t rest = room(); rest != 0) {
        appendOpaque(trace, MSGID_PADDING, static_cast<size_t>(rest) - headerLength());
        return;
    }
    if (!happen(trace, UINT64_MAX)) {
        phase = PHASE_LOGGING_STOPPED;
    }
}

bool Drive::happen(byteVec_t& trace, uint64_t progress) {
    if (!timeJump.happened && timeJump.due <= progress) {
        timeJump.happened = true;
        setClockBack();
        appendHeaderOnly(trace, MSGID_TIMEJUMP);
        return true;
    }
    if (!undecodable.happened && undecodable.due <= progress) {
        undecodable.happened = true;
        appendOpaque(trace, MSGID_TRIGGERCLEAR, UNDECODABLE_LENGTH);
        return true;
    }
    return false;
}

void Drive::setClockBack() {
    // Never to before the drive.
    setBack = std::min(elapsed / 2, random.between(1'000'000, 3'000'000));
}

/// Whether a record may be written and the trace still be finished as planned.
bool Drive::hasRoom(size_t payloadLength, uint64_t time) const {
    if (plan.size == 0) {
        return time < plan.length - HALT;
    }
    // What then is left is filled by a PADDING record, or there is nothing to fill.
    const uint64_t length = headerLength() + payloadLength;
    return room() == length || room() >= length + headerLength();
}

uint64_t Drive::room() const {
    const size_t header = headerLength();
    const size_t pending =
        (timeJump.happened ? 0 : header) + (undecodable.happened ? 0 : header + UNDECODABLE_LENGTH);
    return plan.size - written - pending - 2 * header;
}

// ---- Records -----------------------------------------------------------------------------------

size_t Drive::headerLength() const {
    return MessageBase::MO_BASE_DERIVED + (plan.marked ? MARKER_LENGTH : 0);
}

void Drive::appendHeaderOnly(byteVec_t& trace, msgid_t id) { append(trace, id, 0); }

void Drive::appendOpaque(byteVec_t& trace, msgid_t id, size_t payloadLength) {
    random.fill(append(trace, id, payloadLength), payloadLength);
}

uint8_t* Drive::append(byteVec_t& trace, msgid_t id, size_t payloadLength) {
    const size_t begin = trace.size();
    const size_t length = headerLength() + payloadLength;
    trace.resize(begin + length);
    written += length;
    uint8_t* const record = &trace[begin] + headerLength() - MessageBase::MO_BASE_DERIVED;
    if (plan.marked) {
        uint16ToByteArray(&trace[begin], MessageBase::SYNC_MARKER);
    }
    const size_t size = MessageBase::MO_BASE_DERIVED - MessageBase::MO_MSGID + payloadLength;
    uint16ToByteArray(record + MessageBase::MO_MSGSIZE, static_cast<uint16_t>(size));
    uint16ToByteArray(record + MessageBase::MO_MSGID, id);
    MessageBase::setTimeStamp(record, plan.start + elapsed - setBack);
    return record + MessageBase::MO_BASE_DERIVED;
}

}  // namespace vek::program
