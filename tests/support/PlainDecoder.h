/// @file
/// Decoding once more, byte by byte: what any record becomes when the ten header-only types and the
/// example's Ethernet class are registered. Text and bytes come with it, so that a decoded message
/// is compared whole.
#pragma once

#include <cstdio>
#include <sstream>
#include <string>

#include "libvektrace/MessageBase.h"
#include "support/PlainText.h"

namespace plain {

/// What decoding a record must yield under the policy that returns a message.
struct Decoded {
    bool valid = false;
    int cause = 0;              ///< of an invalid message
    unsigned id = 0;            ///< the record's own
    unsigned reserved = 0;      ///< the message's: an invalid one does not keep the record's
    timeStamp_t timeStamp = 0;  ///< missing bytes are 0
    byteVec_t payload;          ///< of an invalid message: what lies behind the header
    unsigned enumValue = 0;
    std::string enumDescription;
    std::string text;   ///< of print and toString
    byteVec_t encoded;  ///< of createByteArray without marker
    size_t result = 0;  ///< of createByteArray
};

/// The byte at a place of the record; 0 behind its end.
inline unsigned byteAt(const byteVec_t& record, size_t place) {
    return place < record.size() ? record[place] : 0;
}

/// The big-endian number of some bytes of the record.
inline uint64_t number(const byteVec_t& record, size_t place, size_t width) {
    uint64_t result = 0;
    for (size_t i = 0; i < width; ++i) {
        result = result * 256 + byteAt(record, place + i);
    }
    return result;
}

/// Null for an identifier of no header-only type.
inline const char* simpleName(unsigned id) {
    switch (id) {
        case 0x0082:
            return "TIME JUMP";
        case 0x0083:
            return "SYSTEM: DATALOGGING STOPPED";
        case 0x0084:
            return "SYSTEM: DATALOGGING STARTED";
        case 0x0085:
            return "SYSTEM STARTUP";
        case 0x0089:
            return "TRIGGER CLEAR";
        case 0x0100:
            return "CUSTOMER RESERVED";
        case 0x8003:
            return "GET VERSION";
        case 0x8005:
            return "GET TIME";
        case 0x8020:
            return "START";
        case 0x8021:
            return "STOP";
        default:
            return nullptr;
    }
}

constexpr unsigned ETHERNET_ID = 0x0004;

inline std::string timestampText(timeStamp_t timeStamp) {
    std::ostringstream os;
    timestamp(os, timeStamp, true, 6);
    return os.str();
}

inline std::string hexText(const char* format, unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

/// The example's own text behind the common one.
inline std::string ethernetText(const byteVec_t& record, size_t length) {
    const auto address = [&record](size_t place) {
        std::string text;
        for (size_t i = 0; i < 6; ++i) {
            text += hexText(i == 0 ? "%02x" : ":%02x", byteAt(record, place + i));
        }
        return text;
    };
    static const char* const DIRECTIONS[] = {"PortDirUnknown", "In ", "Out"};
    std::string text = "ETHERNET " + std::to_string(byteAt(record, 14)) + ' ' +
                       DIRECTIONS[byteAt(record, 15)] + ' ';
    const size_t captured = length - 20;
    text += captured < 14 ? "cut within its header"
                          : address(26) + " > " + address(20) +
                                hexText(" 0x%04x", static_cast<unsigned>(number(record, 32, 2)));
    text += ", " + std::to_string(captured);
    const uint64_t original = number(record, 16, 4);
    return text + (original == captured ? "" : " of " + std::to_string(original)) + " bytes";
}

/// A message as its class makes one of the first `length` bytes.
inline Decoded valid(const byteVec_t& record, size_t length, const std::string& ownText) {
    Decoded result;
    result.valid = true;
    result.id = static_cast<unsigned>(number(record, 2, 2));
    result.reserved = static_cast<unsigned>(number(record, 4, 2));
    result.timeStamp = number(record, 6, 8);
    result.text = timestampText(result.timeStamp) + "  " + ownText;
    result.encoded.assign(record.begin(), record.begin() + static_cast<ptrdiff_t>(length));
    result.result = length;
    return result;
}

inline std::string invalidText(const Decoded& message) {
    std::string text =
        timestampText(message.timeStamp) + "  Invalid Message: Id=0x" + hexText("%02x", message.id);
    if (message.cause == IM_INVALID_ENUM_VALUE) {
        text += ", Invalid enum value '" + message.enumDescription + "'=0x" +
                hexText("%02x", message.enumValue);
    } else if (message.cause == IM_INVALID_LEN) {
        text += "Invalid message length";
    }
    text += ", n=" + std::to_string(message.payload.size()) + ' ';
    for (size_t i = 0; i < message.payload.size(); ++i) {
        text += hexText(i == 0 ? "%02x" : " %02x", message.payload[i]);
    }
    return text;
}

/// What stands in for a record of at most 65550 bytes; its header is written back, its payload is
/// not, and the size counts the whole header.
inline Decoded invalid(const byteVec_t& record, int cause, unsigned enumValue = 0,
                       const char* enumDescription = "") {
    Decoded result;
    result.cause = cause;
    result.id = static_cast<unsigned>(number(record, 2, 2));
    result.timeStamp = number(record, 6, 8);
    for (size_t place = 14; place < record.size(); ++place) {
        result.payload.push_back(record[place]);
    }
    result.enumValue = enumValue;
    result.enumDescription = enumDescription;
    result.text = invalidText(result);

    result.result = result.payload.size() + 14;
    const auto put = [&result](uint64_t value, int width) {
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
            result.encoded.push_back(static_cast<uint8_t>(value >> shift));
        }
    };
    put(result.result, 2);
    put(0xFFFF, 2);
    put(0, 2);
    put(result.timeStamp, 8);
    result.encoded.resize(result.result + 2);
    return result;
}

inline Decoded ethernet(const byteVec_t& record) {
    const size_t length = 2 + static_cast<size_t>(number(record, 0, 2));
    if (record.size() < 20 || length < 20 || length > record.size()) {
        return invalid(record, IM_INVALID_LEN);
    }
    if (record[15] > 2) {
        return invalid(record, IM_INVALID_ENUM_VALUE, record[15], "port direction");
    }
    if (number(record, 16, 4) < length - 20) {
        return invalid(record, IM_INVALID_PARAMETER);
    }
    return valid(record, length, ethernetText(record, length));
}

inline Decoded decode(const byteVec_t& record) {
    if (record.size() < 4) {
        return invalid(record, IM_INVALID_LEN);
    }
    const auto id = static_cast<unsigned>(number(record, 2, 2));
    if (id == ETHERNET_ID) {
        return ethernet(record);
    }
    const char* const name = simpleName(id);
    if (name == nullptr) {
        return invalid(record, IM_INVALID_MSGID);
    }
    if (record.size() < 14 || number(record, 0, 2) != 12) {
        return invalid(record, IM_INVALID_LEN);
    }
    return valid(record, 14, name);
}

}  // namespace plain
