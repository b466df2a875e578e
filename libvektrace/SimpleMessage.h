/// @file
/// Messages that consist of the common header only.
#pragma once

#include <ostream>
#include <string>

#include "libvektrace/MessageBase.h"

/// The message of type `_msgid` without a payload. The library names ten of these types (see
/// below); whoever uses another one defines its messageName, in one unit of the program:
///
///     template <>
///     const char SimpleMessage<MSGID_PING>::messageName[] = "PING";
///
/// and, where other units use it too, declares it in their header, like the ten below. A use
/// without a definition does not link.
template <msgid_t _msgid>
class VEK_EXPORT SimpleMessage : public MessageBase {
public:
    /// What print writes behind the common text.
    static const char messageName[];

    /// A message of this type with the reserved word 0.
    explicit SimpleMessage(timeStamp_t _timeStamp) : MessageBase(_msgid, _timeStamp) {}

    /// The creator of this type; restores reserved word and timestamp. Throws IM_INVALID_LEN for
    /// fewer than 14 bytes and for a size field other than 12: bytes behind the header would get
    /// lost silently. The record's identifier is not looked at.
    static MessageBase* readFromByteArray(const uint8_t* data, size_t len) {
        constexpr uint16_t HEADER_SIZE = MO_BASE_DERIVED - MO_MSGID;
        if (len < MO_BASE_DERIVED || getMessageSize(data) != HEADER_SIZE) {
            throw InvalidMessageException(IM_INVALID_LEN, messageName);
        }
        auto* message = new SimpleMessage(MessageBase::getTimeStamp(data));
        message->headerReserved = byteArrayToUint16(data + MO_HDRRESERVED);
        return message;
    }

    SimpleMessage* clone() const override { return new SimpleMessage(*this); }

    /// Equal when identifier, reserved word and timestamp are, whatever the class of `other`.
    bool operator==(const MessageBase& other) const override {
        return other.getMessageId() == msgid && other.getHeaderReserved() == headerReserved &&
               other.getTimeStamp() == timeStamp;
    }

    /// Writes the common text, two blanks and messageName.
    std::ostream& print(std::ostream& os) const override {
        return os << static_cast<const MessageBase&>(*this) << "  " << messageName;
    }
    std::string toString() const override { return MessageBase::toString() + "  " + messageName; }
};

// The names that the library defines. Doxygen takes them for functions.
/// @cond
template <>
VEK_EXPORT const char SimpleMessage<MSGID_STARTUP>::messageName[15];
template <>
VEK_EXPORT const char SimpleMessage<MSGID_DATALOGGINGSTARTED>::messageName[28];
template <>
VEK_EXPORT const char SimpleMessage<MSGID_DATALOGGINGSTOPPED>::messageName[28];
template <>
VEK_EXPORT const char SimpleMessage<MSGID_GETVERSION>::messageName[12];
template <>
VEK_EXPORT const char SimpleMessage<MSGID_GETTIME>::messageName[9];
template <>
VEK_EXPORT const char SimpleMessage<MSGID_TIMEJUMP>::messageName[10];
template <>
VEK_EXPORT const char SimpleMessage<MSGID_START>::messageName[6];
template <>
VEK_EXPORT const char SimpleMessage<MSGID_STOP>::messageName[5];
template <>
VEK_EXPORT const char SimpleMessage<MSGID_TRIGGERCLEAR>::messageName[14];
template <>
VEK_EXPORT const char SimpleMessage<MSGID_CUSTOMER>::messageName[18];
/// @endcond
