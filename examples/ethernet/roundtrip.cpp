/// @file
/// Proves what EthernetMessage promises: decoding what was encoded gives an equal message, and bad
/// bytes are refused with the right cause. Says nothing when all of it holds.

#include <cstdio>
#include <functional>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "examples/ethernet/EthernetMessage.h"
#include "libvekutil/datablock.h"

namespace {

int failures = 0;

void check(bool holds, const char* what) {
    if (!holds) {
        std::cerr << "does not hold: " << what << '\n';
        ++failures;
    }
}

EthernetMessage makeMessage(size_t frameLength = 64) {
    EthernetMessage message(1'700'000'000'123'456, 7, MessageBase::PORT_DIR_OUT, 0x12345678,
                            byteVec_t(frameLength, 0xA5));
    message.setHeaderReserved(0xBEEF);
    return message;
}

byteVec_t encode(const MessageBase& message) {
    byteVec_t record;
    message.createByteArray(record, false, false);
    return record;
}

std::unique_ptr<MessageBase> decode(const byteVec_t& record) {
    return std::unique_ptr<MessageBase>(
        MessageBase::readFromByteArray(record.data(), record.size()));
}

void checkRoundTrip() {
    for (const size_t length :
         {size_t{0}, size_t{13}, size_t{64}, EthernetMessage::MAX_FRAME_LENGTH}) {
        const EthernetMessage message = makeMessage(length);
        const byteVec_t record = encode(message);
        const auto decoded = decode(record);
        check(decoded && *decoded == message, "decoding gives back what was encoded");
        check(decoded && encode(*decoded) == record, "encoding gives back what was decoded");
        check(record.size() == MessageBase::MO_MSGID + message.getSize(), "the size is the length");
    }
}

void checkBytes() {
    const byteVec_t expected = {0x00, 0x14, 0x00, 0x04, 0xBE, 0xEF, 0x00, 0x06, 0x0A, 0x24, 0x18,
                                0x20, 0x22, 0x40, 0x07, 0x02, 0x12, 0x34, 0x56, 0x78, 0xA5, 0xA5};
    check(encode(makeMessage(2)) == expected, "the layout is the one in the header's picture");
}

void checkRoom(bool sync) {
    const EthernetMessage message = makeMessage();
    const size_t length = MessageBase::MO_MSGID + message.getSize() + (sync ? 2 : 0);
    byteVec_t buffer(length, 0xEE);
    const byteVec_t untouched = buffer;
    uint8_t* pdest = buffer.data();
    check(message.writeToByteArray(pdest, length - 1, sync) == 0 && pdest == buffer.data() &&
              buffer == untouched,
          "one byte too few: nothing is written");
    check(
        message.writeToByteArray(pdest, length, sync) == length && pdest == buffer.data() + length,
        "exactly enough room: all of it is written");
}

/// What the creator throws for a good record of `length` bytes after `spoil` changed it.
int causeOf(size_t length, const std::function<void(byteVec_t&)>& spoil) {
    byteVec_t record = encode(makeMessage());
    spoil(record);
    try {
        delete EthernetMessage::readFromByteArray(record.data(), length);
    } catch (const InvalidMessageException& e) {
        return e.getCause();
    }
    return 0;
}

void checkCauses() {
    const size_t length = encode(makeMessage()).size();
    const auto nothing = [](byteVec_t&) {};
    const auto size = [](uint16_t value) {
        return [value](byteVec_t& record) { uint16ToByteArray(record.data(), value); };
    };
    const auto direction = [](byteVec_t& record) { record[EthernetMessage::MO_DIRECTION] = 3; };
    const auto original = [](byteVec_t& record) {
        record[EthernetMessage::MO_ORIGINAL_LENGTH] = 0;
        record[EthernetMessage::MO_ORIGINAL_LENGTH + 1] = 0;
        uint16ToByteArray(&record[EthernetMessage::MO_ORIGINAL_LENGTH + 2], 63);
    };
    check(causeOf(length, nothing) == 0, "a good record is decoded");
    check(causeOf(length - 1, nothing) == IM_INVALID_LEN, "a cut record is refused");
    check(causeOf(EthernetMessage::MO_FRAME - 1, nothing) == IM_INVALID_LEN, "so is a short one");
    check(causeOf(length, size(17)) == IM_INVALID_LEN, "so is a size without room for the fields");
    check(causeOf(length, size(18)) == 0, "bytes behind the record are no concern");
    check(causeOf(length, direction) == IM_INVALID_ENUM_VALUE, "so is an unknown direction");
    check(causeOf(length, original) == IM_INVALID_PARAMETER, "so is more than the whole frame");
}

void checkInvalidMessage() {
    byteVec_t record = encode(makeMessage());
    record[EthernetMessage::MO_DIRECTION] = 0x7F;
    check(!decode(record), "null stands for an undecodable record");
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    const auto decoded = decode(record);
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_NULL);
    const auto* const invalid = dynamic_cast<const InvalidMessage*>(decoded.get());
    check(invalid && invalid->getInvalidEnumValue() == 0x7F &&
              invalid->getInvalidEnumDescription() == "port direction",
          "an InvalidMessage stands for it and says why");
}

bool isRefused(MessageBase::portDirection_t direction, uint32_t originalLength, size_t length) {
    try {
        const EthernetMessage message(0, 0, direction, originalLength, byteVec_t(length));
        return false;
    } catch (const std::invalid_argument&) {
        return true;
    }
}

void checkConstruction() {
    constexpr auto IN = MessageBase::PORT_DIR_IN;
    constexpr size_t MAX = EthernetMessage::MAX_FRAME_LENGTH;
    check(!isRefused(IN, MAX, MAX), "the longest frame fits");
    check(isRefused(IN, MAX + 1, MAX + 1), "a longer one does not");
    check(isRefused(IN, 63, 64), "no frame was shorter than what was captured of it");
    check(isRefused(MessageBase::PORT_DIR_NUM, 64, 64), "the number of directions is none");
}

void checkComparing() {
    const EthernetMessage message = makeMessage();
    const std::unique_ptr<MessageBase> copy(message.clone());
    check(*copy == message && message == *copy && !(*copy != message), "a clone is equal");
    check(message == makeMessage() && !(message != makeMessage()), "so are two of the class");
    check(message != makeMessage(63), "another frame makes another message");
    copy->cascadeChannel(1);
    check(*copy != message, "another channel makes another message");
    const InvalidMessage invalid(nullptr, 0);
    check(message != invalid && invalid != message, "another class is never equal");
}

void checkChannel() {
    EthernetMessage message = makeMessage();
    message.setSourceChannelIDMbnr(0x01020304);
    check(message.getSourceChannel() == "ETHERNET 7", "the source channel has a name");
    check(message.getSourceChannelID() == 0x060701020304, "and an ID");
    message.cascadeChannel(256 + 2);
    check(message.getChannel() == 9, "cascading shifts the channel, modulo 256");
}

void checkText() {
    const std::string expected =
        "logger: 2023-11-14 22:13:20.123456  ETHERNET 7 Out a5:a5:a5:a5:a5:a5 > a5:a5:a5:a5:a5:a5 "
        "0xa5a5, 64 of 305419896 bytes";
    EthernetMessage message = makeMessage();
    message.source = "logger";
    std::ostringstream os;
    os << std::hex << std::showbase << std::uppercase << std::setfill('*') << std::setw(20);
    message.print(os);
    check(os.str() == expected, "the text does not depend on the stream's settings");
    check(message.toString() == expected, "both text forms are the same");
}

}  // namespace

int main() {
    MessageBase::registerMessage(MSGID_ETHERNET_RX, EthernetMessage::readFromByteArray);
    checkRoundTrip();
    checkBytes();
    checkRoom(false);
    checkRoom(true);
    checkCauses();
    checkInvalidMessage();
    checkConstruction();
    checkComparing();
    checkChannel();
    checkText();
    return failures == 0 ? 0 : 1;
}
