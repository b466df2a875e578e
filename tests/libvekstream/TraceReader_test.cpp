#include "libvekstream/TraceReader.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <functional>
#include <thread>

#include "support/TemporaryFolder.h"
#include "support/descriptors.h"
#include "support/hex.h"
#include "support/traces.h"

namespace {

constexpr size_t RECORD = 36;  // of traceOf, with its marker

/// What a reader makes of a pipe that `feed` writes to in another thread.
Reading readFrom(const std::function<void(int fd)>& feed,
                 const TraceReaderOptions& options = TraceReaderOptions()) {
    Pipe pipe;
    std::thread feeder([&] {
        feed(pipe.writing());
        pipe.closeWriting();
    });
    const Reading reading(pipe.reading(), options);
    feeder.join();
    return reading;
}

/// What a scanner makes of all the bytes at once.
std::string scanned(const byteVec_t& trace) { return Reading(*memoryFile(trace)).spans; }

// ---- What there is to read ---------------------------------------------------------------------

TEST(TraceReader, YieldsTheRecordsOfAFile) {
    const TemporaryFolder folder;
    const Descriptor file(folder.write("trace", traceOf(3)));
    TraceReader reader(file);
    const Reading reading(reader);
    EXPECT_EQ(reading.spans, "0+36 36+36 72+36");
    EXPECT_TRUE(reading.bytes == traceOf(3));
    EXPECT_EQ(reading.reason, "");
    EXPECT_EQ(reader.bytesRead(), 3 * RECORD);
    EXPECT_EQ(reader.framing(), FRAMING_MARKED);
    EXPECT_EQ(reader.ambiguities(), 0U);
}

TEST(TraceReader, HasNoSpanForAnEmptyInput) {
    const Descriptor nothing("/dev/null");
    TraceReader reader(nothing);
    TraceSpan span;
    EXPECT_FALSE(reader.next(span));
    EXPECT_FALSE(reader.next(span));
    EXPECT_EQ(reader.bytesRead(), 0U);
}

TEST(TraceReader, ReadsInputsShorterThanWhatTellsCompression) {
    const struct {
        const char* content;
        const char* spans;
    } cases[] = {
        {"01", "0+1(no sync marker)"},         {"1F", "0+1(no sync marker)"},
        {"1F 8B", "0+2(no sync marker)"},      {"1F 8B 08", "0+3(no sync marker)"},
        {"28 B5 2F", "0+3(no sync marker)"},   {"55", "0+1(truncated record)"},
        {"55 AA 00", "0+3(truncated record)"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(scanned(bytes(row.content)), row.spans) << row.content;
    }
}

TEST(TraceReader, ReadsFromWhereTheDescriptorStands) {
    const TemporaryFolder folder;
    const Descriptor file(folder.write("trace", traceOf(3)));
    ASSERT_EQ(::lseek(file, RECORD, SEEK_SET), off_t{RECORD});
    EXPECT_EQ(Reading(file).spans, "0+36 36+36");
}

TEST(TraceReader, LeavesTheCallersDescriptorOpen) {
    const TemporaryFolder folder;
    const Descriptor file(folder.write("trace", traceOf(3)));
    { const Reading reading(file); }
    EXPECT_EQ(::lseek(file, 0, SEEK_CUR), off_t{3 * RECORD});
}

TEST(TraceReader, TellsTheFramingAndTheAmbiguitiesAsTheScannerDoes) {
    const TemporaryFolder folder;
    byteVec_t trace;
    TestMessage(MSGID_CAN, 1, traceOf(2)).createByteArray(trace, true, false);
    const Descriptor file(folder.write("trace", trace));
    TraceReader trusting(file);
    EXPECT_EQ(Reading(trusting).spans, "0+88");
    EXPECT_EQ(trusting.ambiguities(), 1U);
    ASSERT_EQ(::lseek(file, 0, SEEK_SET), 0);
    TraceReaderOptions options;
    options.rule = RULE_PREFER_CHAIN;
    EXPECT_EQ(Reading(file, options).spans, "0+16(size spans whole records) 16+36 52+36");
}

TEST(TraceReader, TakesTheFramingThatItIsTold) {
    const TemporaryFolder folder;
    const Descriptor file(folder.write("trace", traceOf(3, 20, false)));
    TraceReaderOptions options;
    options.framing = FRAMING_UNMARKED;
    EXPECT_EQ(Reading(file, options).spans, "0+34 34+34 68+34");
    ASSERT_EQ(::lseek(file, 0, SEEK_SET), 0);
    options.framing = FRAMING_MARKED;
    EXPECT_EQ(Reading(file, options).records, 0U);
}

/// A size field that the first two bytes of a compressed file could be.
TEST(TraceReader, TakesRecordsForRecordsWhoseSizeLooksCompressed) {
    for (const size_t size : {0x1f8bU, 0x28b5U, 0x502aU}) {
        const byteVec_t trace = traceOf(3, size - 12, false);
        const TemporaryFolder folder;
        const Descriptor file(folder.write("trace", trace));
        EXPECT_EQ(Reading(file).records, 3U) << size;
    }
}

// ---- Pieces ------------------------------------------------------------------------------------

TEST(TraceReader, DoesNotMindInWhichPiecesTheBytesCome) {
    byteVec_t trace = traceOf(40);
    trace.insert(trace.begin() + 7 * RECORD, 100, 0x77);
    trace[20 * RECORD] = 0;
    trace.resize(trace.size() - 5);
    const std::string expected = scanned(trace);
    EXPECT_NE(expected.find("216+136(not followed by a record)"), std::string::npos) << expected;
    for (const size_t piece : {1U, 2U, 3U, 7U, 35U, 36U, 37U, 1000U}) {
        EXPECT_EQ(readFrom([&](int fd) { writeAll(fd, trace, piece); }).spans, expected) << piece;
    }
}

TEST(TraceReader, YieldsTheSameThroughAPipeOfManyWindows) {
    const byteVec_t trace = traceOf(200, 50000);
    const Reading reading = readFrom([&](int fd) { writeAll(fd, trace, 9999); });
    EXPECT_EQ(reading.records, 200U);
    EXPECT_TRUE(reading.bytes == trace);
}

TEST(TraceReader, YieldsTheLongestRecordsWhereverTheWindowEnds) {
    const TemporaryFolder folder;
    const byteVec_t trace = traceOf(60, 65535 - 12);
    const Descriptor file(folder.write("trace", trace));
    const Reading reading(file);
    EXPECT_EQ(reading.records, 60U);
    EXPECT_TRUE(reading.bytes == trace);
}

TEST(TraceReader, YieldsEveryByteOfNoise) {
    byteVec_t noise(2000000);
    std::mt19937 random(1);
    for (uint8_t& byte : noise) {
        byte = static_cast<uint8_t>(random());
    }
    const TemporaryFolder folder;
    const Descriptor file(folder.write("noise", noise));
    EXPECT_TRUE(Reading(file).bytes == noise);
}

TEST(TraceReader, WaitsForAPipeThatDoesNotWaitByItself) {
    Pipe pipe;
    ASSERT_EQ(::fcntl(pipe.reading(), F_SETFL, O_NONBLOCK), 0);
    std::thread feeder([&] {
        writeAll(pipe.writing(), traceOf(3), 5);
        pipe.closeWriting();
    });
    EXPECT_EQ(Reading(pipe.reading()).spans, "0+36 36+36 72+36");
    feeder.join();
}

TEST(TraceReader, GoesOnAfterInterruptions) {
    const Interruptions interruptions;
    const Reading reading = readFrom([&](int fd) {
        writeAll(fd, traceOf(1));
        interruptions.interrupt(5);
        writeAll(fd, traceOf(1));
    });
    EXPECT_EQ(reading.spans, "0+36 36+36");
    EXPECT_EQ(reading.reason, "");
}

// ---- Stopping ----------------------------------------------------------------------------------

TEST(TraceReader, ReadsNothingOnceItIsStopped) {
    const TemporaryFolder folder;
    const Descriptor file(folder.write("trace", traceOf(3)));
    const std::atomic<bool> stop{true};
    TraceReaderOptions options;
    options.stop = &stop;
    TraceReader reader(file, options);
    EXPECT_EQ(Reading(reader).spans, "");
    EXPECT_EQ(reader.bytesRead(), 0U);
}

TEST(TraceReader, ReadsToTheEndWhenNobodyStopsIt) {
    const std::atomic<bool> stop{false};
    TraceReaderOptions options;
    options.stop = &stop;
    const auto feed = [](int fd) { writeAll(fd, traceOf(3), 7); };
    EXPECT_EQ(readFrom(feed, options).spans, "0+36 36+36 72+36");
}

/// The writing end stays open: only the flag ends this.
Reading readUntilStopped(std::atomic<bool>& stop, const std::function<void()>& stopIt) {
    Pipe pipe;
    writeAll(pipe.writing(), traceOf(2));
    writeAll(pipe.writing(), bytes("55 AA 00"));
    TraceReaderOptions options;
    options.stop = &stop;
    TraceReader reader(pipe.reading(), options);
    TraceSpan span;
    EXPECT_TRUE(reader.next(span));
    std::thread stopper(stopIt);
    const Reading reading(reader);
    stopper.join();
    return reading;
}

TEST(TraceReader, EndsWhereItIsWhenASignalStopsIt) {
    std::atomic<bool> stop{false};
    Interruptions interruptions;
    interruptions.sets(stop);
    const auto stopIt = [&] { interruptions.interrupt(); };
    EXPECT_EQ(readUntilStopped(stop, stopIt).spans, "36+36 72+3(truncated record)");
}

TEST(TraceReader, EndsWhereItIsWhenAnotherThreadStopsIt) {
    std::atomic<bool> stop{false};
    EXPECT_EQ(readUntilStopped(stop, [&] { stop = true; }).spans, "36+36 72+3(truncated record)");
}

// ---- Failures ----------------------------------------------------------------------------------

void expectFailure(const Reading& reading, uint64_t offset, int error) {
    EXPECT_EQ(reading.reason, std::generic_category().message(error));
    EXPECT_EQ(reading.failedAt, offset);
    EXPECT_EQ(reading.error, error);
}

TEST(TraceReader, ThrowsTheSystemsReason) {
    const TemporaryFolder folder;
    const Descriptor directory(folder.path("."));
    expectFailure(Reading(directory), 0, EISDIR);
    expectFailure(Reading(-1), 0, EBADF);
    expectFailure(Reading(9999), 0, EBADF);
    const Descriptor writeOnly(folder.write("file", {}), O_WRONLY);
    expectFailure(Reading(writeOnly), 0, EBADF);
    const Pipe pipe;
    expectFailure(Reading(pipe.writing()), 0, EBADF);
}

/// One end of sockets that gives `content` and then fails.
std::unique_ptr<Pipe> failingAfter(const byteVec_t& content) {
    auto sockets = std::make_unique<Pipe>(SOCK_STREAM);
    writeAll(sockets->writing(), content);
    writeAll(sockets->reading(), {1});  // what nobody has read resets the connection
    sockets->closeWriting();
    return sockets;
}

TEST(TraceReader, YieldsAllThatItGotBeforeItThrows) {
    byteVec_t trace = traceOf(3);
    trace.resize(2 * RECORD + 10);
    const auto input = failingAfter(trace);
    const Reading reading(input->reading());
    EXPECT_EQ(reading.spans, "0+36 36+36 72+10(truncated record)");
    expectFailure(reading, trace.size(), ECONNRESET);
}

TEST(TraceReader, ThrowsTheSameAgain) {
    const auto input = failingAfter(traceOf(1));
    TraceReader reader(input->reading());
    expectFailure(Reading(reader), RECORD, ECONNRESET);
    expectFailure(Reading(reader), RECORD, ECONNRESET);
}

TEST(TraceReader, FailsWithTooFewBytesToTellCompression) {
    const auto input = failingAfter({0x1f, 0x8b});
    const Reading reading(input->reading());
    EXPECT_EQ(reading.spans, "0+2(no sync marker)");
    expectFailure(reading, 2, ECONNRESET);
}

}  // namespace
