/// @file
/// Runs one operation a number of times, for its instructions to be counted: instructions CASE N
///
/// Without arguments it lists the cases.

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string_view>

#include "libvektrace/SimpleMessage.h"
#include "support/FixedStream.h"
#include "support/PayloadMessage.h"

namespace {

constexpr timeStamp_t STAMP = 1234567890123456;
constexpr msgid_t UNKNOWN_ID = static_cast<msgid_t>(0x1285);

byteVec_t somePayload(size_t length) {
    byteVec_t bytes(length);
    for (size_t i = 0; i != length; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 37);
    }
    return bytes;
}

byteVec_t recordOf(const MessageBase& message) {
    byteVec_t record;
    message.createByteArray(record, false, true);
    return record;
}

void encode(const MessageBase& message, long times) {
    byteVec_t buffer;
    buffer.reserve(1 << 16);
    while (times-- > 0) {
        buffer.clear();
        message.createByteArray(buffer, false, true);
    }
}

void decode(const byteVec_t& record, long times) {
    while (times-- > 0) {
        delete MessageBase::readFromByteArray(record.data(), record.size());
    }
}

bench::FixedStream& stream() {
    static bench::FixedStream os(1 << 16);
    os.reset();
    return os;
}

void encodeHeader(long times) { encode(SimpleMessage<MSGID_STARTUP>(STAMP), times); }

void encode64(long times) { encode(bench::PayloadMessage(STAMP, somePayload(64)), times); }

void decodeHeader(long times) { decode(recordOf(SimpleMessage<MSGID_STARTUP>(STAMP)), times); }

void decode64(long times) {
    decode(recordOf(bench::PayloadMessage(STAMP, somePayload(64))), times);
}

void decodeUnknown(long times) {
    byteVec_t record = recordOf(bench::PayloadMessage(STAMP, somePayload(16)));
    uint16ToByteArray(record.data() + MessageBase::MO_MSGID, UNKNOWN_ID);
    decode(record, times);
}

void printStamp(long times) {
    while (times-- > 0) {
        MessageBase::printTimestamp(stream(), STAMP);
    }
}

void dump1400(long times) {
    const byteVec_t bytes = somePayload(1400);
    stream() << std::hex;
    stream().fill('0');
    while (times-- > 0) {
        MessageBase::dumpData(stream(), bytes.data(), bytes.size());
    }
}

void printInvalid(long times) {
    byteVec_t record = recordOf(bench::PayloadMessage(STAMP, somePayload(8)));
    uint16ToByteArray(record.data() + MessageBase::MO_MSGID, UNKNOWN_ID);
    const InvalidMessage message(record.data(), record.size());
    while (times-- > 0) {
        static_cast<void>(message.toString());
    }
}

struct Case {
    std::string_view name;
    void (*run)(long times);
};

constexpr Case CASES[] = {
    {"encode-header", encodeHeader},   {"encode-64", encode64},
    {"decode-header", decodeHeader},   {"decode-64", decode64},
    {"decode-unknown", decodeUnknown}, {"timestamp-stream", printStamp},
    {"dump-1400", dump1400},           {"invalid-string", printInvalid},
};

}  // namespace

int main(int argc, char** argv) {
    if (argc == 1) {
        for (const Case& c : CASES) {
            std::cout << c.name << '\n';
        }
        return 0;
    }
    MessageBase::registerMessages();
    MessageBase::registerMessage(bench::PayloadMessage::ID,
                                 bench::PayloadMessage::readFromByteArray);
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    for (const Case& c : CASES) {
        if (argc == 3 && c.name == argv[1]) {
            c.run(std::strtol(argv[2], nullptr, 10));
            return 0;
        }
    }
    std::cerr << "usage: instructions [CASE TIMES]\n";
    return 2;
}
