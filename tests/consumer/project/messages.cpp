// Has a message class of its own and sends it all the way: object, bytes, object, text.
#include <memory>
#include <sstream>

#include "check.h"
#include "libvektrace/SimpleMessage.h"

namespace {

/// A temperature in whole degrees.
class TemperatureMessage : public MessageBase {
public:
    explicit TemperatureMessage(timeStamp_t stamp) : MessageBase(MSGID_TEMPERATURE, stamp) {}

    static MessageBase* readFromByteArray(const uint8_t* record, size_t len) {
        if (len < MO_BASE_DERIVED + PAYLOAD_LENGTH) {
            throw InvalidMessageException(IM_INVALID_LEN, "temperature");
        }
        const uint16_t degrees = byteArrayToUint16(record + MO_BASE_DERIVED);
        if (degrees > MAX_DEGREES) {
            throw InvalidMessageException(IM_INVALID_ENUM_VALUE, "degrees", degrees);
        }
        auto* message = new TemperatureMessage(MessageBase::getTimeStamp(record));
        message->degrees = degrees;
        return message;
    }

    TemperatureMessage* clone() const override { return new TemperatureMessage(*this); }
    size_t getSize() const override { return MessageBase::getSize() + PAYLOAD_LENGTH; }
    size_t writeToByteArray(uint8_t*& pdest, size_t buflen, bool sync) const override {
        const size_t header = MessageBase::writeToByteArray(pdest, buflen, sync);
        if (header == 0) {
            return 0;
        }
        uint16ToByteArray(pdest, degrees);
        pdest += PAYLOAD_LENGTH;
        return header + PAYLOAD_LENGTH;
    }
    bool operator==(const MessageBase& other) const override {
        const auto* same = dynamic_cast<const TemperatureMessage*>(&other);
        return same != nullptr && same->timeStamp == timeStamp && same->degrees == degrees;
    }
    std::ostream& print(std::ostream& os) const override {
        return os << static_cast<const MessageBase&>(*this) << "  " << degrees << " degrees";
    }

    uint16_t degrees = 0;

private:
    static constexpr size_t PAYLOAD_LENGTH = 2;
    static constexpr uint16_t MAX_DEGREES = 200;
};

constexpr timeStamp_t STAMP = 1234567890123456;

std::unique_ptr<MessageBase> decode(const byteVec_t& record) {
    return std::unique_ptr<MessageBase>(
        MessageBase::readFromByteArray(record.data(), record.size()));
}

std::string textOf(const MessageBase& message) {
    std::ostringstream os;
    message.print(os);
    return os.str();
}

byteVec_t aMessageIsEncoded() {
    TemperatureMessage message(STAMP);
    message.degrees = 37;
    byteVec_t record;
    CHECK_EQUAL(message.createByteArray(record, false, false), 16U);
    CHECK_EQUAL(record, (byteVec_t{0, 14, 0, 0x87, 0, 0, 0, 0x04, 0x62, 0xd5, 0x3c, 0x8a, 0xba,
                                   0xc0, 0, 37}));
    return record;
}

void bytesAreDecodedByTheRegisteredCreator(const byteVec_t& record) {
    CHECK_EQUAL(decode(record), nullptr);
    CHECK_EQUAL(
        MessageBase::registerMessage(MSGID_TEMPERATURE, TemperatureMessage::readFromByteArray),
        true);
    const auto message = decode(record);
    CHECK_EQUAL(dynamic_cast<const TemperatureMessage*>(message.get()) != nullptr, true);
    CHECK_EQUAL(*message, *std::unique_ptr<MessageBase>(message->clone()));
    message->source = "ECU 7";
    CHECK_EQUAL(textOf(*message), "ECU 7: 2009-02-13 23:31:30.123456  37 degrees");
    CHECK_EQUAL(message->toString(), "ECU 7: 2009-02-13 23:31:30.123456");
}

void badBytesFollowThePolicy(byteVec_t record) {
    record.back() = 201;
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_NULL);
    CHECK_EQUAL(decode(record), nullptr);
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    const auto message = decode(record);
    const auto* invalid = dynamic_cast<const InvalidMessage*>(message.get());
    CHECK_EQUAL(invalid != nullptr, true);
    CHECK_EQUAL(invalid->getOriginalMsgId(), MSGID_TEMPERATURE);
    CHECK_EQUAL(invalid->toString(),
                "2009-02-13 23:31:30.123456  Invalid Message: Id=0x87"
                ", Invalid enum value 'degrees'=0xc9, n=2 00 c9");
}

void theLibrarysOwnMessagesAreThere() {
    MessageBase::registerMessages();
    byteVec_t record;
    SimpleMessage<MSGID_START>(STAMP).createByteArray(record, false, false);
    CHECK_EQUAL(textOf(*decode(record)), "2009-02-13 23:31:30.123456  START");
}

}  // namespace

int main() {
    const byteVec_t record = aMessageIsEncoded();
    bytesAreDecodedByTheRegisteredCreator(record);
    badBytesFollowThePolicy(record);
    theLibrarysOwnMessagesAreThere();
    return consumer::result();
}
