/// @file
/// The slowest and clearest way: one byte or one stream insertion after the other.

#include "PlainText.h"  // the twin that the library's tests compare with

#include <map>
#include <sstream>

#include "cases/decode.h"
#include "cases/encode.h"
#include "contenders/contenders.h"
#include "contenders/text.h"
#include "libvektrace/SimpleMessage.h"
#include "support/AppendBuffer.h"
#include "support/PayloadMessage.h"

namespace bench {

namespace {

class Encode {
public:
    explicit Encode(const Fields& _fields) : fields(&_fields) {}
    void run() {
        buffer.reset();
        benchmark::DoNotOptimize(fields);
        putNumber(12 + fields->payload.size(), 2);
        putNumber(fields->id, 2);
        putNumber(fields->reserved, 2);
        putNumber(fields->stamp, 8);
        for (const uint8_t byte : fields->payload) {
            buffer.get().push_back(byte);
        }
        benchmark::ClobberMemory();
    }
    std::string outcome() {
        run();
        return buffer.record();
    }

private:
    void putNumber(uint64_t number, unsigned count) {
        while (count-- > 0) {
            buffer.get().push_back(static_cast<uint8_t>(number >> 8 * count));
        }
    }

    const Fields* fields;
    AppendBuffer<byteVec_t> buffer;
};

uint64_t readNumber(const uint8_t* bytes, unsigned count) {
    uint64_t number = 0;
    while (count-- > 0) {
        number = number << 8 | *bytes++;
    }
    return number;
}

template <msgid_t id>
MessageBase* createSimple(const uint8_t* record, size_t length) {
    if (length < 14 || readNumber(record, 2) != 12) {
        throw InvalidMessageException(IM_INVALID_LEN, SimpleMessage<id>::messageName);
    }
    auto* message = new SimpleMessage<id>(readNumber(record + 6, 8));
    message->setHeaderReserved(static_cast<uint16_t>(readNumber(record + 4, 2)));
    return message;
}

MessageBase* createPayload(const uint8_t* record, size_t length) {
    if (length < 14 || readNumber(record, 2) + 2 != length) {
        throw InvalidMessageException(IM_INVALID_LEN, "payload");
    }
    byteVec_t payload;
    for (size_t i = 14; i != length; ++i) {
        payload.push_back(record[i]);
    }
    auto* message = new PayloadMessage(readNumber(record + 6, 8), payload);
    message->setHeaderReserved(static_cast<uint16_t>(readNumber(record + 4, 2)));
    return message;
}

MessageBase* createThrowing(const uint8_t* /*record*/, size_t /*length*/) { throwInvalid(); }

const std::map<uint64_t, pCreatorFunction>& creators() {
    static const std::map<uint64_t, pCreatorFunction> all = {
        {MSGID_STARTUP, createSimple<MSGID_STARTUP>},
        {MSGID_DATALOGGINGSTARTED, createSimple<MSGID_DATALOGGINGSTARTED>},
        {MSGID_DATALOGGINGSTOPPED, createSimple<MSGID_DATALOGGINGSTOPPED>},
        {MSGID_GETVERSION, createSimple<MSGID_GETVERSION>},
        {MSGID_GETTIME, createSimple<MSGID_GETTIME>},
        {MSGID_TIMEJUMP, createSimple<MSGID_TIMEJUMP>},
        {MSGID_START, createSimple<MSGID_START>},
        {MSGID_STOP, createSimple<MSGID_STOP>},
        {MSGID_TRIGGERCLEAR, createSimple<MSGID_TRIGGERCLEAR>},
        {MSGID_CUSTOMER, createSimple<MSGID_CUSTOMER>},
        {PayloadMessage::ID, createPayload},
        {THROWING_ID, createThrowing},
    };
    return all;
}

/// An unknown identifier takes the same way out as every other fault.
MessageBase* create(const uint8_t* record, size_t length) {
    const auto creator = creators().find(readNumber(record + 2, 2));
    if (creator == creators().end()) {
        throw InvalidMessageException(IM_INVALID_MSGID, "no creator");
    }
    return creator->second(record, length);
}

class Decode {
public:
    explicit Decode(const DecodeCase& c) : records(c.records.map(recordOf)), policy(c.policy) {}
    void run() {
        MessageBase* message = decodeNext();
        benchmark::DoNotOptimize(message);
        delete message;
    }
    std::string outcome() {
        const std::unique_ptr<MessageBase> message(decodeNext());
        return describe(message.get());
    }

private:
    MessageBase* decodeNext() {
        const byteVec_t& record = records.next();
        try {
            return create(record.data(), record.size());
        } catch (const InvalidMessageException& e) {
            if (policy == MessageBase::IMH_RETURN_NULL) {
                return nullptr;
            }
            auto* message = new InvalidMessage(record.data(), record.size());
            message->setCause(e.getCause());
            return message;
        }
    }

    Cycle<byteVec_t> records;
    MessageBase::invalidMsgHandling_t policy;
};

struct PrintStamp {
    void operator()(std::ostream& os, timeStamp_t stamp) const {
        plain::timestamp(os, stamp, true, 6);
    }
    std::string operator()(timeStamp_t stamp) const {
        std::ostringstream os;
        plain::timestamp(os, stamp, true, 6);
        return os.str();
    }
};

struct PrintDump {
    void operator()(std::ostream& os, const byteVec_t& bytes) const {
        plain::dump(os, bytes.begin(), bytes.end());
    }
};

struct PrintInvalid {
    void operator()(std::ostream& os, const InvalidMessage& message) const {
        plain::invalidMessage(os, message);
    }
    std::string operator()(const InvalidMessage& message) const {
        std::ostringstream os;
        plain::invalidMessage(os, message);
        return os.str();
    }
};

}  // namespace

void addPlain() {
    constexpr const char* NAME = "plain";
    addEncoder<Encode>(NAME);
    addDecoder<Decode>(NAME);
    addText<PrintStamp, PrintDump, PrintInvalid>(NAME);
}

}  // namespace bench
