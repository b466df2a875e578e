#include "cases/decode.h"

#include "cases/bytes.h"
#include "support/PayloadMessage.h"

namespace bench {

namespace {

constexpr timeStamp_t STAMP = 1234567890123456;
constexpr uint16_t RESERVED = 0x0102;

Cycle<Fields> always(uint16_t id, size_t payloadLength) {
    return Cycle<Fields>({{id, RESERVED, STAMP, randomBytes(payloadLength)}});
}

Cycle<Fields> unknownIds(size_t payloadLength) {
    std::vector<Fields> records;
    for (const int id : {0x0077, 0x00ff, 0x0101, 0x0112, 0x1285, 0x2000, 0x3fff, 0x4711, 0x5aa5,
                         0x6b6c, 0x7777, 0x8001, 0x9abc, 0xabcd, 0xfff0, 0xffff}) {
        records.push_back({static_cast<uint16_t>(id), RESERVED, STAMP, randomBytes(payloadLength)});
    }
    return Cycle<Fields>(std::move(records));
}

Cycle<Fields> mixedIds() {
    std::vector<Fields> records;
    for (const msgid_t id : SIMPLE_IDS) {
        records.push_back({id, RESERVED, STAMP, {}});
    }
    return Cycle<Fields>::shuffled(std::move(records));
}

MessageBase* throwingCreator(const uint8_t* /*psrc*/, size_t /*len*/) { throwInvalid(); }

}  // namespace

const std::vector<DecodeCase>& knownCases() {
    static const std::vector<DecodeCase> cases = {
        {"decode, no payload", always(MSGID_STARTUP, 0)},
        {"decode, 8 bytes", always(PayloadMessage::ID, 8)},
        {"decode, 64 bytes", always(PayloadMessage::ID, 64)},
    };
    return cases;
}

const DecodeCase& mixedCase() {
    static const DecodeCase theCase{"decode, ten identifiers mixed", mixedIds()};
    return theCase;
}

const DecodeCase& unknownCase() {
    static const DecodeCase theCase{"unknown identifier, null", unknownIds(0)};
    return theCase;
}

const DecodeCase& invalidCase() {
    static const DecodeCase theCase{"unknown identifier, message", unknownIds(16),
                                    MessageBase::IMH_RETURN_INVALID_MESSAGE};
    return theCase;
}

const DecodeCase& throwingCase() {
    static const DecodeCase theCase{"creator throws", always(THROWING_ID, 0)};
    return theCase;
}

__attribute__((noinline)) void throwInvalid() {
    throw InvalidMessageException(IM_INVALID_LEN, "no signal");
}

void registerCreators() {
    MessageBase::registerMessages();
    MessageBase::registerMessage(PayloadMessage::ID, PayloadMessage::readFromByteArray);
    MessageBase::registerMessage(THROWING_ID, throwingCreator);
}

}  // namespace bench
