/// @file
/// A concrete message class for the tests: a payload of plain bytes behind the header.
#pragma once

#include <algorithm>
#include <ostream>
#include <utility>

#include "libvektrace/MessageBase.h"

class TestMessage : public MessageBase {
public:
    explicit TestMessage(msgid_t id = MSGID_START, timeStamp_t stamp = 0, byteVec_t _payload = {})
        : MessageBase(id, stamp), payload(std::move(_payload)) {}

    TestMessage* clone() const override { return new TestMessage(*this); }

    size_t writeToByteArray(uint8_t*& pdest, size_t buflen, bool sync) const override {
        const size_t written = MessageBase::writeToByteArray(pdest, buflen, sync);
        if (written == 0) {
            return 0;
        }
        pdest = std::copy(payload.begin(), payload.end(), pdest);
        return written + payload.size();
    }

    size_t getSize() const override { return MessageBase::getSize() + payload.size(); }

    bool operator==(const MessageBase& other) const override {
        const auto* message = dynamic_cast<const TestMessage*>(&other);
        return message != nullptr && message->msgid == msgid && message->payload == payload;
    }

    std::ostream& print(std::ostream& os) const override {
        return os << static_cast<const MessageBase&>(*this) << "  Test";
    }

    /// Creator for any identifier; takes what lies behind the header as the payload.
    static MessageBase* readFromByteArray(const uint8_t* data, size_t len) {
        if (len < MO_BASE_DERIVED) {
            throw InvalidMessageException(IM_INVALID_LEN, "shorter than a header");
        }
        auto* message = new TestMessage(getMessageId(data), MessageBase::getTimeStamp(data),
                                        byteVec_t(data + MO_BASE_DERIVED, data + len));
        message->setHeaderReserved(byteArrayToUint16(data + MO_HDRRESERVED));
        return message;
    }

    using MessageBase::getMessageId;
    using MessageBase::getTimeStamp;
    using MessageBase::reportInvalidVersion;
    using MessageBase::version;

    // Where the protected fields lie, for the tests of their order.
    const void* addressOfMsgid() const { return &msgid; }
    const void* addressOfHeaderReserved() const { return &headerReserved; }
    const void* addressOfTimeStamp() const { return &timeStamp; }
    const void* addressOfSourceChannelIDMbnr() const { return &sourceChannelIDMbnr; }

    byteVec_t payload;
};

/// Answers any size and writes nothing but what the base writes.
class SizedMessage : public TestMessage {
public:
    explicit SizedMessage(size_t _size)
        : TestMessage(MSGID_START, 0x0102030405060708), size(_size) {}
    size_t getSize() const override { return size; }

private:
    size_t size;
};
