/// @file
/// A message class as a user of the library derives it: plain bytes behind the header.
#pragma once

#include <algorithm>
#include <utility>

#include "libvektrace/MessageBase.h"

namespace bench {

class PayloadMessage : public MessageBase {
public:
    static constexpr msgid_t ID = MSGID_CAN;

    PayloadMessage(timeStamp_t stamp, byteVec_t _payload)
        : MessageBase(ID, stamp), payload(std::move(_payload)) {}

    PayloadMessage* clone() const override { return new PayloadMessage(*this); }

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
        const auto* message = dynamic_cast<const PayloadMessage*>(&other);
        return message != nullptr && message->payload == payload;
    }

    std::ostream& print(std::ostream& os) const override {
        return os << static_cast<const MessageBase&>(*this);
    }

    /// The creator. The record's own length decides how long the payload is.
    static MessageBase* readFromByteArray(const uint8_t* data, size_t len) {
        if (len < MO_BASE_DERIVED || size_t{getMessageSize(data)} + MO_MSGID != len) {
            throw InvalidMessageException(IM_INVALID_LEN, "payload");
        }
        auto* message = new PayloadMessage(MessageBase::getTimeStamp(data),
                                           byteVec_t(data + MO_BASE_DERIVED, data + len));
        message->setHeaderReserved(byteArrayToUint16(data + MO_HDRRESERVED));
        return message;
    }

    byteVec_t payload;
};

}  // namespace bench
