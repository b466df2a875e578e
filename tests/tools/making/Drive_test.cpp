#include "tools/vektrace/making/Drive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "libvekstream/RecordScanner.h"
#include "libvekstream/decodeRecord.h"
#include "support/Settings.h"

using namespace vek::program;

namespace {

constexpr timeStamp_t START = 1'767'254'400'000'000;

DrivePlan lasting(uint64_t length, uint64_t seed = 1) {
    DrivePlan plan;
    plan.seed = seed;
    plan.start = START;
    plan.length = length;
    return plan;
}

DrivePlan sized(uint64_t size, bool marked = true) {
    DrivePlan plan;
    plan.start = START;
    plan.size = size;
    plan.marked = marked;
    return plan;
}

byteVec_t make(const DrivePlan& plan) {
    Drive drive(plan);
    byteVec_t trace;
    while (drive.next(trace)) {}
    return trace;
}

/// FNV-1a.
uint64_t digest(const byteVec_t& bytes) {
    uint64_t hash = 0xcbf29ce484222325;
    for (const uint8_t byte : bytes) {
        hash = (hash ^ byte) * 0x100000001b3;
    }
    return hash;
}

struct Read {
    msgid_t id;
    timeStamp_t time;
    size_t payload;
};

/// The records of a trace that must have no gaps.
std::vector<Read> recordsOf(const byteVec_t& trace, bool marked = true) {
    RecordScanner scanner(marked ? FRAMING_MARKED : FRAMING_UNMARKED);
    scanner.setInput(trace.data(), trace.size());
    std::vector<Read> records;
    TraceSpan span;
    while (scanner.next(span)) {
        EXPECT_TRUE(span.isRecord()) << "a gap at " << span.offset;
        if (span.isRecord()) {
            records.push_back({MessageBase::getMessageId(span.record()),
                               MessageBase::getTimeStamp(span.record()),
                               span.recordLength() - MessageBase::MO_BASE_DERIVED});
        }
    }
    EXPECT_EQ(scanner.ambiguities(), 0u);
    return records;
}

size_t countOf(const std::vector<Read>& records, msgid_t id) {
    return static_cast<size_t>(std::count_if(records.begin(), records.end(),
                                             [id](const Read& read) { return read.id == id; }));
}

}  // namespace

TEST(Drive, HasTheSameBytesOnEveryMachine) {
    EXPECT_EQ(digest(make(lasting(2'000'000))), 1243230421805164242u);
    EXPECT_EQ(digest(make(sized(100'000))), 7761838712593193588u);
    EXPECT_EQ(digest(make(sized(100'000, false))), 13666612871564622570u);
}

TEST(Drive, HasOtherBytesForAnotherSeed) {
    EXPECT_NE(make(lasting(2'000'000, 1)), make(lasting(2'000'000, 2)));
}

TEST(Drive, BeginsAndEndsWithTheLoggersOwnRecords) {
    const auto records = recordsOf(make(lasting(2'000'000)));
    ASSERT_GT(records.size(), 6u);
    EXPECT_EQ(records[0].id, MSGID_STARTUP);
    EXPECT_EQ(records[1].id, MSGID_DATALOGGINGSTARTED);
    EXPECT_EQ(records[records.size() - 2].id, MSGID_DATALOGGINGSTOPPED);
    EXPECT_EQ(records.back().id, MSGID_SHUTDOWN);
}

TEST(Drive, LastsAsLongAsItIsToldButForTheStepOfTheClock) {
    const auto records = recordsOf(make(lasting(5'000'000)));
    uint64_t elapsed = 0;
    uint64_t setBack = 0;
    for (size_t i = 1; i < records.size(); ++i) {
        const bool back = records[i].time < records[i - 1].time;
        elapsed += back ? 0 : records[i].time - records[i - 1].time;
        setBack += back ? records[i - 1].time - records[i].time : 0;
    }
    EXPECT_EQ(records.front().time, START);
    EXPECT_EQ(records.back().time, START + elapsed - setBack);
    EXPECT_EQ(elapsed, 5'000'000u);
}

TEST(Drive, StepsBackInTimeOnceAndTellsIt) {
    for (const byteVec_t& trace : {make(lasting(60'000'000)), make(sized(1024))}) {
        const auto records = recordsOf(trace);
        EXPECT_EQ(countOf(records, MSGID_TIMEJUMP), 1u);
        size_t steps = 0;
        for (size_t i = 1; i < records.size(); ++i) {
            if (records[i].time < records[i - 1].time) {
                ++steps;
                EXPECT_EQ(records[i].id, MSGID_TIMEJUMP);
            }
        }
        EXPECT_EQ(steps, 1u);
    }
}

TEST(Drive, HasExactlyTheSizeItIsTold) {
    for (const bool marked : {true, false}) {
        for (uint64_t size = Drive::MIN_SIZE; size < 3 * Drive::MIN_SIZE; ++size) {
            const byteVec_t trace = make(sized(size, marked));
            ASSERT_EQ(trace.size(), size);
            ASSERT_EQ(recordsOf(trace, marked).back().id, MSGID_SHUTDOWN) << size;
        }
        EXPECT_EQ(make(sized(3'000'001, marked)).size(), 3'000'001u);
    }
}

TEST(Drive, HasOneRecordThatNobodyCanDecode) {
    const LibrarySettings settings;
    MessageBase::registerMessages();
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    const byteVec_t trace = make(lasting(2'000'000));
    RecordScanner scanner;
    scanner.setInput(trace.data(), trace.size());
    size_t refused = 0;
    for (TraceSpan span; scanner.next(span);) {
        const auto message = decodeRecord(span);
        const auto* const invalid = dynamic_cast<const InvalidMessage*>(message.get());
        if (invalid != nullptr && invalid->getCause() != IM_INVALID_MSGID) {
            ++refused;
        }
    }
    EXPECT_EQ(refused, 1u);
}

TEST(Drive, HasTrafficOfManyKinds) {
    const auto records = recordsOf(make(lasting(10'000'000)));
    EXPECT_GT(countOf(records, MSGID_CAN), 10'000u);
    for (const msgid_t id : {MSGID_CAN_EXT, MSGID_LIN, MSGID_FLEXRAY, MSGID_ETHERNET_RX,
                             MSGID_TEMPERATURE, MSGID_ECU_LOG, MSGID_CONTAINER}) {
        EXPECT_GT(countOf(records, id), 0u) << id;
    }
}

TEST(Drive, SendsItsPositionOncePerSecond) {
    std::vector<timeStamp_t> times;
    for (const Read& read : recordsOf(make(lasting(10'000'000)))) {
        if (read.id == MSGID_GPS) {
            times.push_back(read.time);
        }
    }
    ASSERT_GE(times.size(), 9u);
    ASSERT_LE(times.size(), 10u);
}

TEST(Drive, NeverTellsATimeBeforeItsStart) {
    DrivePlan plan = lasting(Drive::MIN_LENGTH);
    plan.start = 0;
    for (const Read& read : recordsOf(make(plan))) {
        EXPECT_LE(read.time, Drive::MIN_LENGTH);
    }
}

TEST(Drive, IsOverOnlyOnce) {
    Drive drive(sized(Drive::MIN_SIZE));
    byteVec_t trace;
    while (drive.next(trace)) {}
    EXPECT_FALSE(drive.next(trace));
    EXPECT_EQ(trace.size(), Drive::MIN_SIZE);
}
