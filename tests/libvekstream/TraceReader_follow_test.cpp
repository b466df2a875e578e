// A reader that follows: what it yields at once, what it waits for, and what ends it.

#include <gtest/gtest.h>

#include <thread>

#include "support/TemporaryFolder.h"
#include "support/descriptors.h"
#include "support/traces.h"

namespace {

const byteVec_t RECORD = traceOf(1);

class FollowedFile : public testing::Test {
protected:
    FollowedFile() {
        options.follow = true;
        options.stop = &stop;
        // When nothing comes as it should, the test ends rather than waits.
        ::alarm(60);
    }
    ~FollowedFile() override { ::alarm(0); }

    uint64_t nextRecord(TraceReader& reader) const {
        TraceSpan span;
        EXPECT_TRUE(reader.next(span));
        EXPECT_TRUE(span.isRecord()) << gapReasonText(span.reason);
        return span.offset;
    }

    TemporaryFolder folder;
    Descriptor file{folder.write("trace", RECORD)};
    std::atomic<bool> stop{false};
    TraceReaderOptions options;
};

TEST_F(FollowedFile, YieldsEachRecordAsSoonAsItIsThere) {
    TraceReader reader(file, options);
    for (uint64_t offset = 0; offset < 5 * RECORD.size(); offset += RECORD.size()) {
        EXPECT_EQ(nextRecord(reader), offset);
        folder.append("trace", RECORD);
    }
}

TEST_F(FollowedFile, WaitsForTheRestOfARecord) {
    folder.append("trace", {RECORD.begin(), RECORD.begin() + 9});
    TraceReader reader(file, options);
    nextRecord(reader);
    std::thread writer([&] { folder.append("trace", {RECORD.begin() + 9, RECORD.end()}); });
    EXPECT_EQ(nextRecord(reader), RECORD.size());
    writer.join();
}

TEST_F(FollowedFile, MayBeLongerThanThirtyTwoBitsTell) {
    constexpr off_t LENGTH = off_t{5} << 30;
    ASSERT_EQ(::truncate(folder.path("trace").c_str(), LENGTH), 0);
    ASSERT_EQ(::lseek(file, 0, SEEK_END), LENGTH);
    folder.append("trace", RECORD);
    TraceReader reader(file, options);
    for (uint64_t offset = 0; offset < 3 * RECORD.size(); offset += RECORD.size()) {
        EXPECT_EQ(nextRecord(reader), offset);
        folder.append("trace", RECORD);
    }
}

TEST_F(FollowedFile, BeginsWithAnEmptyOne) {
    folder.write("trace", {});
    TraceReader reader(file, options);
    std::thread writer([&] { folder.append("trace", RECORD); });
    EXPECT_EQ(nextRecord(reader), 0U);
    writer.join();
}

TEST_F(FollowedFile, WaitsForBytesThatTellWhetherItIsCompressed) {
    folder.write("trace", {RECORD.begin(), RECORD.begin() + 1});
    TraceReader reader(file, options);
    std::thread writer([&] { folder.append("trace", {RECORD.begin() + 1, RECORD.end()}); });
    EXPECT_EQ(nextRecord(reader), 0U);
    writer.join();
}

TEST_F(FollowedFile, EndsWhenItIsStopped) {
    folder.append("trace", {RECORD.begin(), RECORD.begin() + 9});
    TraceReader reader(file, options);
    nextRecord(reader);
    std::thread stopper([&] { stop = true; });
    EXPECT_EQ(Reading(reader).spans, "36+9(truncated record)");
    stopper.join();
}

TEST_F(FollowedFile, ThatBecomesShorterIsAnError) {
    TraceReader reader(file, options);
    nextRecord(reader);
    ASSERT_EQ(::truncate(folder.path("trace").c_str(), 10), 0);
    const Reading reading(reader);
    EXPECT_EQ(reading.reason, "the file has become shorter while it was read");
    EXPECT_EQ(reading.failedAt, RECORD.size());
    EXPECT_EQ(reading.error, 0);
}

TEST_F(FollowedFile, ThatIsNotFollowedEndsWhereItEnds) {
    options.follow = false;
    TraceReader reader(file, options);
    nextRecord(reader);
    TraceSpan span;
    EXPECT_FALSE(reader.next(span));
    folder.append("trace", RECORD);
    EXPECT_FALSE(reader.next(span));
}

class FollowedPipe : public FollowedFile {};

TEST_F(FollowedPipe, YieldsTheLastRecordWhileItIsOpen) {
    const Pipe pipe;
    TraceReader reader(pipe.reading(), options);
    for (uint64_t offset = 0; offset < 3 * RECORD.size(); offset += RECORD.size()) {
        writeAll(pipe.writing(), RECORD);
        EXPECT_EQ(nextRecord(reader), offset);
    }
}

TEST_F(FollowedPipe, EndsWhenNobodyCanWriteToItAnyMore) {
    Pipe pipe;
    writeAll(pipe.writing(), RECORD);
    TraceReader reader(pipe.reading(), options);
    nextRecord(reader);
    pipe.closeWriting();
    EXPECT_EQ(Reading(reader).spans, "");
}

TEST_F(FollowedPipe, EndsWhenItIsStopped) {
    const Pipe pipe;
    TraceReader reader(pipe.reading(), options);
    std::thread stopper([&] { stop = true; });
    EXPECT_EQ(Reading(reader).spans, "");
    stopper.join();
}

}  // namespace
