// Eight threads at once: after start-up, distinct objects need no lock.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <sstream>
#include <streambuf>
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

// ---- A million operations ----------------------------------------------------------------------

/// A stream into memory of its own that is used again and again: a string stream for every text
/// would mostly count references to its locale.
class Page : private std::streambuf, public std::ostream {
public:
    Page() : std::ostream(this) {}
    std::ostream& turned() {
        setp(text, text + sizeof text);
        return *this;
    }
    std::string_view content() const { return {pbase(), static_cast<size_t>(pptr() - pbase())}; }

private:
    char text[4096];
};

/// What a thread works with alone, and the result of its last operation.
struct Desk {
    Page page;
    byteVec_t buffer;
    std::string result;
};

using Operation = std::function<void(Desk&)>;

std::unique_ptr<MessageBase> decode(const byteVec_t& record) {
    return std::unique_ptr<MessageBase>(
        MessageBase::readFromByteArray(record.data(), record.size()));
}

void keepText(Desk& desk) { desk.result = desk.page.content(); }

void encode(Desk& desk, const MessageBase& message) {
    const size_t length = message.createByteArray(desk.buffer, true, false);
    desk.result.assign(desk.buffer.begin(), desk.buffer.end());
    desk.result += std::to_string(length);
}

void print(Desk& desk, const MessageBase& message) {
    message.print(desk.page.turned());
    keepText(desk);
}

/// Decoding a record, and each thing that can be done with the message, which all threads share.
void addOperations(std::vector<Operation>& operations, const byteVec_t& record,
                   const MessageBase& shared) {
    operations.push_back([&record](Desk& desk) { encode(desk, *decode(record)); });
    operations.push_back([&record](Desk& desk) { desk.result = decode(record)->toString(); });
    operations.push_back([&shared](Desk& desk) { encode(desk, shared); });
    operations.push_back([&shared](Desk& desk) { print(desk, shared); });
    operations.push_back([&shared](Desk& desk) { desk.result = shared.toString(); });
    operations.push_back([&shared](Desk& desk) {
        const std::unique_ptr<MessageBase> copy(shared.clone());
        copy->source = "copy";
        copy->setTimeStamp(copy->getTimeStamp() + 1);
        print(desk, *copy);
    });
    operations.push_back([&shared](Desk& desk) {
        desk.result = shared.getSourceChannel() + std::to_string(shared.getSourceChannelID()) +
                      (shared == shared ? "equal" : "unequal");
    });
}

void addTimestamps(std::vector<Operation>& operations) {
    for (const timeStamp_t stamp :
         {timeStamp_t{0}, timeStamp_t{1234567890123456}, ~timeStamp_t{0}}) {
        operations.push_back(
            [stamp](Desk& desk) { desk.result = MessageBase::printTimestamp(stamp); });
        operations.push_back([stamp](Desk& desk) {
            MessageBase::printTimestamp(desk.page.turned(), stamp);
            keepText(desk);
        });
        operations.push_back([stamp](Desk& desk) {
            MessageBase::printTimeStamp(desk.page.turned(), stamp, false, 3);
            keepText(desk);
        });
    }
}

void addOtherText(std::vector<Operation>& operations, const byteVec_t& data) {
    operations.push_back([&data](Desk& desk) {
        MessageBase::dumpData(desk.page.turned(), data.begin(), data.end());
        keepText(desk);
    });
    operations.push_back([](Desk& desk) {
        desk.page.turned() << MessageBase::PORT_DIR_IN << MessageBase::PORT_DIR_NUM << tm{};
        MessageBase::printPrintable(desk.page, "a\\b\n");
        keepText(desk);
    });
}

std::string resultOf(const Operation& operation) {
    Desk desk;
    operation(desk);
    return desk.result;
}

TEST(Threads, EightDoAMillionOperationsEachAndGetWhatOneGets) {
    constexpr size_t OPERATIONS = 1000000;
    const LibrarySettings settings;
    const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    MessageBase::registerMessages();
    MessageBase::registerMessage(MSGID_CAN, TestMessage::readFromByteArray);
    MessageBase::registerMessage(MSGID_LIN, throwingCreator);
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    const std::vector<byteVec_t> records = {
        bytes("00 0C 80 20 BE EF 00 04 05 06 07 08 09 0A"),
        bytes("00 0C 80 21 BE EF 00 04 05 06 07 08 09 0A"),
        bytes("00 0E 00 01 BE EF 00 04 05 06 07 08 09 0A AA BB"),
        bytes("00 0E 00 06 BE EF 00 04 05 06 07 08 09 0A AA BB"),
        bytes("00 0E 12 34 BE EF 00 04 05 06 07 08 09 0A AA BB"),
        bytes("00 0E 12"),
    };
    std::vector<std::unique_ptr<MessageBase>> messages;
    std::vector<Operation> operations;
    for (const byteVec_t& record : records) {
        messages.push_back(decode(record));
        addOperations(operations, record, *messages.back());
    }
    addTimestamps(operations);
    addOtherText(operations, records[0]);
    // Each thread has steps of its own length, so that all pairs of operations meet.
    for (size_t step = 2; step <= THREADS; ++step) {
        ASSERT_NE(operations.size() % step, 0u) << "a thread would leave operations out";
    }
    std::vector<std::string> expected;
    for (const Operation& operation : operations) {
        expected.push_back(resultOf(operation));
    }

    std::atomic<int> waiting{THREADS};
    std::atomic<size_t> done{0};
    std::atomic<int> differences{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([&, t] {
            Desk desk;
            --waiting;
            while (waiting != 0) {
                std::this_thread::yield();
            }
            size_t next = static_cast<size_t>(t);
            for (size_t i = 0; i < OPERATIONS; ++i) {
                next = (next + 1 + static_cast<size_t>(t)) % operations.size();
                operations[next](desk);
                if (desk.result != expected[next]) {
                    ++differences;
                }
            }
            done += OPERATIONS;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(differences, 0);
    EXPECT_EQ(done, OPERATIONS * THREADS);
}

}  // namespace
