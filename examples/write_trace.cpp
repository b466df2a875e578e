/// @file
/// Writes a small trace, the same one every time.
///
///     write_trace TRACE.vkt

#include <exception>
#include <iostream>
#include <string>

#include "examples/ethernet/EthernetMessage.h"
#include "examples/trace_file.h"
#include "libvektrace/SimpleMessage.h"

// A message without payload needs nothing but its name; the library names those that it decodes.
template <>
const char SimpleMessage<MSGID_PING>::messageName[] = "PING";

namespace {

constexpr timeStamp_t MICROSECONDS = 1'000'000;
constexpr timeStamp_t BEGIN = 1'700'000'000 * MICROSECONDS;  // 2023-11-14 22:13:20
constexpr timeStamp_t JUMP = 3600 * MICROSECONDS;

constexpr uint8_t CHANNEL = 1;

/// A frame of `length` bytes from one made-up address to another, with a counting payload.
byteVec_t makeFrame(uint16_t etherType, size_t length) {
    byteVec_t frame = {0x02, 0, 0, 0, 0, 0x01, 0x02, 0, 0, 0, 0, 0x02};
    frame.push_back(static_cast<uint8_t>(etherType >> 8));
    frame.push_back(static_cast<uint8_t>(etherType));
    while (frame.size() < length) {
        frame.push_back(static_cast<uint8_t>(frame.size()));
    }
    return frame;
}

void appendFrames(byteVec_t& trace, timeStamp_t begin) {
    constexpr uint16_t ETHERTYPE_IPV4 = 0x0800;
    constexpr uint16_t ETHERTYPE_ARP = 0x0806;
    appendRecord(trace, EthernetMessage(begin, CHANNEL, MessageBase::PORT_DIR_IN, 60,
                                        makeFrame(ETHERTYPE_ARP, 60)));
    appendRecord(trace, EthernetMessage(begin + 125, CHANNEL, MessageBase::PORT_DIR_OUT, 60,
                                        makeFrame(ETHERTYPE_ARP, 60)));
    // Of this one only the first bytes were captured.
    appendRecord(trace, EthernetMessage(begin + 2750, CHANNEL, MessageBase::PORT_DIR_IN, 1514,
                                        makeFrame(ETHERTYPE_IPV4, 64)));
}

byteVec_t makeTrace() {
    byteVec_t trace;
    appendRecord(trace, SimpleMessage<MSGID_STARTUP>(BEGIN));
    appendRecord(trace, SimpleMessage<MSGID_DATALOGGINGSTARTED>(BEGIN + 1500));
    appendFrames(trace, BEGIN + MICROSECONDS);
    appendRecord(trace, SimpleMessage<MSGID_TIMEJUMP>(BEGIN + JUMP));
    appendFrames(trace, BEGIN + JUMP + MICROSECONDS);
    // No creator is registered for this type: a reader cannot decode it, which is meant.
    appendRecord(trace, SimpleMessage<MSGID_PING>(BEGIN + JUMP + 2 * MICROSECONDS));
    appendRecord(trace, SimpleMessage<MSGID_DATALOGGINGSTOPPED>(BEGIN + JUMP + 3 * MICROSECONDS));
    return trace;
}

}  // namespace

int main(int argc, char* argv[]) {
    try {
        if (argc != 2) {
            std::cerr << "usage: write_trace TRACE" << TRACE_SUFFIX << '\n';
            return 2;
        }
        writeTraceFile(argv[1], makeTrace());
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "write_trace: " << e.what() << '\n';
        return 1;
    }
}
