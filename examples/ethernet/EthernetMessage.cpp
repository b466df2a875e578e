#include "examples/ethernet/EthernetMessage.h"

#include <algorithm>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "libvekutil/datablock.h"

namespace {

bool isDirection(int value) { return value >= 0 && value < MessageBase::PORT_DIR_NUM; }

}  // namespace

EthernetMessage::EthernetMessage(timeStamp_t _timeStamp, uint8_t _channel,
                                 portDirection_t _direction, uint32_t _originalLength,
                                 byteVec_t _frame)
    : MessageBase(MSGID_ETHERNET_RX, _timeStamp),
      channel(_channel),
      direction(_direction),
      originalLength(_originalLength),
      frame(std::move(_frame)) {
    if (!isDirection(direction)) {
        throw std::invalid_argument("no port direction: " + std::to_string(direction));
    }
    if (frame.size() > MAX_FRAME_LENGTH) {
        throw std::invalid_argument("a frame of " + std::to_string(frame.size()) +
                                    " bytes does not fit a record, which holds " +
                                    std::to_string(MAX_FRAME_LENGTH));
    }
    if (originalLength < frame.size()) {
        throw std::invalid_argument("a frame of " + std::to_string(originalLength) +
                                    " bytes of which " + std::to_string(frame.size()) +
                                    " were captured");
    }
}

// ---- Decoding ----------------------------------------------------------------------------------

namespace {

/// The record's length by its size field, once that is known to be plausible.
size_t checkedLength(const uint8_t* data, size_t len) {
    if (len < EthernetMessage::MO_FRAME) {
        throw InvalidMessageException(IM_INVALID_LEN, "Ethernet record");
    }
    const size_t length = MessageBase::MO_MSGID + size_t{MessageBase::getMessageSize(data)};
    if (length < EthernetMessage::MO_FRAME || length > len) {
        throw InvalidMessageException(IM_INVALID_LEN, "Ethernet record");
    }
    return length;
}

MessageBase::portDirection_t checkedDirection(uint8_t value) {
    if (!isDirection(value)) {
        throw InvalidMessageException(IM_INVALID_ENUM_VALUE, "port direction", value);
    }
    return static_cast<MessageBase::portDirection_t>(value);
}

uint32_t checkedOriginalLength(uint32_t value, size_t captured) {
    if (value < captured) {
        throw InvalidMessageException(IM_INVALID_PARAMETER, "original length");
    }
    return value;
}

}  // namespace

MessageBase* EthernetMessage::readFromByteArray(const uint8_t* data, size_t len) {
    const size_t length = checkedLength(data, len);
    const auto direction = checkedDirection(data[MO_DIRECTION]);
    const auto originalLength =
        checkedOriginalLength(byteArrayToUint32(data + MO_ORIGINAL_LENGTH), length - MO_FRAME);
    auto message = std::make_unique<EthernetMessage>(MessageBase::getTimeStamp(data),
                                                     data[MO_CHANNEL], direction, originalLength,
                                                     byteVec_t(data + MO_FRAME, data + length));
    message->headerReserved = byteArrayToUint16(data + MO_HDRRESERVED);
    return message.release();
}

// ---- Overrides, in the order of the base class -------------------------------------------------

EthernetMessage* EthernetMessage::clone() const { return new EthernetMessage(*this); }

size_t EthernetMessage::writeToByteArray(uint8_t*& pdest, size_t buflen, bool sync) const {
    // MO_MSGID is where the size field ends, so its length.
    const size_t length = (sync ? sizeof SYNC_MARKER : 0) + MO_MSGID + getSize();
    if (length > buflen) {
        return 0;
    }
    MessageBase::writeToByteArray(pdest, buflen, sync);
    uint8_t* const record = pdest - MO_BASE_DERIVED;  // the offsets count from its size field
    record[MO_CHANNEL] = channel;
    record[MO_DIRECTION] = static_cast<uint8_t>(direction);
    uint32ToByteArray(record + MO_ORIGINAL_LENGTH, originalLength);
    pdest = std::copy(frame.begin(), frame.end(), record + MO_FRAME);
    return length;
}

size_t EthernetMessage::getSize() const { return MO_FRAME - MO_MSGID + frame.size(); }

bool EthernetMessage::operator==(const MessageBase& other) const {
    const auto* const same = dynamic_cast<const EthernetMessage*>(&other);
    return same != nullptr && headerReserved == same->headerReserved &&
           timeStamp == same->timeStamp && channel == same->channel &&
           direction == same->direction && originalLength == same->originalLength &&
           frame == same->frame;
}

std::ostream& EthernetMessage::print(std::ostream& os) const {
    return os << static_cast<const MessageBase&>(*this) << "  " << describe();
}

std::string EthernetMessage::toString() const {
    return MessageBase::toString() + "  " + describe();
}

std::string EthernetMessage::getSourceChannel() const {
    return "ETHERNET " + std::to_string(channel);
}

uint64_t EthernetMessage::getSourceChannelID() const {
    // Qualified, since this override hides the base's static function of the same name.
    return MessageBase::getSourceChannelID(BUSID_ETHERNET, channel, sourceChannelIDMbnr);
}

void EthernetMessage::cascadeChannel(uint16_t offset) {
    channel = static_cast<uint8_t>(channel + offset);
}

// ---- Text --------------------------------------------------------------------------------------

namespace {

/// Where the fields of an Ethernet frame's own header lie.
constexpr size_t ADDRESS_LENGTH = 6;
constexpr size_t DESTINATION = 0;
constexpr size_t SOURCE = DESTINATION + ADDRESS_LENGTH;
constexpr size_t ETHERTYPE = SOURCE + ADDRESS_LENGTH;
constexpr size_t FRAME_HEADER_LENGTH = ETHERTYPE + sizeof(uint16_t);

std::string hexByte(uint8_t byte) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    return {DIGITS[byte >> 4], DIGITS[byte & 0xF]};
}

std::string addressText(const uint8_t* address) {
    std::string text = hexByte(address[0]);
    for (size_t i = 1; i < ADDRESS_LENGTH; ++i) {
        text += ':' + hexByte(address[i]);
    }
    return text;
}

std::string directionText(MessageBase::portDirection_t direction) {
    std::ostringstream os;
    os << direction;
    return os.str();
}

/// A capture may end anywhere, also within the frame's header.
std::string frameHeaderText(const byteVec_t& frame) {
    if (frame.size() < FRAME_HEADER_LENGTH) {
        return "cut within its header";
    }
    return addressText(&frame[SOURCE]) + " > " + addressText(&frame[DESTINATION]) + " 0x" +
           hexByte(frame[ETHERTYPE]) + hexByte(frame[ETHERTYPE + 1]);
}

/// "60 bytes", or "64 of 1514 bytes" for a frame that was cut.
std::string lengthText(size_t captured, size_t original) {
    std::string text = std::to_string(captured);
    if (captured != original) {
        text += " of " + std::to_string(original);
    }
    return text + " bytes";
}

}  // namespace

std::string EthernetMessage::describe() const {
    return getSourceChannel() + ' ' + directionText(direction) + ' ' + frameHeaderText(frame) +
           ", " + lengthText(frame.size(), originalLength);
}
