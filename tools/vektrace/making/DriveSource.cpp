#include "tools/vektrace/making/DriveSource.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace vek::program {

namespace {

struct Kind {
    uint8_t number;  ///< of sources
    DriveSource source;
};

// The example class's payload of an Ethernet record: channel, direction, original length, frame.
constexpr size_t DIRECTION = 1;
constexpr size_t ORIGINAL_LENGTH = 2;
constexpr size_t FRAME = 6;
// The addresses and the type in front of what a frame carries.
constexpr size_t ADDRESS_LENGTH = 6;
constexpr size_t FRAME_TYPE = FRAME + 2 * ADDRESS_LENGTH;
constexpr size_t FRAME_DATA = FRAME_TYPE + 2;
constexpr uint16_t INTERNET_PROTOCOL = 0x0800;

const Kind KINDS[] = {
    {10, {MSGID_CAN, 10'000, 400, 12, 15}},
    {20, {MSGID_CAN, 20'000, 900, 12, 15}},
    {40, {MSGID_CAN, 100'000, 3'000, 9, 15}},
    {30, {MSGID_CAN, 1'000'000, 20'000, 8, 15}},
    {6, {MSGID_CAN_EXT, 50'000, 1'500, 20, 76}},
    {4, {MSGID_FLEXRAY, 5'000, 20, 24, 128}},
    {6, {MSGID_LIN, 15'000, 300, 10, 15}},
    {3, {MSGID_ETHERNET_RX, 400'000, 150'000, FRAME + 60, FRAME + 1514, 48, 160}},
    {1, {MSGID_MOST150, 40'000, 10'000, 32, 400}},
    {2, {MSGID_ANALOG, 50'000, 10, 8, 8}},
    {1, {MSGID_GPIO, 700'000, 600'000, 6, 6}},
    {1, {MSGID_SERIAL, 200'000, 50'000, 12, 80, 3, 9'000}},
    {4, {MSGID_CCP_DTO, 10'000, 200, 12, 15}},
    {2, {MSGID_ECU_LOG, 300'000, 250'000, 40, 220, 5, 2'000}},
    {1, {MSGID_GPS, 1'000'000, 2'000, 44, 44}},
    {4, {MSGID_BUSLOAD, 1'000'000, 100, 10, 10}},
    {2, {MSGID_TEMPERATURE, 10'000'000, 1'000, 6, 6}},
    {1, {MSGID_SYSTEMMESSAGE, 5'000'000, 4'000'000, 24, 120}},
    {1, {MSGID_CONTAINER, 2'000'000, 900'000, 4'096, 32'768}},
    {1, {MSGID_METAINFO, 30'000'000, 5'000, 200, 1'800}},
};

DriveSource makeSource(const Kind& kind, uint8_t number, uint64_t begin, Random& random) {
    DriveSource source = kind.source;
    source.number = number;
    source.cycle = begin + random.below(source.period);
    random.fill(source.head.data(), source.head.size());
    return source;
}

}  // namespace

std::vector<DriveSource> makeDriveSources(uint64_t begin, Random& random) {
    std::vector<DriveSource> sources;
    for (const Kind& kind : KINDS) {
        for (uint8_t number = 0; number < kind.number; ++number) {
            sources.push_back(makeSource(kind, number, begin, random));
        }
    }
    return sources;
}

size_t DriveSource::drawLength(Random& random) const {
    // The longest is the most frequent, as a full frame is.
    if (minLength == maxLength || random.below(3) == 0) {
        return maxLength;
    }
    return static_cast<size_t>(random.between(minLength, maxLength));
}

uint64_t DriveSource::drawNext(uint64_t now, Random& random) {
    count = static_cast<uint8_t>(count + 1);
    if (left == 0) {
        left = 1 + random.below(burst);
        cycle += period;
    }
    if (--left > 0) {
        return now + 1 + random.below(gap);
    }
    return std::max(now, cycle + random.below(jitter + 1));
}

void DriveSource::fillPayload(uint8_t* payload, size_t length, Random& random) {
    if (id == MSGID_ETHERNET_RX) {
        fillFrame(payload, length, random);
        return;
    }
    random.fill(payload, length);
    std::copy(head.begin(), head.end(), payload);
    payload[head.size()] = count;
}

void DriveSource::fillFrame(uint8_t* payload, size_t length, Random& random) {
    const bool received = random.below(3) != 0;
    payload[0] = number;
    payload[DIRECTION] =
        static_cast<uint8_t>(received ? MessageBase::PORT_DIR_IN : MessageBase::PORT_DIR_OUT);
    uint32ToByteArray(payload + ORIGINAL_LENGTH, static_cast<uint32_t>(length - FRAME));
    // Locally administered addresses, of this port and of what it talks to.
    uint8_t address[2][ADDRESS_LENGTH] = {{0x02, 0, 0, 0, 1, number},
                                          {0x02, 0, head[0], head[1], head[2], head[3]}};
    const auto& destination = address[received ? 0 : 1];
    const auto& sender = address[received ? 1 : 0];
    std::copy_n(destination, ADDRESS_LENGTH, payload + FRAME);
    std::copy_n(sender, ADDRESS_LENGTH, payload + FRAME + ADDRESS_LENGTH);
    uint16ToByteArray(payload + FRAME_TYPE, INTERNET_PROTOCOL);
    random.fill(payload + FRAME_DATA, length - FRAME_DATA);
}

}  // namespace vek::program
