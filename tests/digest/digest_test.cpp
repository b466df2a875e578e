// Everything that the libraries put out is the same on every platform: each case makes a lot of
// output from seeded numbers and compares its digest with the literal that holds everywhere. What
// the output should be is told by the tests of the single operations.

#include <gtest/gtest.h>

#include <forward_list>
#include <iomanip>
#include <iostream>
#include <memory>
#include <random>

#include "digest/Digest.h"
#include "libvekstream/RecordScanner.h"
#include "libvekstream/decodeRecord.h"
#include "libvekstream/messageName.h"
#include "libvektrace/SimpleMessage.h"
#include "support/Settings.h"
#include "support/TestMessage.h"

namespace {

// Of this generator the standard tells every number; of its distributions it does not. Where two
// numbers are drawn they are drawn in statements of their own, as arguments have no order.
using random_t = std::mt19937_64;

// Up to here a signed time_t of 32 bits goes.
constexpr timeStamp_t END_OF_31_BITS = 2147483648000000;
constexpr timeStamp_t END_OF_32_BITS = 4294967296000000;

size_t below(random_t& random, size_t limit) { return static_cast<size_t>(random() % limit); }
timeStamp_t timeBelow(random_t& random, timeStamp_t limit) { return random() % limit; }

byteVec_t someBytes(random_t& random, size_t count) {
    byteVec_t bytes(count);
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(random() >> 56);
    }
    return bytes;
}

void expectDigest(const Digest& digest, uint64_t expected) {
    std::cout << "digest 0x" << std::hex << digest.value() << std::dec << '\n';
    EXPECT_EQ(digest.value(), expected) << std::hex << "0x" << digest.value();
}

TEST(DigestOf, BigEndianNumbersAtEveryAddress) {
    random_t random(1);
    Digest digest;
    for (int i = 0; i < 2000; ++i) {
        byteVec_t bytes = someBytes(random, 24);
        uint8_t* const at = bytes.data() + below(random, 16);
        digest.number(byteArrayToUint16(at));
        digest.number(byteArrayToUint32(at));
        digest.number(byteArrayToUint64(at));
        const uint64_t value = random();
        uint64_t swapped = (htonll)(value);
        digest.number((ntohll)(swapped));
        byteVec_t inMemory(sizeof swapped);
        std::memcpy(inMemory.data(), &swapped, sizeof swapped);
        digest.add(inMemory);
        uint16ToByteArray(at, static_cast<uint16_t>(value));
        digest.add(bytes);
        uint32ToByteArray(at, static_cast<uint32_t>(value));
        digest.add(bytes);
        uint64ToByteArray(at, value);
        digest.add(bytes);
    }
    expectDigest(digest, 0x2d65a5b7a62d75dd);
}

// ---- Records -------------------------------------------------------------------------------------

template <msgid_t id>
void addSimpleMessage(random_t& random, Digest& digest) {
    for (int i = 0; i < 50; ++i) {
        SimpleMessage<id> message(timeBelow(random, END_OF_31_BITS));
        message.setHeaderReserved(static_cast<uint16_t>(random()));
        byteVec_t record;
        digest.number(message.createByteArray(record, i % 2 == 0, false));
        digest.add(record);
        message.source = std::string(below(random, 9), 's');
        digest.add(message.toString());
    }
}

TEST(DigestOf, SimpleMessagesAndTheirTexts) {
    random_t random(2);
    Digest digest;
    addSimpleMessage<MSGID_STARTUP>(random, digest);
    addSimpleMessage<MSGID_DATALOGGINGSTARTED>(random, digest);
    addSimpleMessage<MSGID_DATALOGGINGSTOPPED>(random, digest);
    addSimpleMessage<MSGID_GETVERSION>(random, digest);
    addSimpleMessage<MSGID_GETTIME>(random, digest);
    addSimpleMessage<MSGID_TIMEJUMP>(random, digest);
    addSimpleMessage<MSGID_START>(random, digest);
    addSimpleMessage<MSGID_STOP>(random, digest);
    addSimpleMessage<MSGID_TRIGGERCLEAR>(random, digest);
    addSimpleMessage<MSGID_CUSTOMER>(random, digest);
    expectDigest(digest, 0x5a546028c70e42bd);
}

TEST(DigestOf, EncodedRecordsOfAnySize) {
    const CapturedErrors errors;
    random_t random(3);
    Digest digest;
    byteVec_t trace;
    for (int i = 0; i < 1000; ++i) {
        const auto id = static_cast<msgid_t>(random());
        const timeStamp_t stamp = random();
        TestMessage message(id, stamp, someBytes(random, below(random, 300)));
        message.setHeaderReserved(static_cast<uint16_t>(random()));
        digest.number(message.createByteArray(trace, i % 3 != 0, true));
    }
    digest.add(trace);
    for (size_t size = 65500; size < 65560; ++size) {
        byteVec_t record;
        digest.number(SizedMessage(size).createByteArray(record, size % 2 == 0, false));
        digest.number(record.size());
        digest.number(record.size() < 16 ? 0 : byteArrayToUint64(record.data()));
    }
    digest.add(errors.str());
    for (int i = 0; i < 100; ++i) {
        byteVec_t record = someBytes(random, 20);
        MessageBase::setTimeStamp(record, random());
        digest.add(record);
        digest.number(MessageBase::getMessageSize(record.data()));
        digest.number(MessageBase::getMessageId(record));
        digest.number(MessageBase::getTimeStamp(record));
    }
    expectDigest(digest, 0xb0ce614c137c80f2);
}

TEST(DigestOf, SourceChannels) {
    random_t random(4);
    Digest digest;
    for (int i = 0; i < 2000; ++i) {
        const auto bus = static_cast<busid_t>(below(random, BUSID_NUM));
        const uint64_t number = random();
        const uint64_t id = MessageBase::getSourceChannelID(bus, static_cast<uint8_t>(number >> 32),
                                                            static_cast<uint32_t>(number));
        busid_t foundBus;
        uint8_t channel;
        uint32_t mbnr;
        MessageBase::getBusAndChannelFromSourceID(id, foundBus, channel, mbnr);
        digest.number(id);
        digest.number(static_cast<uint64_t>(foundBus));
        digest.number(channel);
        digest.number(mbnr);
    }
    expectDigest(digest, 0x71342e3059340367);
}

// ---- Messages that cannot be decoded -------------------------------------------------------------

MessageBase* refuse(const uint8_t* data, size_t len) {
    throw InvalidMessageException(static_cast<invalidMessageCause_t>(data[len - 1] % 8),
                                  "an enumeration", static_cast<uint16_t>(len * 259));
}

TEST(DigestOf, DecodedAndInvalidMessages) {
    const LibrarySettings settings;
    MessageBase::creators.clear();
    MessageBase::registerMessages();
    MessageBase::registerMessage(MSGID_CAN, TestMessage::readFromByteArray);
    MessageBase::registerMessage(MSGID_LIN, refuse);
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    random_t random(5);
    Digest digest;
    for (int i = 0; i < 3000; ++i) {
        constexpr uint16_t IDS[] = {MSGID_CAN, MSGID_LIN, MSGID_STARTUP, MSGID_STOP};
        byteVec_t record = someBytes(random, 80);
        uint16ToByteArray(&record[0], i % 5 == 0 ? 12 : static_cast<uint16_t>(random()));
        if (i % 7 != 0) {
            uint16ToByteArray(&record[2], IDS[i % 4]);
        }
        MessageBase::setTimeStamp(record, timeBelow(random, END_OF_31_BITS));
        // Whatever of a header is cut off counts as 0, so that the time stays below its limit.
        record.resize(below(random, record.size()));
        const std::unique_ptr<MessageBase> message(
            MessageBase::readFromByteArray(record.data(), record.size()));
        std::ostringstream text;
        message->print(text) << '\n' << *message << '\n' << message->toString();
        digest.add(text);
        digest.number(message->getMessageId());
        digest.number(message->getHeaderReserved());
        digest.number(message->getTimeStamp());
        digest.number(message->getSize());
        if (const auto* invalid = dynamic_cast<const InvalidMessage*>(message.get())) {
            digest.number(static_cast<uint64_t>(invalid->getCause()));
            digest.number(invalid->getOriginalMsgId());
            digest.number(invalid->getInvalidEnumValue());
            digest.add(invalid->getRawData());
        }
        byteVec_t encoded;
        digest.number(message->createByteArray(encoded, i % 2 == 0, false));
        digest.add(encoded);
    }
    expectDigest(digest, 0x5737c460109fbd71);
}

// ---- Timestamps ----------------------------------------------------------------------------------

void addTimestamp(Digest& digest, timeStamp_t stamp) {
    std::ostringstream text;
    MessageBase::printTimestamp(text, stamp);
    for (uint8_t precision = 0; precision <= 7; ++precision) {
        for (const bool utc : {true, false}) {
            MessageBase::printTimeStamp(text << '\n', stamp, utc, precision);
        }
    }
    digest.add(text);
}

void addTimestampsAround(Digest& digest, timeStamp_t stamp) {
    for (const timeStamp_t distance : {1U, 999'999U, 1'000'000U}) {
        addTimestamp(digest, stamp - distance);
        addTimestamp(digest, stamp + distance);
    }
    addTimestamp(digest, stamp);
}

TEST(DigestOf, TimestampsUpTo2038) {
    // By a rule and not by a name, of which the files may be missing.
    const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    random_t random(6);
    Digest digest;
    addTimestampsAround(digest, 1'000'000);
    addTimestampsAround(digest, END_OF_31_BITS - 2'000'000);
    // Also beyond 2106, when the calendar begins anew.
    addTimestampsAround(digest, END_OF_32_BITS + 1'000'000);
    for (int i = 0; i < 1000; ++i) {
        const uint64_t round = i % 2 == 0 ? 0 : timeBelow(random, 4000);
        addTimestamp(digest, round * END_OF_32_BITS + timeBelow(random, END_OF_31_BITS));
    }
    expectDigest(digest, 0x90bd7cf7763aeebf);
}

TEST(DigestOf, TimestampsFrom2038) {
    const TimeZone zone("NST3:30NDT,M3.2.0,M11.1.0");
    random_t random(7);
    Digest digest;
    addTimestampsAround(digest, END_OF_31_BITS);
    addTimestampsAround(digest, END_OF_32_BITS);
    addTimestampsAround(digest, ~timeStamp_t{0} - 1'000'000);
    for (int i = 0; i < 1000; ++i) {
        const uint64_t round = i % 2 == 0 ? 0 : timeBelow(random, 4000);
        addTimestamp(digest,
                     round * END_OF_32_BITS + END_OF_31_BITS + timeBelow(random, END_OF_31_BITS));
    }
    // Where time_t has 32 bits these are dates before 1970.
    constexpr uint64_t WITH_64_BITS = 0x890dd9a54c0e2f0a;
    constexpr uint64_t WITH_32_BITS = 0x45f01e7e4034a6b9;
    expectDigest(digest, sizeof(time_t) > 4 ? WITH_64_BITS : WITH_32_BITS);
}

TEST(DigestOf, CalendarTextOfAnyFields) {
    random_t random(8);
    Digest digest;
    for (int i = 0; i < 2000; ++i) {
        tm t{};
        for (int* field : {&t.tm_year, &t.tm_mon, &t.tm_mday, &t.tm_hour, &t.tm_min, &t.tm_sec}) {
            const auto number = static_cast<int32_t>(static_cast<uint32_t>(random()));
            *field = i % 2 == 0 ? number : number % 120;
        }
        std::ostringstream text;
        text << t;
        digest.add(text);
    }
    expectDigest(digest, 0x6decdb1f1d2c8502);
}

// ---- Other texts ---------------------------------------------------------------------------------

TEST(DigestOf, DumpsInEveryLook) {
    random_t random(9);
    Digest digest;
    for (int i = 0; i < 1000; ++i) {
        byteVec_t bytes = someBytes(random, below(random, 100));
        std::ostringstream text;
        if (i % 4 == 0) {
            text << std::hex << std::setfill('0');
        } else {
            constexpr std::ios::fmtflags BASES[] = {std::ios::dec, std::ios::oct, std::ios::hex};
            constexpr std::ios::fmtflags SIDES[] = {std::ios::left, std::ios::right,
                                                    std::ios::internal};
            text.setf(BASES[below(random, 3)], std::ios::basefield);
            text.setf(SIDES[below(random, 3)], std::ios::adjustfield);
            text << (below(random, 2) == 0 ? std::showbase : std::noshowbase)
                 << (below(random, 2) == 0 ? std::uppercase : std::nouppercase)
                 << std::setfill(" 0*"[below(random, 3)])
                 << std::setw(static_cast<int>(below(random, 8)));
        }
        MessageBase::dumpData(text, bytes.data(), bytes.size());
        MessageBase::dumpData(text << '\n', bytes.cbegin(), bytes.cend());
        const std::forward_list<int8_t> signedBytes(bytes.begin(), bytes.end());
        MessageBase::dumpData(text << '\n', signedBytes.begin(), signedBytes.end());
        const std::vector<uint32_t> words(bytes.begin(), bytes.end());
        MessageBase::dumpData(text << '\n', words.begin(), words.end());
        digest.add(text);
    }
    expectDigest(digest, 0xb81f5048ab694153);
}

TEST(DigestOf, PrintableTextAndUnknownValues) {
    random_t random(10);
    Digest digest;
    for (int i = 0; i < 1000; ++i) {
        const byteVec_t bytes = someBytes(random, below(random, 100));
        const auto value = static_cast<int32_t>(static_cast<uint32_t>(random()));
        std::ostringstream text;
        MessageBase::printPrintable(text, std::string(bytes.begin(), bytes.end())) << '\n';
        printUnknownEnum(text << std::showbase << std::hex, value);
        text << static_cast<MessageBase::portDirection_t>(value)
             << static_cast<MessageBase::portDirection_t>(value % 5);
        digest.add(text);
    }
    expectDigest(digest, 0xb19eb852dd19c290);
}

TEST(DigestOf, NamesOfAllIdentifiers) {
    Digest digest;
    for (uint32_t id = 0; id <= 0xffff; ++id) {
        const char* const name = messageName(static_cast<msgid_t>(id));
        digest.add(name == nullptr ? "" : name);
    }
    expectDigest(digest, 0xae3dccd930e262ff);
}

// ---- Traces --------------------------------------------------------------------------------------

byteVec_t someTrace(random_t& random, bool marked) {
    constexpr msgid_t IDS[] = {MSGID_CAN, MSGID_LIN, MSGID_STARTUP, MSGID_ETHERNET_RX};
    byteVec_t trace;
    timeStamp_t stamp = 1'700'000'000'000'000;
    for (size_t i = below(random, 60); i > 0; --i) {
        stamp += timeBelow(random, 1'000'000);
        byteVec_t payload = someBytes(random, below(random, 60));
        if (below(random, 8) == 0) {
            // A record that carries records.
            payload.clear();
            for (size_t inner = 0; inner <= below(random, 3); ++inner) {
                TestMessage(IDS[inner % 4], stamp, someBytes(random, below(random, 9)))
                    .createByteArray(payload, true, true);
            }
        }
        TestMessage(IDS[below(random, 4)], stamp, payload).createByteArray(trace, marked, true);
    }
    return trace;
}

void damage(random_t& random, byteVec_t& trace) {
    for (size_t i = below(random, 8); i > 0 && !trace.empty(); --i) {
        const auto at = trace.begin() + static_cast<std::ptrdiff_t>(below(random, trace.size()));
        const auto room = static_cast<size_t>(trace.end() - at);
        const auto length = static_cast<std::ptrdiff_t>(below(random, std::min(room, size_t{90})));
        switch (below(random, 4)) {
            case 0:
                *at = static_cast<uint8_t>(random());
                break;
            case 1:
                trace.erase(at, at + length);
                break;
            case 2:
                std::fill(at, at + length, static_cast<uint8_t>(0xff * below(random, 2)));
                break;
            default: {
                const byteVec_t bytes = someBytes(random, below(random, 40));
                trace.insert(at, bytes.begin(), bytes.end());
            }
        }
    }
}

TEST(DigestOf, SpansOfDamagedTraces) {
    const LibrarySettings settings;
    MessageBase::registerMessages();
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    random_t random(11);
    Digest digest;
    for (int i = 0; i < 600; ++i) {
        byteVec_t trace = someTrace(random, i % 2 == 0);
        damage(random, trace);
        for (const framing_t framing : {FRAMING_DETECT, FRAMING_MARKED, FRAMING_UNMARKED}) {
            RecordScanner scanner(framing, i % 3 == 0 ? RULE_PREFER_CHAIN : RULE_TRUST_SIZES);
            scanner.setInput(trace.data(), trace.size());
            for (TraceSpan span; scanner.next(span);) {
                digest.number(span.offset);
                digest.number(span.length);
                digest.number(static_cast<uint64_t>(span.reason));
                digest.number(uint64_t{span.marked} << 2 | uint64_t{span.continued} << 1 |
                              uint64_t{span.ambiguous});
                digest.add(gapReasonText(span.reason));
                if (const std::unique_ptr<MessageBase> message = decodeRecord(span)) {
                    digest.number(message->getMessageId());
                    digest.number(message->getTimeStamp());
                }
            }
            digest.number(scanner.position());
            digest.number(scanner.ambiguities());
            digest.number(static_cast<uint64_t>(scanner.framing()));
        }
    }
    expectDigest(digest, 0x6edc44b697fe41a3);
}

}  // namespace
