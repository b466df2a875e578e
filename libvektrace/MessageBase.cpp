#include "libvektrace/MessageBase.h"

#include <algorithm>
#include <exception>
#include <iostream>  // also has the standard streams built before anything of this unit
#include <memory>
#include <string_view>

#include "libvektrace/SimpleMessage.h"
#include "libvektrace/detail/TextBuffer.h"
#include "libvektrace/detail/hexdump.h"
#include "libvektrace/detail/timestampText.h"
#include "libvekutil/datablock.h"

using vek::detail::TextBuffer;

namespace {

/// One flushed line on the standard error stream, whatever that stream's format. Takes no memory.
void reportError(std::string_view text, std::string_view tail = "") {
    TextBuffer<std::ostream> line(std::cerr);
    line.put(text);
    line.put(tail);
    line.put("\n");
    line.flush();
    std::cerr.flush();
}

}  // namespace

// ---- Fields of every message -------------------------------------------------------------------

MessageBase::MessageBase(msgid_t _msgid, timeStamp_t _timeStamp)
    : msgid(_msgid), timeStamp(_timeStamp) {}

MessageBase::~MessageBase() = default;

// ---- What a message class provides or overrides ------------------------------------------------

namespace {

constexpr size_t SIZE_FIELD_LENGTH = MessageBase::MO_MSGID;
constexpr size_t SYNC_MARKER_LENGTH = sizeof MessageBase::SYNC_MARKER;
/// What the size field counts of the header.
constexpr size_t HEADER_SIZE = MessageBase::MO_BASE_DERIVED - SIZE_FIELD_LENGTH;

static_assert(MessageBase::MO_HDRRESERVED - MessageBase::MO_MSGID == sizeof(msgid_t) &&
                  MessageBase::MO_TIMESTAMP - MessageBase::MO_HDRRESERVED == sizeof(uint16_t) &&
                  MessageBase::MO_BASE_DERIVED - MessageBase::MO_TIMESTAMP == sizeof(timeStamp_t),
              "the header's fields follow each other without a gap");

}  // namespace

size_t MessageBase::writeToByteArray(uint8_t*& pdest, size_t buflen, bool sync) const {
    const auto size = static_cast<uint16_t>(getSize());
    // Without the marker also when it will be written: this is meant.
    if (size_t{size} + SIZE_FIELD_LENGTH > buflen) {
        return 0;
    }
    uint8_t* record = pdest;
    if (sync) {
        uint16ToByteArray(record, SYNC_MARKER);
        record += SYNC_MARKER_LENGTH;
    }
    uint16ToByteArray(record + MO_MSGSIZE, size);
    uint16ToByteArray(record + MO_MSGID, msgid);
    uint16ToByteArray(record + MO_HDRRESERVED, headerReserved);
    uint64ToByteArray(record + MO_TIMESTAMP, timeStamp);
    pdest = record + MO_BASE_DERIVED;
    return (sync ? SYNC_MARKER_LENGTH : 0) + MO_BASE_DERIVED;
}

std::string MessageBase::getSourceChannel() const { return "LOGGER INTERN"; }

uint64_t MessageBase::getSourceChannelID() const { return ~uint64_t{0}; }

void MessageBase::cascadeChannel(uint16_t /*offset*/) {}

// ---- Header version and source channel ID ------------------------------------------------------

void MessageBase::setVersion(uint8_t _version) {
    if (_version != version) {
        reportInvalidVersion(_version);
    }
}

uint8_t MessageBase::getVersion() { return version; }

void MessageBase::reportInvalidVersion(uint8_t _version) noexcept {
    char digits[vek::detail::DECIMAL_ROOM];
    const char* const end = vek::detail::writeDecimal(digits, _version);
    reportError("Trying to set an invalid VekTrace version of ",
                {digits, static_cast<size_t>(end - digits)});
    std::terminate();
}

namespace {

constexpr unsigned BUS_SHIFT = 40;
constexpr unsigned CHANNEL_SHIFT = 32;

}  // namespace

uint64_t MessageBase::getSourceChannelID(busid_t bus, uint8_t channel, uint32_t mbnr) {
    return uint64_t{static_cast<uint8_t>(bus)} << BUS_SHIFT | uint64_t{channel} << CHANNEL_SHIFT |
           mbnr;
}

void MessageBase::getBusAndChannelFromSourceID(uint64_t sourceChannelID, busid_t& bus,
                                               uint8_t& channel, uint32_t& mbnr) {
    bus = static_cast<busid_t>(static_cast<uint8_t>(sourceChannelID >> BUS_SHIFT));
    channel = static_cast<uint8_t>(sourceChannelID >> CHANNEL_SHIFT);
    mbnr = static_cast<uint32_t>(sourceChannelID);
}

// ---- Encoding ----------------------------------------------------------------------------------

namespace {

// Both limits are meant. The upper one is above what the size field holds, which then carries the
// low 16 bits; the lower one counts the marker and is below a header's length.
constexpr size_t MAX_SIZE = 0x10004;
constexpr size_t MIN_RECORD_LENGTH = 12;

size_t recordLength(size_t size, bool sync) {
    return SIZE_FIELD_LENGTH + size + (sync ? SYNC_MARKER_LENGTH : 0);
}

/// For a message that may write more than it reports: false, with the error line, when its size is
/// refused. Else there is memory for all that is written, since that must not be memory of others:
/// the base writes a header whatever the size, and an invalid message its rawData behind it.
[[gnu::cold, gnu::noinline]] bool makeRoomForOddMessage(byteVec_t& buffer,
                                                        const MessageBase& message, size_t size,
                                                        bool sync, bool append) {
    if (size > MAX_SIZE) {
        reportError("[ERROR] Message size too big");
        return false;
    }
    if (recordLength(size, sync) < MIN_RECORD_LENGTH) {
        reportError("[ERROR] Message size too small");
        return false;
    }
    const size_t behindHeader =
        message.getMessageId() == MSGID_INVALID ? message.rawData.size() : 0;
    const size_t needed = (append ? buffer.size() : 0) +
                          recordLength(std::max(size, HEADER_SIZE + behindHeader), sync);
    if (needed > buffer.capacity()) {
        // Doubled, as it grows by itself: else every append would move all that is there.
        buffer.reserve(std::max(needed, 2 * buffer.capacity()));
    }
    return true;
}

/// Into another vector first: what is encoded must not change on the way.
[[gnu::cold, gnu::noinline]] size_t createInOwnRawData(byteVec_t& rawData,
                                                       const MessageBase& message, bool sync,
                                                       bool append) {
    byteVec_t other(rawData);
    const size_t result = message.createByteArray(other, sync, append);
    rawData = other;
    return result;
}

/// Where there is room, a short record's zeros are the beginning of a constant number of them: to
/// write that many and take back the rest needs neither a loop nor a call.
void appendZeros(byteVec_t& buffer, size_t count) {
    static constexpr uint8_t FEW[96] = {};
    const uint8_t* const end = buffer.data() + buffer.size();
    const auto spare = static_cast<size_t>(buffer.data() + buffer.capacity() - end);
    if (count <= sizeof FEW && spare >= sizeof FEW) {
        buffer.insert(buffer.end(), std::begin(FEW), std::end(FEW));
        buffer.erase(buffer.end() - static_cast<ptrdiff_t>(sizeof FEW - count), buffer.end());
    } else {
        buffer.insert(buffer.end(), count, 0);
    }
}

}  // namespace

// Flattened, since growing the vector costs as much as the header itself where it is called.
[[gnu::flatten]] size_t MessageBase::createByteArray(byteVec_t& _buffer, bool _sync,
                                                     bool _append) const {
    if (&_buffer == &rawData) {
        return createInOwnRawData(_buffer, *this, _sync, _append);
    }
    const size_t size = getSize();
    const bool odd = size < HEADER_SIZE || size > MAX_SIZE || msgid == MSGID_INVALID;
    if (odd && !makeRoomForOddMessage(_buffer, *this, size, _sync, _append)) {
        return 0;
    }
    if (!_append) {
        _buffer.clear();
    }
    const size_t length = recordLength(size, _sync);
    appendZeros(_buffer, length);
    uint8_t* pdest = _buffer.data() + _buffer.size() - length;
    return writeToByteArray(pdest, length, _sync);
}

// ---- Decoding ----------------------------------------------------------------------------------

MessageBase::creators_t MessageBase::creators;
MessageBase::invalidMsgHandling_t MessageBase::invalidHandling = IMH_RETURN_NULL;
bool MessageBase::fpgaMsgHasDebugBytes = true;

void MessageBase::setInvalidMsgHandling(invalidMsgHandling_t handling) {
    invalidHandling = handling;
}

bool MessageBase::registerMessage(msgid_t _msgid, pCreatorFunction _func) {
    if (_func == nullptr) {
        return creators.erase(_msgid) != 0;
    }
    return creators.try_emplace(_msgid, _func).second;
}

namespace {

template <msgid_t id>
void registerSimpleMessage() {
    MessageBase::registerMessage(id, SimpleMessage<id>::readFromByteArray);
}

}  // namespace

void MessageBase::registerMessages() {
    registerSimpleMessage<MSGID_STARTUP>();
    registerSimpleMessage<MSGID_DATALOGGINGSTARTED>();
    registerSimpleMessage<MSGID_DATALOGGINGSTOPPED>();
    registerSimpleMessage<MSGID_GETVERSION>();
    registerSimpleMessage<MSGID_GETTIME>();
    registerSimpleMessage<MSGID_TIMEJUMP>();
    registerSimpleMessage<MSGID_START>();
    registerSimpleMessage<MSGID_STOP>();
    registerSimpleMessage<MSGID_TRIGGERCLEAR>();
    registerSimpleMessage<MSGID_CUSTOMER>();
}

namespace {

/// What the policy gives for a record that cannot be decoded: null, or a message with the cause.
std::unique_ptr<InvalidMessage> undecodable(const uint8_t* psrc, size_t len,
                                            invalidMessageCause_t cause) {
    if (MessageBase::invalidHandling != MessageBase::IMH_RETURN_INVALID_MESSAGE) {
        return nullptr;
    }
    auto message = std::make_unique<InvalidMessage>(psrc, len);
    message->setCause(cause);
    return message;
}

}  // namespace

MessageBase* MessageBase::readFromByteArray(const uint8_t* psrc, size_t len) {
    if (len < MO_MSGID + sizeof(msgid_t)) {
        return undecodable(psrc, len, IM_INVALID_LEN).release();
    }
    const auto creator = creators.find(getMessageId(psrc));
    if (creator == creators.end()) {
        return undecodable(psrc, len, IM_INVALID_MSGID).release();
    }
    try {
        return creator->second(psrc, len);
    } catch (const InvalidMessageException& e) {
        auto message = undecodable(psrc, len, e.getCause());
        if (message && e.getCause() == IM_INVALID_ENUM_VALUE) {
            message->setInvalidEnumValue(e.getInvalidValue(), e.what());
        }
        return message.release();
    }
}

InvalidMessageException::~InvalidMessageException() = default;

// ---- Text --------------------------------------------------------------------------------------

void MessageBase::printTimestamp(std::ostream& os, timeStamp_t ts) {
    printTimeStamp(os, ts, true, vek::detail::MAX_PRECISION);
}

std::string MessageBase::printTimestamp(timeStamp_t _timeStamp) {
    char text[vek::detail::TIMESTAMP_ROOM];
    return {text, vek::detail::writeTimestamp(text, _timeStamp)};
}

std::ostream& MessageBase::printTimeStamp(std::ostream& os, timeStamp_t stamp, bool utc,
                                          uint8_t precision) {
    char text[vek::detail::TIMESTAMP_ROOM];
    const char* const end = vek::detail::writeTimestamp(text, stamp, utc, precision);
    if (precision != 0) {
        os.width(0);  // as the digits of the fraction, a number, leave it
    }
    return os.write(text, end - text);
}

void MessageBase::printTimestamp(std::ostream& os) { printTimestamp(os, timeStamp); }

std::string MessageBase::printTimestamp() { return printTimestamp(timeStamp); }

std::ostream& MessageBase::printPrintable(std::ostream& os, const std::string& text) {
    constexpr size_t ESCAPE_LENGTH = 4;
    TextBuffer<std::ostream> out(os);
    for (const char c : text) {
        char* end = out.reserve(ESCAPE_LENGTH);
        if (c == '\\') {
            *end++ = '\\';
            *end++ = '\\';
        } else if (c >= ' ' && c <= '~') {
            *end++ = c;
        } else {
            *end++ = '\\';
            *end++ = 'x';
            end = vek::detail::writeHexByte(end, static_cast<uint8_t>(c));
        }
        out.commit(end);
    }
    out.flush();
    return os;
}

void MessageBase::dumpElement(std::ostream& os, uint16_t element, bool first) {
    char text[1 + vek::detail::ELEMENT_ROOM];
    char* end = text;
    if (!first) {
        *end++ = ' ';
    }
    end = vek::detail::writeElement(end, element, os.flags(), os.fill());
    os.width(0);
    os.write(text, end - text);
}

namespace {

/// Bytes in hexadecimal, one blank between them.
template <class Sink>
void putHexBytes(TextBuffer<Sink>& out, const uint8_t* from, const uint8_t* to) {
    constexpr ptrdiff_t BYTES_PER_PIECE =
        (TextBuffer<Sink>::CAPACITY - 1) / vek::detail::HEX_BYTE_LENGTH;
    if (from == to) {
        return;
    }
    out.commit(vek::detail::writeHexByte(out.reserve(2), *from++));
    while (from != to) {
        const uint8_t* const pieceEnd = from + std::min(to - from, BYTES_PER_PIECE);
        char* const text =
            out.reserve(vek::detail::HEX_BYTE_LENGTH * static_cast<size_t>(pieceEnd - from) + 1);
        out.commit(vek::detail::writeHexBytes(text, from, pieceEnd));
        from = pieceEnd;
    }
}

/// Whether the stream shows a byte as exactly two lowercase hexadecimal digits.
bool showsTwoHexDigits(const std::ostream& os) {
    constexpr auto DECISIVE =
        std::ios_base::basefield | std::ios_base::uppercase | std::ios_base::showbase;
    return (os.flags() & DECISIVE) == std::ios_base::hex && os.fill() == '0' &&
           (os.flags() & std::ios_base::adjustfield) != std::ios_base::left;
}

}  // namespace

template <>
void MessageBase::dumpData<const uint8_t*>(std::ostream& os, const uint8_t* from,
                                           const uint8_t* to) {
    if (from != to && showsTwoHexDigits(os)) {
        os.width(0);
        TextBuffer<std::ostream> out(os);
        putHexBytes(out, from, to);
        out.flush();
        return;
    }
    for (const uint8_t* element = from; element != to; ++element) {
        dumpElement(os, *element, element == from);
    }
}

namespace {

template <class Sink>
void putCommonText(TextBuffer<Sink>& out, const MessageBase& m) {
    if (!m.source.empty()) {
        out.put(m.source);
        out.put(": ");
    }
    char* const text = out.reserve(vek::detail::TIMESTAMP_ROOM);
    out.commit(vek::detail::writeTimestamp(text, m.getTimeStamp()));
}

}  // namespace

std::ostream& operator<<(std::ostream& os, const MessageBase& m) {
    os.width(0);
    TextBuffer<std::ostream> out(os);
    putCommonText(out, m);
    out.flush();
    return os;
}

std::string MessageBase::toString() const {
    std::string text;
    TextBuffer<std::string> out(text);
    putCommonText(out, *this);
    out.flush();
    return text;
}

std::ostream& operator<<(std::ostream& os, const MessageBase::portDirection_t& pd) {
    // The blank behind "In" is meant: both directions are as wide as each other.
    static constexpr const char* dir_txt[MessageBase::PORT_DIR_NUM] = {"PortDirUnknown", "In ",
                                                                       "Out"};
    if (pd < 0 || pd >= MessageBase::PORT_DIR_NUM) {
        printUnknownEnum(os, pd);
        return os;
    }
    return os << dir_txt[pd];
}

// ---- InvalidMessage ----------------------------------------------------------------------------

InvalidMessage::InvalidMessage(const uint8_t* data, size_t len) : MessageBase(MSGID_INVALID, 0) {
    if (len < MO_BASE_DERIVED) {
        uint8_t header[MO_BASE_DERIVED] = {};
        std::copy_n(data, len, header);
        readHeader(header);
        return;
    }
    readHeader(data);
    const size_t count = len - MO_BASE_DERIVED;
    overflow = count > MAX_ALLOC;
    const uint8_t* const payload = data + MO_BASE_DERIVED;
    assign(payload, payload + (overflow ? MAX_ALLOC : count));
}

void InvalidMessage::readHeader(const uint8_t* header) {
    timeStamp = MessageBase::getTimeStamp(header);
    originalMsgId = MessageBase::getMessageId(header);
}

MessageBase* InvalidMessage::readFromByteArray(const uint8_t* data, size_t len) {
    return new InvalidMessage(data, len);
}

InvalidMessage* InvalidMessage::clone() const { return new InvalidMessage(*this); }

size_t InvalidMessage::writeToByteArray(uint8_t*& data, size_t maxLen, bool sync) const {
    // The payload is not written back, rawData is copied even behind a header that was refused,
    // and the result does not depend on either: all of this is meant.
    MessageBase::writeToByteArray(data, maxLen, sync);
    std::copy(rawData.begin(), rawData.end(), data);
    return InvalidMessage::getSize();
}

size_t InvalidMessage::getSize() const { return size() + MO_BASE_DERIVED; }

bool InvalidMessage::operator==(const MessageBase& /*other*/) const { return false; }

namespace {

template <class Sink>
void putHexNumber(TextBuffer<Sink>& out, uint16_t value) {
    out.commit(vek::detail::writeHexNumber(out.reserve(4), value));
}

template <class Sink>
void putCause(TextBuffer<Sink>& out, const InvalidMessage& im) {
    if (im.getCause() == IM_INVALID_ENUM_VALUE) {
        out.put(", Invalid enum value '");
        out.put(im.getInvalidEnumDescription());
        out.put("'=0x");
        putHexNumber(out, im.getInvalidEnumValue());
    } else if (im.getCause() == IM_INVALID_LEN) {
        out.put("Invalid message length");  // straight behind the identifier: this is meant
    }
}

template <class Sink>
void putInvalidMessage(TextBuffer<Sink>& out, const InvalidMessage& im) {
    const byteVec_t& payload = im.getRawData();
    putCommonText(out, im);
    out.put("  ");
    out.put(im.getDescription());
    out.put(": Id=0x");
    putHexNumber(out, im.getOriginalMsgId());
    putCause(out, im);
    out.put(", n=");
    out.commit(vek::detail::writeDecimal(out.reserve(vek::detail::DECIMAL_ROOM),
                                         static_cast<int64_t>(payload.size())));
    out.put(" ");
    putHexBytes(out, payload.data(), payload.data() + payload.size());
    if (im.isOverflow()) {
        out.put(" *** OVERRFLOW");  // so spelt: readers of logs look for these letters
    }
    out.flush();
}

}  // namespace

std::ostream& operator<<(std::ostream& os, const InvalidMessage& im) {
    os.width(0);
    TextBuffer<std::ostream> out(os);
    putInvalidMessage(out, im);
    return os;
}

std::ostream& InvalidMessage::print(std::ostream& os) const { return os << *this; }

std::string InvalidMessage::toString() const {
    // The longest text but for the strings and the payload.
    constexpr std::string_view FRAME =
        ": YYYY-MM-DD HH:MM:SS.uuuuuu  : Id=0xffff, Invalid enum value ''=0xffff, n=65536 "
        " *** OVERRFLOW";
    std::string text;
    text.reserve(FRAME.size() + source.size() + description.size() + enumDescription.size() +
                 vek::detail::HEX_BYTE_LENGTH * size());
    TextBuffer<std::string> out(text);
    putInvalidMessage(out, *this);
    return text;
}

// ---- Names of the messages that consist of the header only -------------------------------------

template <>
const char SimpleMessage<MSGID_STARTUP>::messageName[] = "SYSTEM STARTUP";  // no colon: meant
template <>
const char SimpleMessage<MSGID_DATALOGGINGSTARTED>::messageName[] = "SYSTEM: DATALOGGING STARTED";
template <>
const char SimpleMessage<MSGID_DATALOGGINGSTOPPED>::messageName[] = "SYSTEM: DATALOGGING STOPPED";
template <>
const char SimpleMessage<MSGID_GETVERSION>::messageName[] = "GET VERSION";
template <>
const char SimpleMessage<MSGID_GETTIME>::messageName[] = "GET TIME";
template <>
const char SimpleMessage<MSGID_TIMEJUMP>::messageName[] = "TIME JUMP";
template <>
const char SimpleMessage<MSGID_START>::messageName[] = "START";
template <>
const char SimpleMessage<MSGID_STOP>::messageName[] = "STOP";
template <>
const char SimpleMessage<MSGID_TRIGGERCLEAR>::messageName[] = "TRIGGER CLEAR";
template <>
const char SimpleMessage<MSGID_CUSTOMER>::messageName[] = "CUSTOMER RESERVED";
