#include "tools/vektrace/pcap/PacketRecord.h"

#include <cstddef>
#include <cstdint>

#include "libvekutil/datablock.h"

namespace vek::program {

namespace {

constexpr size_t MARKER_LENGTH = sizeof MessageBase::SYNC_MARKER;

/// Whether these bytes are exactly one record without a marker.
bool isRecord(const uint8_t* data, size_t length) {
    return length >= MessageBase::MO_BASE_DERIVED &&
           MessageBase::MO_MSGID + size_t{MessageBase::getMessageSize(data)} == length;
}

std::optional<PacketRecord> markedRecord(const Packet& packet) {
    if (packet.length < MARKER_LENGTH ||
        byteArrayToUint16(packet.data) != MessageBase::SYNC_MARKER ||
        !isRecord(packet.data + MARKER_LENGTH, packet.length - MARKER_LENGTH)) {
        return std::nullopt;
    }
    return PacketRecord{FRAMING_MARKED, MessageBase::getTimeStamp(packet.data + MARKER_LENGTH)};
}

std::optional<PacketRecord> unmarkedRecord(const Packet& packet) {
    if (!isRecord(packet.data, packet.length)) {
        return std::nullopt;
    }
    return PacketRecord{FRAMING_UNMARKED, MessageBase::getTimeStamp(packet.data)};
}

}  // namespace

std::optional<PacketRecord> recordOf(const Packet& packet) {
    const auto marked = markedRecord(packet);
    const auto unmarked = unmarkedRecord(packet);
    const bool preferUnmarked = unmarked && packet.hasTime && unmarked->time == packet.time;
    return marked && !(preferUnmarked && marked->time != packet.time) ? marked : unmarked;
}

}  // namespace vek::program
