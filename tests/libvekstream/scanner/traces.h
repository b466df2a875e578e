/// @file
/// Traces for the tests: records put together by hand, and random ones that are then damaged.
#pragma once

#include <initializer_list>
#include <random>

#include "libvektrace/MessageBase.h"

/// Some time of the year 2024; the records of a trace have times behind it.
inline constexpr timeStamp_t SOME_TIME = 1718000000000000;

inline byteVec_t joined(std::initializer_list<byteVec_t> parts) {
    byteVec_t result;
    for (const byteVec_t& part : parts) {
        result.insert(result.end(), part.begin(), part.end());
    }
    return result;
}

/// A record as it stands in an unmarked trace.
inline byteVec_t unmarkedRecord(unsigned id, timeStamp_t time, const byteVec_t& payload = {}) {
    byteVec_t record(MessageBase::MO_BASE_DERIVED);
    uint16ToByteArray(
        record.data() + MessageBase::MO_MSGSIZE,
        static_cast<uint16_t>(record.size() - MessageBase::MO_MSGID + payload.size()));
    uint16ToByteArray(record.data() + MessageBase::MO_MSGID, static_cast<uint16_t>(id));
    MessageBase::setTimeStamp(record.data(), time);
    return joined({record, payload});
}

inline byteVec_t markedRecord(unsigned id, timeStamp_t time, const byteVec_t& payload = {}) {
    return joined({{0x55, 0xAA}, unmarkedRecord(id, time, payload)});
}

inline byteVec_t record(bool marked, unsigned id, timeStamp_t time, const byteVec_t& payload = {}) {
    return marked ? markedRecord(id, time, payload) : unmarkedRecord(id, time, payload);
}

/// Random numbers that are the same everywhere; those of the standard distributions are not.
class Dice {
public:
    explicit Dice(uint64_t seed) : engine(seed) {}

    uint64_t number() { return engine(); }
    size_t below(size_t limit) { return static_cast<size_t>(engine() % limit); }
    size_t between(size_t least, size_t most) { return least + below(most - least + 1); }
    uint8_t byte() { return static_cast<uint8_t>(engine() >> 56); }
    bool oneIn(size_t count) { return below(count) == 0; }

    byteVec_t bytes(size_t count) {
        byteVec_t result(count);
        for (uint8_t& b : result) {
            b = byte();
        }
        return result;
    }

private:
    std::mt19937_64 engine;
};

/// Identifiers of a trace as it is usual: buses, and now and then the logger itself.
inline unsigned usualId(Dice& dice) {
    constexpr msgid_t IDS[] = {MSGID_CAN,         MSGID_CAN,          MSGID_CAN_EXT,
                               MSGID_LIN,         MSGID_FLEXRAY,      MSGID_ETHERNET_RX,
                               MSGID_ETHERNET_TX, MSGID_SYSTEMMESSAGE};
    return IDS[dice.below(sizeof IDS / sizeof *IDS)];
}

/// A record of a trace and where it stands.
struct Placed {
    uint64_t offset;
    size_t length;
};

struct Trace {
    byteVec_t bytes;
    std::vector<Placed> records;

    void add(const byteVec_t& record) {
        records.push_back({bytes.size(), record.size()});
        bytes.insert(bytes.end(), record.begin(), record.end());
    }
};

/// Records with usual identifiers, increasing times and random payloads of up to `maxPayload`.
inline Trace randomTrace(Dice& dice, bool marked, size_t records, size_t maxPayload,
                         timeStamp_t time = SOME_TIME) {
    Trace trace;
    for (size_t i = 0; i < records; ++i) {
        time += dice.below(2000);
        const unsigned id = usualId(dice);
        trace.add(record(marked, id, time, dice.bytes(dice.below(maxPayload + 1))));
    }
    return trace;
}

/// Two such traces, the second of which begins anywhere within some days of the first.
inline byteVec_t traceWithAStep(Dice& dice, bool marked, size_t records, size_t maxPayload) {
    constexpr size_t THREE_DAYS = 3 * size_t{86400} * 1000;
    const timeStamp_t later = SOME_TIME + timeStamp_t{1000} * dice.below(THREE_DAYS);
    return joined({randomTrace(dice, marked, records, maxPayload).bytes,
                   randomTrace(dice, marked, records, maxPayload, later).bytes});
}

/// Does one kind of damage at one place.
inline void damage(byteVec_t& bytes, Dice& dice) {
    const auto at = [&](size_t index) { return bytes.begin() + static_cast<ptrdiff_t>(index); };
    const size_t begin = dice.below(bytes.size() + 1);
    const size_t end = begin + dice.below(std::min<size_t>(bytes.size() - begin, 80) + 1);
    switch (dice.below(8)) {
        case 0:
            bytes.erase(at(begin), at(end));
            break;
        case 1:
            std::fill(at(begin), at(end), uint8_t{0x00});
            break;
        case 2:
            std::fill(at(begin), at(end), uint8_t{0xFF});
            break;
        case 3: {
            const byteVec_t inserted = dice.bytes(dice.below(40));
            bytes.insert(at(begin), inserted.begin(), inserted.end());
            break;
        }
        case 4: {
            const byteVec_t repeated(at(begin), at(end));
            bytes.insert(at(dice.below(bytes.size() + 1)), repeated.begin(), repeated.end());
            break;
        }
        case 5:
            bytes.insert(at(begin), {0x55, 0xAA});
            break;
        default:
            if (begin < bytes.size()) {
                bytes[begin] = dice.byte();
            }
    }
}
