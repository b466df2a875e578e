#include "cases/decode.h"
#include "cases/encode.h"
#include "contenders/contenders.h"
#include "contenders/text.h"
#include "libvektrace/SimpleMessage.h"
#include "support/AppendBuffer.h"
#include "support/PayloadMessage.h"

namespace bench {

namespace {

std::unique_ptr<MessageBase> messageOf(const Fields& fields) {
    std::unique_ptr<MessageBase> message;
    if (fields.payload.empty()) {
        message = std::make_unique<SimpleMessage<MSGID_STARTUP>>(fields.stamp);
    } else {
        message = std::make_unique<PayloadMessage>(fields.stamp, fields.payload);
    }
    message->setHeaderReserved(fields.reserved);
    return message;
}

class Encode {
public:
    explicit Encode(const Fields& fields) : message(messageOf(fields)) {}
    void run() {
        buffer.reset();
        message->createByteArray(buffer.get(), false, true);
        benchmark::ClobberMemory();
    }
    std::string outcome() {
        run();
        return buffer.record();
    }

private:
    std::unique_ptr<MessageBase> message;
    AppendBuffer<byteVec_t> buffer;
};

class Decode {
public:
    explicit Decode(const DecodeCase& c) : records(c.records.map(recordOf)) {
        MessageBase::setInvalidMsgHandling(c.policy);
    }
    void run() {
        const byteVec_t& record = records.next();
        MessageBase* message = MessageBase::readFromByteArray(record.data(), record.size());
        benchmark::DoNotOptimize(message);
        delete message;
    }
    std::string outcome() {
        const byteVec_t& record = records.next();
        const std::unique_ptr<MessageBase> message(
            MessageBase::readFromByteArray(record.data(), record.size()));
        return describe(message.get());
    }

private:
    Cycle<byteVec_t> records;
};

struct PrintStamp {
    void operator()(std::ostream& os, timeStamp_t stamp) const {
        MessageBase::printTimestamp(os, stamp);
    }
    std::string operator()(timeStamp_t stamp) const { return MessageBase::printTimestamp(stamp); }
};

struct PrintDump {
    void operator()(std::ostream& os, const byteVec_t& bytes) const {
        MessageBase::dumpData(os, bytes.data(), bytes.size());
    }
};

struct PrintInvalid {
    void operator()(std::ostream& os, const InvalidMessage& message) const { message.print(os); }
    std::string operator()(const InvalidMessage& message) const { return message.toString(); }
};

}  // namespace

void addOurs() {
    constexpr const char* NAME = "ours";
    addEncoder<Encode>(NAME);
    addDecoder<Decode>(NAME);
    addText<PrintStamp, PrintDump, PrintInvalid>(NAME);
}

}  // namespace bench
