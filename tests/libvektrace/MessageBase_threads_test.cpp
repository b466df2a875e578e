// Eight threads at once: after start-up, distinct objects need no lock.

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <sstream>
#include <thread>
#include <vector>

#include "libvektrace/MessageBase.h"
#include "libvektrace/SimpleMessage.h"
#include "support/Settings.h"
#include "support/TestMessage.h"
#include "support/hex.h"

namespace {

constexpr int THREADS = 8;
constexpr int ROUNDS = 2000;

MessageBase* throwingCreator(const uint8_t*, size_t) {
    throw InvalidMessageException(IM_INVALID_ENUM_VALUE, "colour", 7);
}

/// Decodes, encodes again and renders one record; the text and bytes, so that any difference
/// between threads shows.
std::string roundTrip(const byteVec_t& record) {
    const std::unique_ptr<MessageBase> message(
        MessageBase::readFromByteArray(record.data(), record.size()));
    std::ostringstream os;
    message->print(os);
    os << '|' << message->toString() << '|';
    MessageBase::printTimeStamp(os, message->getTimeStamp(), false, 3);
    byteVec_t encoded;
    message->createByteArray(encoded, true, false);
    os << '|' << std::hex;
    MessageBase::dumpData(os, encoded.begin(), encoded.end());
    return os.str();
}

TEST(Threads, EightDecodeEncodeAndRenderAtOnceAndGetWhatOneGets) {
    const LibrarySettings settings;
    MessageBase::registerMessages();
    MessageBase::registerMessage(MSGID_CAN, TestMessage::readFromByteArray);
    MessageBase::registerMessage(MSGID_LIN, throwingCreator);
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    const std::vector<byteVec_t> records = {
        bytes("00 0C 80 20 BE EF 00 04 05 06 07 08 09 0A"),
        bytes("00 0E 00 01 BE EF 00 04 05 06 07 08 09 0A AA BB"),
        bytes("00 0E 00 06 BE EF 00 04 05 06 07 08 09 0A AA BB"),
        bytes("00 0E 12 34 BE EF 00 04 05 06 07 08 09 0A AA BB"),
        bytes("00 0E 12"),
    };
    std::vector<std::string> expected;
    for (const byteVec_t& record : records) {
        expected.push_back(roundTrip(record));
    }

    std::atomic<int> differences{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < ROUNDS; ++round) {
                const size_t i = static_cast<size_t>(round + t) % records.size();
                differences += roundTrip(records[i]) == expected[i] ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(differences, 0);
}

TEST(Threads, OneMessageIsEncodedByManyAtOnce) {
    const TestMessage message(MSGID_CAN, 5, byteVec_t(64, 0xAB));
    byteVec_t expected;
    message.createByteArray(expected, true, false);
    std::atomic<int> differences{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([&] {
            byteVec_t buffer;
            for (int round = 0; round < ROUNDS; ++round) {
                message.createByteArray(buffer, true, false);
                differences += buffer == expected ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(differences, 0);
}

}  // namespace
