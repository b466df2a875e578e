// What holds for every compression. The formats are in the files beside this one.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <random>
#include <thread>

#include "Compressor.h"
#include "FailingAllocation.h"
#include "support/descriptors.h"
#include "support/traces.h"

namespace {

constexpr size_t ALWAYS_ALLOWED = 0x1000000;

Reading readingOf(const byteVec_t& input,
                  const TraceReaderOptions& options = TraceReaderOptions()) {
    return Reading(*memoryFile(input), options);
}

/// Through a pipe, byte by byte.
Reading readingOfPieces(const byteVec_t& input,
                        const TraceReaderOptions& options = TraceReaderOptions()) {
    Pipe pipe;
    std::thread feeder([&] {
        writeAll(pipe.writing(), input, 1);
        pipe.closeWriting();
    });
    const Reading reading(pipe.reading(), options);
    feeder.join();
    return reading;
}

/// What nobody has read yet.
int bytesIn(int pipe) {
    int count = 0;
    ::ioctl(pipe, FIONREAD, &count);
    return count;
}

byteVec_t operator+(byteVec_t a, const byteVec_t& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

void expectWhole(const Reading& reading, const byteVec_t& trace) {
    EXPECT_TRUE(reading.bytes == trace) << reading.bytes.size() << " of " << trace.size();
    EXPECT_EQ(reading.reason, "");
}

void expectFailure(const Reading& reading, const std::string& reason) {
    EXPECT_EQ(reading.reason, reason);
    EXPECT_EQ(reading.failedAt, reading.bytes.size());
    EXPECT_EQ(reading.error, 0);
}

TEST_P(CompressedTrace, CanBeRead) { EXPECT_TRUE(GetParam().canRead()); }

TEST_P(CompressedTrace, YieldsTheSpansOfTheTrace) {
    const byteVec_t trace = traceOf(200, 50000);
    const byteVec_t input = GetParam().compress(trace);
    const auto file = memoryFile(input);
    TraceReader reader(*file);
    const Reading reading(reader);
    expectWhole(reading, trace);
    EXPECT_EQ(reading.records, 200U);
    EXPECT_EQ(reader.bytesRead(), input.size());
}

TEST_P(CompressedTrace, MayBeEmpty) {
    const Reading reading = readingOf(GetParam().compress({}));
    EXPECT_EQ(reading.spans, "");
    EXPECT_EQ(reading.reason, "");
}

TEST_P(CompressedTrace, MayHaveSeveralParts) {
    const byteVec_t trace = traceOf(5);
    const byteVec_t first(trace.begin(), trace.begin() + 50);
    const byteVec_t second(trace.begin() + 50, trace.end());
    const auto compress = GetParam().compress;
    expectWhole(readingOf(compress(first) + compress({}) + compress(second)), trace);
}

TEST_P(CompressedTrace, MayComeByteByByte) {
    const byteVec_t trace = traceOf(30);
    const byteVec_t input = GetParam().compress(trace);
    expectWhole(readingOfPieces(input + input), trace + trace);
}

TEST_P(CompressedTrace, MayGoOnWithManyBytesAtOnceBehindItsFirstOnes) {
    std::mt19937 random(1);
    byteVec_t noise(200000);  // which is not compressed
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<uint8_t>(random()); });
    const byteVec_t input = GetParam().compress(noise);
    const auto rest = input.begin() + 3;  // too few to tell the compression by
    Pipe pipe;
    ASSERT_GE(::fcntl(pipe.writing(), F_SETPIPE_SZ, static_cast<int>(input.size())), 0);
    std::thread feeder([&] {
        writeAll(pipe.writing(), {input.begin(), rest});
        while (bytesIn(pipe.reading()) > 0) {
            std::this_thread::yield();
        }
        writeAll(pipe.writing(), {rest, input.end()}, input.size());
        pipe.closeWriting();
    });
    const Reading reading(pipe.reading());
    feeder.join();
    expectWhole(reading, noise);
}

TEST_P(CompressedTrace, IsNotFollowed) {
    TraceReaderOptions options;
    options.follow = true;
    expectWhole(readingOf(GetParam().compress(traceOf(3)), options), traceOf(3));
    expectWhole(readingOfPieces(GetParam().compress(traceOf(30)), options), traceOf(30));
}

TEST_P(CompressedTrace, EndsWhenItIsStopped) {
    std::atomic<bool> stop{false};
    TraceReaderOptions options;
    options.stop = &stop;
    options.expansionLimit = 0;
    const byteVec_t trace(2 * ALWAYS_ALLOWED);  // in one read
    const auto file = memoryFile(GetParam().compress(trace));
    TraceReader reader(*file, options);
    TraceSpan span;
    ASSERT_TRUE(reader.next(span));
    stop = true;
    const Reading rest(reader);
    EXPECT_LT(rest.bytes.size(), trace.size() / 2);
    EXPECT_EQ(rest.reason, "");
}

TEST_P(CompressedTrace, EndsWhereItIsWhenItIsStoppedWhileItWaits) {
    const byteVec_t trace = traceOf(20);
    byteVec_t input = GetParam().compress(trace);
    input.resize(input.size() / 2);
    Pipe pipe;  // whose writing end stays open
    writeAll(pipe.writing(), input);
    std::atomic<bool> stop{false};
    TraceReaderOptions options;
    options.stop = &stop;
    std::thread stopper([&] {
        while (::poll(nullptr, 0, 1) == 0 && bytesIn(pipe.reading()) > 0) {}
        stop = true;
    });
    const Reading reading(pipe.reading(), options);
    stopper.join();
    EXPECT_EQ(reading.reason, "");
    EXPECT_TRUE(isBeginning(reading.bytes, trace));
}

TEST_P(CompressedTrace, CutAnywhereYieldsWhatIsThereAndThenThrows) {
    const byteVec_t trace = traceOf(60);
    const byteVec_t input = GetParam().compress(trace);
    size_t before = 0;
    for (size_t length = 4; length < input.size(); ++length) {
        const Reading reading =
            readingOf({input.begin(), input.begin() + static_cast<long>(length)});
        expectFailure(reading, std::string(GetParam().name) + " input: truncated");
        EXPECT_TRUE(isBeginning(reading.bytes, trace)) << length;
        EXPECT_GE(reading.bytes.size(), before) << length;
        before = reading.bytes.size();
    }
    EXPECT_EQ(before, trace.size());
}

TEST_P(CompressedTrace, CutBehindAWholePartYieldsThatPart) {
    const byteVec_t trace = traceOf(3);
    byteVec_t input = GetParam().compress(trace);
    input = input + byteVec_t(input.begin(), input.begin() + 6);
    const Reading reading = readingOf(input);
    EXPECT_TRUE(reading.bytes == trace);
    expectFailure(reading, std::string(GetParam().name) + " input: truncated");
}

TEST_P(CompressedTrace, DamagedAnywhereNeverEndsWell) {
    const byteVec_t trace = traceOf(20);
    const byteVec_t input = GetParam().compress(trace);
    for (size_t i = 4; i < input.size(); ++i) {
        byteVec_t damaged = input;
        damaged[i] ^= 0x40;
        const Reading reading = readingOf(damaged);
        EXPECT_TRUE(reading.reason != "" || reading.bytes == trace) << i;
    }
}

TEST_P(CompressedTrace, WithAWrongChecksumYieldsEverythingAndThenThrows) {
    const byteVec_t trace = traceOf(20);
    byteVec_t input = GetParam().compress(trace);
    input.back() ^= 1;
    const Reading reading = readingOf(input);
    EXPECT_TRUE(reading.bytes == trace);
    EXPECT_NE(reading.reason, "");
    EXPECT_EQ(reading.failedAt, trace.size());
}

TEST_P(CompressedTrace, WithSomethingElseBehindItYieldsEverythingAndThenThrows) {
    const byteVec_t trace = traceOf(20);
    const Reading reading = readingOf(GetParam().compress(trace) + traceOf(1));
    EXPECT_TRUE(reading.bytes == trace);
    EXPECT_NE(reading.reason, "");
}

TEST_P(CompressedTrace, ThrowsTheSameAgain) {
    byteVec_t input = GetParam().compress(traceOf(3));
    input.pop_back();
    const auto file = memoryFile(input);
    TraceReader reader(*file);
    const Reading first(reader);
    const Reading second(reader);
    EXPECT_EQ(second.spans, "");
    EXPECT_EQ(second.reason, first.reason);
    EXPECT_EQ(second.failedAt, first.failedAt);
}

// ---- Memory ------------------------------------------------------------------------------------

/// In more than one read.
byteVec_t longTrace() { return traceOf(20, 10000); }

TEST_P(CompressedTrace, ThrowsWhereMemoryIsLacking) {
    const auto file = memoryFile(GetParam().compress(longTrace()));
    EXPECT_GE(failEachAllocation([&] {
                  ASSERT_EQ(::lseek(*file, 0, SEEK_SET), 0);
                  TraceReader reader(*file);
                  for (TraceSpan span; reader.next(span);) {}
              }),
              5);
}

/// Everything that a reader yields which is asked again where memory was lacking.
struct PatientReading {
    byteVec_t bytes;
    std::string reason;
    bool hasFailed = false;

    PatientReading(const byteVec_t& input, long number, bool everAfter) {
        bytes.reserve(0x100000);  // now there is memory
        const auto file = memoryFile(input);
        TraceReader reader(*file);
        {
            const FailingAllocation failing(number, everAfter);
            try {
                add(reader);
            } catch (const std::exception&) {
                // which is told again, unless it was memory
            }
            hasFailed = failing.hasFailed();
        }
        try {
            add(reader);
        } catch (const TraceException& exception) {
            reason = exception.what();
        }
    }

private:
    void add(TraceReader& reader) {
        for (TraceSpan span; reader.next(span);) {
            bytes.insert(bytes.end(), span.data, span.data + span.length);
        }
    }
};

TEST_P(CompressedTrace, LosesNothingInSilenceWhereMemoryWasLacking) {
    const byteVec_t trace = longTrace();
    for (const bool everAfter : {false, true}) {
        bool hasFailed = true;
        for (long number = 0; hasFailed; ++number) {
            const PatientReading reading(GetParam().compress(trace), number, everAfter);
            EXPECT_TRUE(reading.reason != "" || reading.bytes == trace) << number;
            EXPECT_TRUE(isBeginning(reading.bytes, trace)) << number;
            hasFailed = reading.hasFailed;
        }
    }
}

TEST_P(CompressedTrace, IsAsDamagedAsBeforeWhereMemoryWasLacking) {
    byteVec_t input = GetParam().compress(traceOf(20));
    input[12] ^= 0xff;
    const Reading expected = readingOf(input);
    ASSERT_NE(expected.reason, "");
    for (const bool everAfter : {false, true}) {
        bool hasFailed = true;
        for (long number = 0; hasFailed; ++number) {
            const PatientReading reading(input, number, everAfter);
            EXPECT_NE(reading.reason, "") << number;
            EXPECT_TRUE(isBeginning(reading.bytes, expected.bytes)) << number;
            hasFailed = reading.hasFailed;
        }
    }
}

// ---- Expansion ---------------------------------------------------------------------------------

/// What compresses extremely well.
Reading readingOfZeros(const Compressor& compressor, size_t length, uint64_t limit) {
    TraceReaderOptions options;
    options.expansionLimit = limit;
    return readingOf(compressor.compress(byteVec_t(length)), options);
}

TEST_P(CompressedTrace, MayExpandAsMuchAsItLikesWhileItIsShort) {
    expectWhole(readingOfZeros(GetParam(), ALWAYS_ALLOWED, 1), byteVec_t(ALWAYS_ALLOWED));
}

TEST_P(CompressedTrace, ThrowsWhenItExpandsBeyondTheLimit) {
    const Reading reading = readingOfZeros(GetParam(), 4 * ALWAYS_ALLOWED, 100);
    expectFailure(reading,
                  std::string(GetParam().name) + " input: expands more than the limit allows");
    EXPECT_GT(reading.bytes.size(), ALWAYS_ALLOWED);
    EXPECT_LT(reading.bytes.size(), 2 * ALWAYS_ALLOWED);
}

TEST(TraceReaderOptions, LimitTheExpansionTo32768TimesByDefault) {
    EXPECT_EQ(TraceReaderOptions().expansionLimit, 32768U);
}

TEST_P(CompressedTrace, HasNoLimitWhenTheLimitIsZero) {
    const size_t length = 4 * ALWAYS_ALLOWED;
    expectWhole(readingOfZeros(GetParam(), length, 0), byteVec_t(length));
}

TEST_P(CompressedTrace, MayExpandWithinTheLimit) {
    const byteVec_t trace = traceOf(400, 50000);
    TraceReaderOptions options;
    options.expansionLimit = 2;
    expectWhole(readingOf(GetParam().compress(trace), options), trace);
}

}  // namespace
