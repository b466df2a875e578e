/// @file
/// The least that encoding and decoding can cost: written by hand for the case, into memory that is
/// there already, without checks, registry or virtual calls.

#include <cstring>

#include "cases/decode.h"
#include "cases/encode.h"
#include "contenders/bound.h"
#include "contenders/contenders.h"
#include "libvektrace/SimpleMessage.h"
#include "support/AppendBuffer.h"
#include "support/PayloadMessage.h"

namespace bench {

namespace {

/// What the size field counts of the header.
constexpr size_t HEADER_SIZE = MessageBase::MO_BASE_DERIVED - MessageBase::MO_MSGID;

class Encode {
public:
    explicit Encode(const Fields& _fields)
        : id(_fields.id),
          reserved(_fields.reserved),
          stamp(_fields.stamp),
          payload(_fields.payload) {
        const size_t begin = buffer.get().size();
        buffer.get().resize(begin + MessageBase::MO_BASE_DERIVED + payload.size());
        record = buffer.get().data() + begin;
    }
    void run() {
        uint16ToByteArray(record + MessageBase::MO_MSGSIZE,
                          static_cast<uint16_t>(HEADER_SIZE + payload.size()));
        uint16ToByteArray(record + MessageBase::MO_MSGID, id);
        uint16ToByteArray(record + MessageBase::MO_HDRRESERVED, reserved);
        uint64ToByteArray(record + MessageBase::MO_TIMESTAMP, stamp);
        if (!payload.empty()) {
            std::memcpy(record + MessageBase::MO_BASE_DERIVED, payload.data(), payload.size());
        }
        benchmark::ClobberMemory();
    }
    std::string outcome() {
        run();
        return buffer.record();
    }

private:
    uint16_t id;
    uint16_t reserved;
    timeStamp_t stamp;
    byteVec_t payload;
    AppendBuffer<byteVec_t> buffer;
    uint8_t* record;
};

template <msgid_t id>
MessageBase* newSimple(const uint8_t* record) {
    auto* message = new SimpleMessage<id>(MessageBase::getTimeStamp(record));
    message->setHeaderReserved(byteArrayToUint16(record + MessageBase::MO_HDRRESERVED));
    return message;
}

MessageBase* newPayload(const uint8_t* record, size_t length) {
    auto* message =
        new PayloadMessage(MessageBase::getTimeStamp(record),
                           byteVec_t(record + MessageBase::MO_BASE_DERIVED, record + length));
    message->setHeaderReserved(byteArrayToUint16(record + MessageBase::MO_HDRRESERVED));
    return message;
}

MessageBase* decode(const uint8_t* record, size_t length) {
    switch (MessageBase::getMessageId(record)) {
        case MSGID_STARTUP:
            return newSimple<MSGID_STARTUP>(record);
        case MSGID_DATALOGGINGSTARTED:
            return newSimple<MSGID_DATALOGGINGSTARTED>(record);
        case MSGID_DATALOGGINGSTOPPED:
            return newSimple<MSGID_DATALOGGINGSTOPPED>(record);
        case MSGID_GETVERSION:
            return newSimple<MSGID_GETVERSION>(record);
        case MSGID_GETTIME:
            return newSimple<MSGID_GETTIME>(record);
        case MSGID_TIMEJUMP:
            return newSimple<MSGID_TIMEJUMP>(record);
        case MSGID_START:
            return newSimple<MSGID_START>(record);
        case MSGID_STOP:
            return newSimple<MSGID_STOP>(record);
        case MSGID_TRIGGERCLEAR:
            return newSimple<MSGID_TRIGGERCLEAR>(record);
        case MSGID_CUSTOMER:
            return newSimple<MSGID_CUSTOMER>(record);
        case PayloadMessage::ID:
            return newPayload(record, length);
        default:
            return nullptr;
    }
}

/// `DecodeRecord` is a function object that makes a message of a record, or null.
template <class DecodeRecord>
class Decode {
public:
    explicit Decode(const DecodeCase& c) : records(c.records.map(recordOf)) {}
    void run() {
        MessageBase* message = decodeRecord(records.next());
        benchmark::DoNotOptimize(message);
        delete message;
    }
    std::string outcome() {
        const std::unique_ptr<MessageBase> message(decodeRecord(records.next()));
        return describe(message.get());
    }

private:
    Cycle<byteVec_t> records;
    DecodeRecord decodeRecord;
};

struct BySwitch {
    MessageBase* operator()(const byteVec_t& record) const {
        return decode(record.data(), record.size());
    }
};

/// A lookup in a hash map, which misses.
struct ByLookup {
    MessageBase* operator()(const byteVec_t& record) const {
        const auto creator = creators.find(MessageBase::getMessageId(record));
        return creator == creators.end() ? nullptr : creator->second(record.data(), record.size());
    }
    MessageBase::creators_t creators = MessageBase::creators;
};

struct ToInvalid {
    MessageBase* operator()(const byteVec_t& record) const {
        auto* message = new InvalidMessage(record.data(), record.size());
        message->setCause(IM_INVALID_MSGID);
        return message;
    }
};

struct ByThrow {
    MessageBase* operator()(const byteVec_t& /*record*/) const {
        try {
            throwInvalid();
        } catch (const InvalidMessageException&) {
            return nullptr;
        }
    }
};

}  // namespace

void addBoundForBytes(const char* name) {
    addEncoder<Encode>(name);
    for (const DecodeCase& c : knownCases()) {
        add<Decode<BySwitch>>(c.name, name, c);
    }
    add<Decode<BySwitch>>(mixedCase().name, name, mixedCase());
    add<Decode<ByLookup>>(unknownCase().name, name, unknownCase());
    add<Decode<ToInvalid>>(invalidCase().name, name, invalidCase());
    add<Decode<ByThrow>>(throwingCase().name, name, throwingCase());
}

}  // namespace bench
