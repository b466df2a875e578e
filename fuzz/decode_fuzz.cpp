// Any bytes as a record, under both policies: what readFromByteArray makes of them equals what the
// layout of the header and of the classes says, byte by byte.

#include <memory>
#include <sstream>

#include "examples/ethernet/EthernetMessage.h"
#include "fuzz/support/Script.h"
#include "libvektrace/SimpleMessage.h"

namespace {

constexpr msgid_t HEADER_ONLY[] = {MSGID_STARTUP,
                                   MSGID_DATALOGGINGSTARTED,
                                   MSGID_DATALOGGINGSTOPPED,
                                   MSGID_GETVERSION,
                                   MSGID_GETTIME,
                                   MSGID_TIMEJUMP,
                                   MSGID_START,
                                   MSGID_STOP,
                                   MSGID_TRIGGERCLEAR,
                                   MSGID_CUSTOMER};

void registerAll() {
    MessageBase::registerMessages();
    MessageBase::registerMessage(MSGID_ETHERNET_RX, EthernetMessage::readFromByteArray);
}

/// The record once more, a byte at a time. Bytes that are not there are 0.
struct PlainRecord {
    const uint8_t* data;
    size_t length;

    uint64_t number(size_t at, size_t width) const {
        uint64_t value = 0;
        for (size_t i = at; i < at + width; ++i) {
            value = value * 256 + (i < length ? data[i] : 0);
        }
        return value;
    }
    uint64_t size() const { return number(0, 2); }
    uint64_t id() const { return number(2, 2); }
    uint64_t reserved() const { return number(4, 2); }
    uint64_t time() const { return number(6, 8); }
    byteVec_t from(size_t at, size_t end) const {
        return at < end ? byteVec_t(data + at, data + end) : byteVec_t();
    }
};

// ---- Which records decode ----------------------------------------------------------------------

constexpr int DECODED = 0;
constexpr size_t HEADER = 14;
constexpr size_t ETHERNET_HEADER = 20;

int causeOfEthernet(const PlainRecord& record) {
    const uint64_t end = 2 + record.size();
    if (end < ETHERNET_HEADER || end > record.length) {
        return IM_INVALID_LEN;
    }
    if (record.number(15, 1) > 2) {
        return IM_INVALID_ENUM_VALUE;
    }
    return record.number(16, 4) < end - ETHERNET_HEADER ? int{IM_INVALID_PARAMETER} : DECODED;
}

int causeOf(const PlainRecord& record) {
    if (record.length < 4) {
        return IM_INVALID_LEN;
    }
    if (record.id() == MSGID_ETHERNET_RX) {
        return causeOfEthernet(record);
    }
    if (std::find(std::begin(HEADER_ONLY), std::end(HEADER_ONLY), record.id()) ==
        std::end(HEADER_ONLY)) {
        return IM_INVALID_MSGID;
    }
    return record.length < HEADER || record.size() != 12 ? int{IM_INVALID_LEN} : DECODED;
}

// ---- What becomes of them ----------------------------------------------------------------------

std::string printed(const MessageBase& message) {
    static std::ostringstream os;
    os.str({});
    message.print(os);
    return os.str();
}

byteVec_t encoded(const MessageBase& message, bool sync, size_t expectedResult) {
    byteVec_t record;
    require(message.createByteArray(record, sync, false) == expectedResult,
            "encoding returns the number of bytes");
    return record;
}

void requireHeader(const MessageBase& message, const PlainRecord& record) {
    require(message.getMessageId() == record.id(), "the identifier is that of the record");
    require(message.getHeaderReserved() == record.reserved(), "so is the reserved word");
    require(message.getTimeStamp() == record.time(), "so is the time");
}

void requirePayload(const EthernetMessage& message, const PlainRecord& record) {
    require(message.getChannel() == record.number(14, 1), "the channel is that of the record");
    require(message.getDirection() == static_cast<int>(record.number(15, 1)),
            "so is the direction");
    require(message.getOriginalLength() == record.number(16, 4), "so is the original length");
    require(
        message.getFrame() == record.from(ETHERNET_HEADER, static_cast<size_t>(2 + record.size())),
        "so is the frame");
}

void requireEqualClone(const MessageBase& message) {
    const std::unique_ptr<MessageBase> clone(message.clone());
    require(*clone == message && message == *clone && !(*clone != message), "a clone is equal");
    const std::string text = printed(message);
    require(printed(*clone) == text, "a clone has the same text");
    require(message.toString() == text, "both forms of text are the same");
}

/// The message gives back the bytes that it was made of, and these give an equal message.
void requireRoundTrip(const MessageBase& message, const PlainRecord& record) {
    const auto end = static_cast<size_t>(2 + record.size());
    const byteVec_t same = record.from(0, end);
    require(encoded(message, false, end) == same, "encoding gives back what was decoded");
    byteVec_t marked = same;
    marked.insert(marked.begin(), {0x55, 0xAA});
    require(encoded(message, true, end + 2) == marked, "a marker stands in front when asked for");
    const std::unique_ptr<MessageBase> again(
        MessageBase::readFromByteArray(same.data(), same.size()));
    require(again && *again == message, "decoding gives back what was encoded");
}

void requireDecoded(const MessageBase* message, const PlainRecord& record) {
    require(message != nullptr, "a good record is decoded");
    requireHeader(*message, record);
    if (record.id() == MSGID_ETHERNET_RX) {
        const auto* const ethernet = dynamic_cast<const EthernetMessage*>(message);
        require(ethernet != nullptr, "the creator is that of the identifier");
        requirePayload(*ethernet, record);
    }
    requireEqualClone(*message);
    requireRoundTrip(*message, record);
}

/// A header with the message's own identifier, and 0 for the payload and two bytes more.
void requireEncodingOf(const InvalidMessage& message) {
    const size_t size = message.getRawData().size() + HEADER;
    byteVec_t expected = {
        static_cast<uint8_t>(size >> 8), static_cast<uint8_t>(size), 0xFF, 0xFF, 0, 0};
    for (unsigned shift = 64; shift > 0; shift -= 8) {
        expected.push_back(static_cast<uint8_t>(message.getTimeStamp() >> (shift - 8)));
    }
    expected.resize(2 + size);
    const MessageBase& base = message;
    require(encoded(base, false, size) == expected, "an invalid message encodes its header");
    const std::unique_ptr<MessageBase> withBytes(message.clone());
    withBytes->rawData = message.getRawData();
    std::copy(withBytes->rawData.begin(), withBytes->rawData.end(),
              expected.begin() + static_cast<ptrdiff_t>(HEADER));
    require(encoded(*withBytes, false, size) == expected, "and raw data behind it");
    expected.insert(expected.begin(), {0x55, 0xAA});
    require(encoded(*withBytes, true, size) == expected, "and a marker in front of it");
}

void requireInvalid(const MessageBase* message, const PlainRecord& record, int cause) {
    const auto* const invalid = dynamic_cast<const InvalidMessage*>(message);
    require(invalid != nullptr, "an invalid message stands for a bad record");
    require(invalid->getCause() == cause, "it tells the cause");
    require(invalid->getMessageId() == MSGID_INVALID, "its own identifier says that it is invalid");
    require(invalid->getOriginalMsgId() == record.id(), "it keeps the record's identifier");
    require(invalid->getTimeStamp() == record.time(), "and its time");
    require(invalid->getRawData() == record.from(HEADER, record.length), "and its payload");
    require(!invalid->isOverflow(), "all of it");
    const bool isEnum = cause == IM_INVALID_ENUM_VALUE;
    require(invalid->getInvalidEnumValue() == (isEnum ? record.number(15, 1) : 0),
            "the value outside its enumeration is told");
    const std::unique_ptr<InvalidMessage> clone(invalid->clone());
    const std::string text = printed(*invalid);
    require(printed(*clone) == text && invalid->toString() == text && clone->toString() == text,
            "a clone has the same text");
    require(*clone != *invalid, "an invalid message is equal to nothing");
    requireEncodingOf(*invalid);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool registered = (registerAll(), true);
    static_cast<void>(registered);
    const PlainRecord record = {data, size};
    const int cause = causeOf(record);

    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_NULL);
    const std::unique_ptr<MessageBase> orNull(MessageBase::readFromByteArray(data, size));
    require((orNull == nullptr) == (cause != DECODED), "null stands for bad records and no others");

    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    const std::unique_ptr<MessageBase> message(MessageBase::readFromByteArray(data, size));
    if (cause == DECODED) {
        require(*orNull == *message, "the policy has no part in what a good record gives");
        requireDecoded(message.get(), record);
    } else {
        requireInvalid(message.get(), record, cause);
    }
    return 0;
}
