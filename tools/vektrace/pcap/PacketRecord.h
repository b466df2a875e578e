/// @file
/// The record that a packet is.
#pragma once

#include <optional>

#include "libvekstream/RecordScanner.h"
#include "tools/vektrace/pcap/PcapReader.h"

namespace vek::program {

struct PacketRecord {
    framing_t framing;  ///< FRAMING_MARKED or FRAMING_UNMARKED
    timeStamp_t time;
};

/// What the packet is, or nothing where it is no whole record. The bytes of some can be read with
/// and without a marker: then it is what has the packet's time, and one with a marker rather than
/// not.
std::optional<PacketRecord> recordOf(const Packet& packet);

}  // namespace vek::program
