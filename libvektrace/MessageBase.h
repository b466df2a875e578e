/// @file
/// What all messages of a trace share: MessageBase, and InvalidMessage for what cannot be decoded.
///
/// A message is one record of a trace: an identifier, a timestamp, a source, and whatever its
/// class adds. It is encoded into bytes behind a fixed big-endian header, and bytes become a
/// message again through the creator that is registered for their identifier.
///
/// Ownership: a message owns copies of all it holds. Whoever gets a message from a creator, from
/// readFromByteArray or from clone() owns it and deletes it through a MessageBase pointer.
///
/// Threads: there are no locks. The class-wide settings and the registry are set up at start-up,
/// before other threads use the library, and only read from then on. After that, decoding,
/// encoding and rendering may run at once. A message may be encoded and rendered by several
/// threads as long as none changes it; a stream or vector is used by one thread at a time.
///
/// Text: every text operation writes into the caller's stream, leaves its format flags and fill
/// as they were, never flushes it and never ends the line. Unless it says otherwise its text does
/// not depend on the stream's flags, fill, width or locale.
#pragma once

#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "libvektrace/InvalidMessageException.h"
#include "libvektrace/busID.h"
#include "libvektrace/constants_serialmessage.h"
#include "libvektrace/messageID.h"
#include "libvekutil/datablock.h"
#include "libvekutil/utility.h"

class MessageBase;

/// Microseconds since 1970-01-01 00:00:00 UTC.
using timeStamp_t = uint64_t;

/// Makes a message from a record whose first byte is the size field and of which `len` bytes are
/// readable. The caller owns the result, which may be null. Bad data is reported by throwing
/// InvalidMessageException.
using pCreatorFunction = MessageBase* (*)(const uint8_t* psrc, size_t len);

/// One record of a trace, whatever its type: the header's fields, and the interface of the classes
/// that add a payload. What holds for all of it stands in libvektrace/MessageBase.h.
class VEK_EXPORT MessageBase {
public:
    // ---- Types and constants -----------------------------------------------------------------

    /// What readFromByteArray returns for a record that cannot be decoded. Any value other than
    /// these two acts as IMH_RETURN_NULL.
    enum invalidMsgHandling_t : int {
        IMH_RETURN_NULL = 0,             ///< null
        IMH_RETURN_INVALID_MESSAGE = 1,  ///< an InvalidMessage with the record's payload
    };

    /// Whether a port received or sent.
    enum portDirection_t : int {
        PORT_DIR_UNKNOWN = 0,  ///< not told
        PORT_DIR_IN = 1,       ///< received
        PORT_DIR_OUT = 2,      ///< sent
        PORT_DIR_NUM = 3,      ///< not a direction: the number of directions
    };

    /// The registry's type.
    using creators_t = std::unordered_map<msgid_t, pCreatorFunction, MsgidHash>;

    /// Offsets in a record of header version 1, the one that is written and read here, counted
    /// from the first byte behind the sync marker:
    ///
    ///        0      2      4          6              14
    ///     +------+------+----------+---------------+-----------
    ///     | size |  id  | reserved |  timestamp    | payload ...
    ///     +------+------+----------+---------------+-----------
    ///
    /// Every field is big-endian. `size` counts the bytes behind itself.
    enum {
        MO_MSGSIZE = 0,        ///< 2 bytes
        MO_MSGID = 2,          ///< 2 bytes
        MO_HDRRESERVED = 4,    ///< 2 bytes
        MO_TIMESTAMP = 6,      ///< 8 bytes
        MO_BASE_DERIVED = 14,  ///< where the payload begins
    };

    /// Offsets in a record of the compact header version 2, which nothing here writes or reads.
    enum {
        MO2_MSGID = 0,         ///< 1 byte
        MO2_MSGSIZE = 1,       ///< 2 bytes
        MO2_TIMESTAMP = 3,     ///< 4 bytes
        MO2_BASE_DERIVED = 7,  ///< where the payload begins
    };

    /// Precedes a version 1 record, big-endian, where the writer asks for it.
    static constexpr uint16_t SYNC_MARKER = 0x55AA;
    /// Precedes a version 2 record.
    static constexpr uint8_t SYNC_MARKER2 = 0x5A;

    // ---- Fields of every message -------------------------------------------------------------

    /// Where the message came from, free text; not part of the encoded record.
    std::string source;
    /// Bytes whose use is the derived class's own; the base neither fills nor reads them.
    byteVec_t rawData;

    virtual ~MessageBase();

    /// The type of the message, as its class gave it to the constructor.
    msgid_t getMessageId() const { return msgid; }
    /// The header's reserved word, carried through encoding and decoding unchanged.
    /// @{
    uint16_t getHeaderReserved() const { return headerReserved; }
    void setHeaderReserved(uint16_t reserved) { headerReserved = reserved; }
    /// @}
    /// Microseconds since 1970-01-01 00:00:00 UTC; any 64 bits are kept.
    /// @{
    timeStamp_t getTimeStamp() const { return timeStamp; }
    void setTimeStamp(timeStamp_t _timeStamp) { timeStamp = _timeStamp; }
    /// @}
    /// The third part of the source channel ID, a number beside bus and channel; not part of the
    /// encoded record.
    /// @{
    void setSourceChannelIDMbnr(uint32_t mbnr) { sourceChannelIDMbnr = mbnr; }
    uint32_t getSourceChannelIDMbnr() const { return sourceChannelIDMbnr; }
    /// @}

    // ---- What a message class provides or overrides ------------------------------------------
    // The order of these functions is part of the binary interface.

    /// A new copy of the whole object, owned by the caller.
    virtual MessageBase* clone() const = 0;

    /// Encodes the record at `pdest`: the sync marker if asked for, then the header. A class with
    /// a payload overrides this, calls it first and writes its payload at the advanced pointer.
    ///
    /// Returns the number of bytes written, by which `pdest` has moved; or 0, with nothing written
    /// or moved, when `buflen` is below the low 16 bits of getSize() plus 2. That test is all there
    /// is, which is meant: where it passes, 14 bytes are written, 16 with `sync`. So with `sync` the
    /// caller provides 2 bytes more, and a class whose size, cut to 16 bits, is below 12 must not
    /// call this with less room than that. An InvalidMessage copies its rawData besides, behind the
    /// header or, when that is refused, to `pdest`, without any test; who fills rawData provides
    /// that room as well. createByteArray always has enough.
    virtual size_t writeToByteArray(uint8_t*& pdest, size_t buflen, bool sync) const;

    /// Number of bytes that follow the size field: 12 here; an override adds its payload's length.
    /// writeToByteArray must not write more than these, the size field and the marker.
    virtual size_t getSize() const { return MO_BASE_DERIVED - MO_MSGID; }

    /// Whether `other` is of the same kind, as the class sees it, and its record says the same.
    virtual bool operator==(const MessageBase& other) const = 0;

    /// Writes the class's full text and returns `os`.
    virtual std::ostream& print(std::ostream& os) const = 0;

    /// The common text (see the output operator below); a class may return its full text instead.
    virtual std::string toString() const;

    /// "LOGGER INTERN": a message is the logger's own unless its class belongs to a bus channel.
    virtual std::string getSourceChannel() const;

    /// All 64 bits set, which means: no bus channel.
    virtual uint64_t getSourceChannelID() const;

    /// Shifts the channel number by `offset`. Does nothing here: the base has no channel.
    virtual void cascadeChannel(uint16_t offset);

    /// The opposite of operator==, also where another base of the class has a comparison.
    bool operator!=(const MessageBase& other) const { return !(*this == other); }

    // ---- Header version and source channel ID ------------------------------------------------

    /// Accepts 1, the version in force. Any other number ends the process: one line on the
    /// standard error stream, then the terminate handler.
    static void setVersion(uint8_t _version);
    /// Always 1.
    static uint8_t getVersion();

    /// Bits 47..40 bus (its low 8 bits), 39..32 channel, 31..0 `mbnr`, the others 0.
    static uint64_t getSourceChannelID(busid_t bus, uint8_t channel, uint32_t mbnr);
    /// The inverse. For an ID of another origin `bus` may be no bus of the catalogue (0 to 255).
    static void getBusAndChannelFromSourceID(uint64_t sourceChannelID, busid_t& bus,
                                             uint8_t& channel, uint32_t& mbnr);

    // ---- Encoding ----------------------------------------------------------------------------

    /// Encodes the whole record through writeToByteArray into `_buffer`, behind its contents or,
    /// without `_append`, in their place, and returns what that call returns. Bytes that the
    /// encoder leaves out are 0; when it returns 0 the vector keeps its new length.
    /// What the base and an InvalidMessage write beyond the reported size stays in the vector's
    /// memory, behind its end. `_buffer` may be rawData, which is then encoded as it was; it is not
    /// to be another vector that the class encodes.
    ///
    /// Returns 0 and leaves `_buffer` untouched, after one line on the standard error stream, when
    /// getSize() is above 65540 or the record would be shorter than 12 bytes, marker included. A
    /// size of 65536 to 65540 passes, and the size field then holds its low 16 bits; this is meant.
    /// When there is no memory `_buffer` keeps what it held, but without `_append` may be empty.
    size_t createByteArray(byteVec_t& _buffer, bool _sync, bool _append) const;

    /// Encodes into scratch memory and returns what the form above returns, for a caller who wants
    /// to know whether and into how many bytes the message encodes; `_append` has no effect.
    size_t createByteArray(bool _sync, bool _append) const {
        byteVec_t scratch;
        return createByteArray(scratch, _sync, _append);
    }

    /// Header fields of an encoded record without marker. Neither the pointer nor the vector forms
    /// check a length: the caller guarantees that the record holds the whole header.
    /// @{
    static uint16_t getMessageSize(const uint8_t* record) {
        return byteArrayToUint16(record + MO_MSGSIZE);
    }
    static msgid_t getMessageId(const uint8_t* record) {
        return static_cast<msgid_t>(byteArrayToUint16(record + MO_MSGID));
    }
    static msgid_t getMessageId(const byteVec_t& record) { return getMessageId(record.data()); }
    static timeStamp_t getTimeStamp(const uint8_t* record) {
        return byteArrayToUint64(record + MO_TIMESTAMP);
    }
    static timeStamp_t getTimeStamp(const byteVec_t& record) { return getTimeStamp(record.data()); }
    static void setTimeStamp(uint8_t* record, uint64_t _timeStamp) {
        uint64ToByteArray(record + MO_TIMESTAMP, _timeStamp);
    }
    static void setTimeStamp(byteVec_t& record, uint64_t _timeStamp) {
        setTimeStamp(record.data(), _timeStamp);
    }
    /// @}

    // ---- Decoding ----------------------------------------------------------------------------

    /// The creator of every identifier that can be decoded. Built when the library is initialised:
    /// not to be used from the static initialisers of other units.
    static creators_t creators;
    /// The policy for what cannot be decoded; IMH_RETURN_NULL at first.
    static invalidMsgHandling_t invalidHandling;
    /// A flag for message classes outside: whether records that the logger's FPGA made carry debug
    /// bytes. The library only keeps it.
    static bool fpgaMsgHasDebugBytes;

    /// Sets the policy, for all decoding of the process. Before other threads use the library.
    static void setInvalidMsgHandling(invalidMsgHandling_t handling);

    /// Adds a creator, or with a null `_func` removes it; returns whether the registry changed. An
    /// identifier that has a creator keeps it: to replace it, remove it first.
    static bool registerMessage(msgid_t _msgid, pCreatorFunction _func);

    /// Registers the ten message types of SimpleMessage.h; may be called again without harm, also
    /// after a call that ran out of memory.
    static void registerMessages();

    /// Decodes one record. `psrc` is its size field (a sync marker has been stripped before), `len`
    /// the number of readable bytes, at least four. Whether these suffice is the creator's decision;
    /// an InvalidMessage keeps all of them, so pass the record's own length to keep one record.
    ///
    /// Returns what the creator returns. For fewer than four bytes, an unknown identifier, or an
    /// InvalidMessageException from the creator: null or a new InvalidMessage of the same bytes, as
    /// the policy says. Every other exception passes through.
    static MessageBase* readFromByteArray(const uint8_t* psrc, size_t len);

    // ---- Text --------------------------------------------------------------------------------

    // Two spellings, told apart by one capital: printTimestamp has the fixed form, printTimeStamp
    // the form whose time zone and precision the caller chooses.

    /// Writes `YYYY-MM-DD HH:MM:SS.uuuuuu` in UTC. The whole seconds are taken modulo 2^32, so that
    /// the calendar begins anew in 2106; where time_t has 32 bits, counts from 2^31 (2038) on show
    /// as dates before 1970. The stream's width is 0 afterwards.
    /// @{
    static void printTimestamp(std::ostream& os, timeStamp_t ts);
    static std::string printTimestamp(timeStamp_t _timeStamp);
    /// @}

    /// The same in UTC or in the process's local time, with `precision` digits (0 to 6; more acts
    /// as 6) that are cut off, never rounded. With 0 the text ends with the seconds and the
    /// stream's width is left alone.
    static std::ostream& printTimeStamp(std::ostream& os, timeStamp_t stamp, bool utc,
                                        uint8_t precision);

    /// This message's own timestamp in the fixed form. Not const: that is part of the interface.
    /// @{
    void printTimestamp(std::ostream& os);
    std::string printTimestamp();
    /// @}

    /// Writes `text` with printable ASCII as it is, the backslash doubled and any other byte as
    /// `\x` and two lowercase hexadecimal digits. Leaves the stream's width alone.
    static std::ostream& printPrintable(std::ostream& os, const std::string& text);

    /// Writes the elements as unsigned 16-bit numbers, one blank between them, each at least two
    /// characters wide, in the stream's base, case, prefix, adjustment and fill, but never with
    /// the digit grouping of its locale. Nothing at all for an empty range; otherwise the stream's
    /// width is 0 afterwards. Works with single-pass iterators.
    template <class Iterator>
    static void dumpData(std::ostream& os, Iterator from, Iterator to) {
        if constexpr (std::is_same_v<Iterator, byteVec_t::iterator>) {
            dumpData(os, byteVec_t::const_iterator(from), byteVec_t::const_iterator(to));
        } else if constexpr (std::is_same_v<Iterator, uint8_t*>) {
            dumpData<const uint8_t*>(os, from, to);
        } else {
            for (bool first = true; from != to; ++from, first = false) {
                dumpElement(os, static_cast<uint16_t>(*from), first);
            }
        }
    }
    /// The same text for bytes: those of a vector, or `len` readable ones.
    /// @{
    static void dumpData(std::ostream& os, byteVec_t::const_iterator from,
                         byteVec_t::const_iterator to);
    static void dumpData(std::ostream& os, const uint8_t* data, size_t len);
    /// @}

protected:
    /// Any identifier and any time; the other fields are empty or 0.
    explicit MessageBase(msgid_t _msgid, timeStamp_t _timeStamp);
    /// Explicit and protected: only a derived class copies its base part, and never by slicing.
    /// @{
    explicit MessageBase(const MessageBase& mb) = default;
    explicit MessageBase(MessageBase&& mb) = default;
    MessageBase& operator=(const MessageBase& mb) = default;
    MessageBase& operator=(MessageBase&& mb) = default;
    /// @}

    /// Ends the process, also where the line cannot be written.
    [[noreturn]] static void reportInvalidVersion(uint8_t _version) noexcept;

    /// The header version of this library.
    static constexpr uint8_t version = 1;

    /// What the accessors of these names give; for creators and encoders of derived classes.
    /// @{
    msgid_t msgid;
    uint16_t headerReserved = 0;
    timeStamp_t timeStamp;
    uint32_t sourceChannelIDMbnr = 0;
    /// @}

private:
    static void dumpElement(std::ostream& os, uint16_t element, bool first);
};

/// Asks the first operand's class, for operands of any two message classes. C++20 considers == with
/// its operands exchanged as well, and would find the members of both classes equally good. In C++20
/// g++ before 13 and clang before 16 ask the second one's where the first is a MessageBase as it is
/// written and the second is not: there an operator!= does not yet keep the exchanged one away.
template <class A, class B>
std::enable_if_t<std::is_convertible_v<const A*, const MessageBase*> &&
                     std::is_convertible_v<const B*, const MessageBase*>,
                 bool>
operator==(const A& a, const B& b) {
    return static_cast<const MessageBase&>(a) == static_cast<const MessageBase&>(b);
}

/// Plain bytes are dumped in large pieces; the text is the same.
template <>
VEK_EXPORT void MessageBase::dumpData<const uint8_t*>(std::ostream& os, const uint8_t* from,
                                                      const uint8_t* to);

inline void MessageBase::dumpData(std::ostream& os, byteVec_t::const_iterator from,
                                  byteVec_t::const_iterator to) {
    if (from != to) {
        dumpData(os, &*from, static_cast<size_t>(to - from));
    }
}

inline void MessageBase::dumpData(std::ostream& os, const uint8_t* data, size_t len) {
    dumpData(os, data, data + len);
}

/// Writes the common text: `source` and ": " unless it is empty, then the timestamp in UTC with
/// six digits. Never more than that, whatever the class of the message: its full text is print's.
VEK_EXPORT std::ostream& operator<<(std::ostream& os, const MessageBase& m);

/// Writes "PortDirUnknown", "In " (as wide as "Out") or "Out" as an ordinary text insertion; for
/// any other value what printUnknownEnum writes.
VEK_EXPORT std::ostream& operator<<(std::ostream& os, const MessageBase::portDirection_t& pd);

/// Stands in for a record that could not be decoded, and keeps its timestamp, identifier, payload
/// and the reason. The byte vector that it is holds the payload: the bytes behind the header.
class VEK_EXPORT InvalidMessage : public MessageBase, public byteVec_t {
public:
    /// Never fails on content. Header bytes beyond `len` count as 0; the record's size field and
    /// reserved word are not looked at; a payload above 65536 bytes is cut (see isOverflow). The
    /// bytes are copied; `data` may be null when `len` is 0.
    InvalidMessage(const uint8_t* data, size_t len);

    InvalidMessage* clone() const override;

    /// The identifier that the record carried; the message's own is MSGID_INVALID.
    uint16_t getOriginalMsgId() const { return originalMsgId; }
    /// The payload, not the base's rawData.
    const byteVec_t& getRawData() const { return *this; }
    /// Whether the payload was longer than what is kept.
    bool isOverflow() const { return overflow; }

    /// Why the record could not be decoded; IM_INVALID_MSGID until it is set.
    /// @{
    invalidMessageCause_t getCause() const { return cause; }
    void setCause(invalidMessageCause_t _cause) { cause = _cause; }
    /// @}
    /// The title in the text form, at first "Invalid Message".
    const std::string& getDescription() const { return description; }
    /// `text` is copied and must not be null.
    void setDescription(const char* text) { description = text; }
    /// 0 and empty until setInvalidEnumValue is called.
    /// @{
    uint16_t getInvalidEnumValue() const { return invalidEnumValue; }
    const std::string& getInvalidEnumDescription() const { return enumDescription; }
    /// @}
    /// Also sets the cause to IM_INVALID_ENUM_VALUE. `text` is anything that can be assigned to a
    /// string; when there is no memory for it, only the value has changed.
    template <class S>
    void setInvalidEnumValue(uint16_t value, S&& text) {
        invalidEnumValue = value;
        enumDescription = std::forward<S>(text);
        cause = IM_INVALID_ENUM_VALUE;
    }

    /// Always false, also for the same object.
    bool operator==(const MessageBase& other) const override;

    /// The text of the output operator below.
    std::ostream& print(std::ostream& os) const override;
    std::string toString() const override;

private:
    // No copy, move or destructor is declared: the implicit ones are what is wanted.

    // The encoding functions are reached through MessageBase; they are private since what they
    // report is not the record that was read.

    static constexpr char INVALID_TXT[16] = "Invalid Message";
    static constexpr size_t MAX_ALLOC = 0x10000;

    /// A creator of this class.
    static MessageBase* readFromByteArray(const uint8_t* data, size_t len);

    /// Takes identifier and timestamp of a whole header.
    void readHeader(const uint8_t* header);

    /// Writes the header only, then copies the base's rawData (not the payload) behind it,
    /// unchecked, and returns payload length + 14 whatever was written: this is meant.
    size_t writeToByteArray(uint8_t*& data, size_t maxLen, bool sync) const override;

    /// Payload length + 14: counts the whole header, 2 more than other messages do. This is meant.
    size_t getSize() const override;

    uint16_t originalMsgId = 0;
    uint16_t invalidEnumValue = 0;
    std::string enumDescription;
    std::string description = INVALID_TXT;
    invalidMessageCause_t cause = IM_INVALID_MSGID;
    bool overflow = false;
};

/// Writes one line without its end: the common text, the title, the record's identifier, the
/// reason, the payload's length and its bytes in hexadecimal.
VEK_EXPORT std::ostream& operator<<(std::ostream& os, const InvalidMessage& im);
