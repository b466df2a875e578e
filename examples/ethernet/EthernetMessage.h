/// @file
/// An example of a concrete message class: a frame that an Ethernet port of the logger saw.
///
/// The layout of its payload is this example's own and no part of the trace format, and so is that
/// frames of both directions have the identifier MSGID_ETHERNET_RX. It shows what a class with a
/// payload provides: offsets, a creator, and an override of every virtual function.
#pragma once

#include <iosfwd>
#include <string>

#include "libvektrace/MessageBase.h"

/// Final, so that a cast to it finds exactly this class and comparing is symmetric.
class EthernetMessage final : public MessageBase {
public:
    /// Offsets of the payload's fields, counted like those of the header. Big-endian:
    ///
    ///       14        15          16                20
    ///     +---------+-----------+-----------------+-----------
    ///     | channel | direction | original length | frame ...
    ///     +---------+-----------+-----------------+-----------
    ///
    /// `frame` is what was captured, `original length` counts the bytes that were on the wire.
    static constexpr size_t MO_CHANNEL = MO_BASE_DERIVED;
    static constexpr size_t MO_DIRECTION = MO_CHANNEL + sizeof(uint8_t);
    static constexpr size_t MO_ORIGINAL_LENGTH = MO_DIRECTION + sizeof(uint8_t);
    static constexpr size_t MO_FRAME = MO_ORIGINAL_LENGTH + sizeof(uint32_t);

    /// The size field counts everything behind itself and holds 16 bits.
    static constexpr size_t MAX_FRAME_LENGTH = UINT16_MAX - (MO_FRAME - MO_MSGID);

    /// Throws std::invalid_argument for what a record cannot carry: a direction outside the
    /// enumeration, a frame above MAX_FRAME_LENGTH or longer than it originally was. So every
    /// object can be encoded, and decoding gives an equal one.
    EthernetMessage(timeStamp_t _timeStamp, uint8_t _channel, portDirection_t _direction,
                    uint32_t _originalLength, byteVec_t _frame);

    /// The creator. Restores reserved word and timestamp; the record's identifier is not looked at.
    /// Throws InvalidMessageException: IM_INVALID_LEN when the size field contradicts `len` or
    /// leaves no room for the fields in front of the frame, IM_INVALID_ENUM_VALUE for a direction
    /// outside the enumeration, IM_INVALID_PARAMETER for a frame longer than it originally was.
    static MessageBase* readFromByteArray(const uint8_t* data, size_t len);

    uint8_t getChannel() const { return channel; }
    portDirection_t getDirection() const { return direction; }
    uint32_t getOriginalLength() const { return originalLength; }
    const byteVec_t& getFrame() const { return frame; }

    EthernetMessage* clone() const override;

    /// Other than the base, counts the marker too: nothing is written, and 0 returned, unless all
    /// of the record has room.
    size_t writeToByteArray(uint8_t*& pdest, size_t buflen, bool sync) const override;
    size_t getSize() const override;

    /// Equal when everything that the record carries is.
    bool operator==(const MessageBase& other) const override;

    /// Writes the common text, two blanks, source channel, direction, source and destination
    /// address, the two bytes behind them (EtherType or length) and the number of bytes.
    std::ostream& print(std::ostream& os) const override;
    std::string toString() const override;

    /// "ETHERNET " and the channel number.
    std::string getSourceChannel() const override;
    uint64_t getSourceChannelID() const override;
    /// Modulo 256, which is what the record holds of a channel.
    void cascadeChannel(uint16_t offset) override;

private:
    /// What print adds to the common text.
    std::string describe() const;

    uint8_t channel;
    portDirection_t direction;
    uint32_t originalLength;
    byteVec_t frame;
};
