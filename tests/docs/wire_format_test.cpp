#include <memory>

#include "docs/Literals.h"
#include "libvektrace/SimpleMessage.h"
#include "support/Settings.h"
#include "support/TestMessage.h"
#include "support/hex.h"

namespace {

constexpr timeStamp_t STAMP = 0x0102030405060708;

std::string recordOf(const MessageBase& message, bool sync) {
    byteVec_t record;
    message.createByteArray(record, sync, false);
    return hex(record);
}

void addRecords(Literals& literals) {
    const SimpleMessage<MSGID_START> start(STAMP);
    literals.add("without marker", recordOf(start, false));
    literals.add("with marker", recordOf(start, true));

    TestMessage message(MSGID_TTY, STAMP, bytes("DE AD BE"));
    message.setHeaderReserved(0xCAFE);
    literals.add("payload DE AD BE, reserved word 0xCAFE", recordOf(message, false));

    byteVec_t stream = bytes("11 22 33 44 55");
    start.createByteArray(stream, true, true);
    literals.add("with marker, appended to 11 22 33 44 55", hex(stream));
}

// ---- Sizes -------------------------------------------------------------------------------------

/// Answers any size, and notes for how many bytes there is room instead of writing any.
class RoomMessage : public SizedMessage {
public:
    using SizedMessage::SizedMessage;
    size_t writeToByteArray(uint8_t*& /*pdest*/, size_t buflen, bool /*sync*/) const override {
        room = buflen;
        return buflen;
    }
    mutable size_t room = 0;
};

/// The room for a record, or the line on the standard error stream.
std::string roomFor(size_t size, bool sync) {
    const RoomMessage message(size);
    byteVec_t record;
    const CapturedErrors errors;
    if (message.createByteArray(record, sync, false) != 0) {
        EXPECT_EQ(record.size(), message.room);
        return std::to_string(message.room) + " bytes";
    }
    const std::string line = errors.str();
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    return line.substr(0, line.size() - 1);
}

void addSizes(Literals& literals) {
    for (const size_t size : {12U, 65535U, 65536U, 65537U, 65540U}) {
        literals.add("size field for getSize() " + std::to_string(size),
                     recordOf(SizedMessage(size), false).substr(0, 5));
    }
    for (const size_t size : {7U, 8U, 9U, 10U, 12U, 65540U, 65541U}) {
        literals.add("getSize() " + std::to_string(size), roomFor(size, false));
        literals.add("getSize() " + std::to_string(size) + " and marker", roomFor(size, true));
    }
}

// ---- Source channel ID -------------------------------------------------------------------------

std::string hexNumber(uint64_t number) {
    uint8_t record[8];
    uint64ToByteArray(record, number);
    return hex(record, sizeof record);
}

void addSourceChannelIds(Literals& literals) {
    literals.add("BUSID_LIN (5), channel 2, mbnr 0x12345678",
                 hexNumber(MessageBase::getSourceChannelID(BUSID_LIN, 2, 0x12345678)));
    literals.add("no bus channel", hexNumber(SizedMessage(12).getSourceChannelID()));
}

// ---- Undecodable records -----------------------------------------------------------------------

std::unique_ptr<MessageBase> decodeUnknown(const byteVec_t& record) {
    const LibrarySettings settings;
    MessageBase::creators.clear();
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    return std::unique_ptr<MessageBase>(
        MessageBase::readFromByteArray(record.data(), record.size()));
}

void addUndecodableRecords(Literals& literals) {
    byteVec_t record;
    TestMessage original(static_cast<msgid_t>(0x0AB5), STAMP, bytes("DE AD BE EF"));
    original.setHeaderReserved(7);
    original.createByteArray(record, false, false);
    literals.add("the record as it was read", hex(record));

    const auto message = decodeUnknown(record);
    literals.add("written back", recordOf(*message, false));
    literals.add("written back with marker", recordOf(*message, true));
    literals.add("result of either", std::to_string(message->createByteArray(false, false)));
    EXPECT_EQ(message->createByteArray(true, false), message->createByteArray(false, false));

    message->createByteArray(record, false, false);
    literals.add("read and written back once more", recordOf(*decodeUnknown(record), false));

    message->rawData = bytes("11 22");
    literals.add("written back with rawData 11 22", recordOf(*message, false));

    uint8_t buffer[4] = {};
    uint8_t* pdest = buffer;
    message->rawData.clear();
    literals.add("result of writing it back into 4 bytes",
                 std::to_string(message->writeToByteArray(pdest, sizeof buffer, false)));
    EXPECT_EQ(pdest, buffer);
}

void addCutRecords(Literals& literals) {
    for (const size_t length : {65526U, 65527U}) {
        const CapturedErrors errors;
        byteVec_t record;
        const auto message = decodeUnknown(byteVec_t(14 + length));
        message->createByteArray(record, false, false);
        literals.add("written back, payload of " + std::to_string(length) + " bytes",
                     record.empty() ? errors.str().substr(0, errors.str().size() - 1)
                                    : std::to_string(record.size()) + " bytes");
    }
}

TEST(WireFormatDocument, HoldsTheBytesThatTheLibraryWrites) {
    Literals literals;
    addRecords(literals);
    addSizes(literals);
    addSourceChannelIds(literals);
    addUndecodableRecords(literals);
    addCutRecords(literals);
    literals.expectIn(DOCUMENTS "/wire-format.md");
}

}  // namespace
