// What reading and writing do where the system refuses: each call fails in its turn.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <optional>
#include <utility>

#include "FailingCalls.h"
#include "libvekstream/TraceWriter.h"
#include "support/TemporaryFolder.h"
#include "support/descriptors.h"
#include "support/hex.h"
#include "support/traces.h"

namespace {

using names_t = std::vector<std::string>;

constexpr int ERRORS[] = {EIO, ENOSPC, EDQUOT, EPIPE, EINTR, EAGAIN};
constexpr long EVER_AFTER = LONG_MAX;

const byteVec_t OLD = bytes("01 02 03");

/// Written in several calls, of large and small pieces.
byteVec_t content() { return traceOf(5, 30000); }

size_t openDescriptors() {
    const std::filesystem::directory_iterator folder("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(folder), end(folder)));
}

std::string reasonOf(int error) { return std::generic_category().message(error); }

std::string describe(const calls::Plan& plan) {
    return "call " + std::to_string(plan.first) + " (" + calls::failed + ") and " +
           std::to_string(plan.count - 1) + " behind it: " + reasonOf(plan.error);
}

/// Not the end, so that it must not go on for ever.
bool isPassing(int error) { return error == EINTR || error == EAGAIN; }

long timesOf(int error, long count) { return isPassing(error) ? std::min(count, 3L) : count; }

// ---- Writing -----------------------------------------------------------------------------------

void writeAllOf(const std::string& path, TraceWriter::existing_t existing,
                const byteVec_t& content) {
    TraceWriter writer(path, existing);
    const size_t half = content.size() / 2;
    writer.write(content.data(), half);
    for (size_t done = half; done < content.size();
         done += std::min<size_t>(content.size() - done, 999)) {
        writer.write(&content[done], std::min<size_t>(content.size() - done, 999));
    }
    writer.commit();
}

/// One place to write to, and how.
struct Target {
    const char* name;
    TraceWriter::existing_t existing;
    bool exists;
    std::map<std::string, int> always;

    friend void PrintTo(const Target& target, std::ostream* os) { *os << target.name; }
};

class WriterFaults : public testing::TestWithParam<Target> {
protected:
    /// Whether a call failed.
    bool write(const calls::Plan& plan);

    const byteVec_t all = content();
};

INSTANTIATE_TEST_SUITE_P(
    Each, WriterFaults,
    testing::Values(Target{"new", TraceWriter::EXISTING_REFUSE, false, {}},
                    Target{"replaced", TraceWriter::EXISTING_REPLACE, true, {}},
                    Target{"linked", TraceWriter::EXISTING_REFUSE, false, {{"renameat2", EINVAL}}},
                    Target{"placed",
                           TraceWriter::EXISTING_REFUSE,
                           false,
                           {{"renameat2", EINVAL}, {"link", EPERM}}}));

bool WriterFaults::write(const calls::Plan& plan) {
    const TemporaryFolder folder;
    const std::string path = folder.path("trace");
    if (GetParam().exists) {
        folder.write("trace", OLD);
    }
    const size_t descriptors = openDescriptors();
    std::optional<TraceException> failure;
    {
        const calls::Armed armed(plan);
        try {
            writeAllOf(path, GetParam().existing, all);
        } catch (const TraceException& exception) {
            failure.emplace(exception);
        }
    }
    SCOPED_TRACE(describe(plan));
    EXPECT_EQ(openDescriptors(), descriptors);
    const bool isWhole = folder.content("trace") == all;
    const bool isThere = calls::named || GetParam().exists;
    EXPECT_EQ(folder.names(), isThere ? names_t{"trace"} : names_t{});
    EXPECT_EQ(isWhole, calls::named);
    EXPECT_TRUE(isWhole || hex(folder.content("trace")) == (isThere ? hex(OLD) : ""));
    if (failure) {
        EXPECT_EQ(failure->what(), reasonOf(plan.error));
        EXPECT_EQ(failure->error(), plan.error);
        EXPECT_EQ(failure->offset(), calls::written);
    } else {
        EXPECT_TRUE(isWhole);
    }
    const bool may = calls::failed == "fchmod" || calls::failed == "close, nothing written" ||
                     isPassing(plan.error);
    EXPECT_TRUE(failure || calls::failed.empty() || may) << "the failure is not told";
    return !calls::failed.empty();
}

TEST_P(WriterFaults, AreToldAndLeaveNothing) {
    for (const int error : ERRORS) {
        for (const long count : {1L, EVER_AFTER}) {
            calls::Plan plan;
            plan.always = GetParam().always;
            plan.error = error;
            plan.count = timesOf(error, count);
            for (plan.first = 0; write(plan); ++plan.first) {}
            EXPECT_GT(plan.first, 8);
        }
    }
}

TEST_P(WriterFaults, OfWritesThatTakeLessAreNone) {
    for (const size_t most : {1U, 7U, 1000U, 65535U}) {
        calls::Plan plan;
        plan.always = GetParam().always;
        plan.mostBytes = most;
        EXPECT_FALSE(write(plan));
    }
}

/// The exception that `code` throws where the calls fail as planned, or one without a reason.
template <class Code>
TraceException thrownBy(const calls::Plan& plan, Code code) {
    const calls::Armed armed(plan);
    try {
        code();
    } catch (const TraceException& exception) {
        return exception;
    }
    return {"", 0, -1};
}

TEST(WriterFault, OfAWriteThatTakesNothingIsTold) {
    const TemporaryFolder folder;
    calls::Plan plan;
    plan.mostBytes = 0;
    const TraceException exception = thrownBy(
        plan, [&] { writeAllOf(folder.path("trace"), TraceWriter::EXISTING_REFUSE, OLD); });
    EXPECT_STREQ(exception.what(), "the system takes no more bytes");
    EXPECT_EQ(exception.error(), 0);
    EXPECT_EQ(folder.names(), names_t{});
}

/// Such a system cannot give a name in one step that is not taken.
calls::Plan withoutNewNames(int error) {
    calls::Plan plan;
    plan.always = {{"renameat2", error}, {"link", error}};
    return plan;
}

TEST(WriterFault, OfANewNameLeadsToAnotherWay) {
    for (const int error : {EINVAL, ENOSYS, EOPNOTSUPP, EPERM}) {
        const TemporaryFolder folder;
        const calls::Plan plan = withoutNewNames(error);
        const TraceException exception = thrownBy(
            plan, [&] { writeAllOf(folder.path("trace"), TraceWriter::EXISTING_REFUSE, OLD); });
        EXPECT_STREQ(exception.what(), "");
        EXPECT_EQ(hex(folder.content("trace")), hex(OLD));
        EXPECT_EQ(folder.names(), names_t{"trace"});
    }
}

TEST(WriterFault, OfANewNameReplacesNothing) {
    const TemporaryFolder folder;
    const calls::Plan plan = withoutNewNames(EPERM);
    const TraceException exception = thrownBy(plan, [&] {
        TraceWriter writer(folder.path("trace"));
        writer.write(content());
        folder.write("trace", OLD);
        writer.commit();
    });
    EXPECT_EQ(exception.error(), EEXIST);
    EXPECT_EQ(hex(folder.content("trace")), hex(OLD));
    EXPECT_EQ(folder.names(), names_t{"trace"});
}

TEST(WriterFault, OfReadingALinkDoesNotReplaceTheLink) {
    const TemporaryFolder folder;
    folder.write("file", OLD);
    std::filesystem::create_symlink("file", folder.path("trace"));
    calls::Plan plan;
    plan.always = {{"readlink", EIO}};
    const TraceException exception = thrownBy(
        plan, [&] { writeAllOf(folder.path("trace"), TraceWriter::EXISTING_REPLACE, content()); });
    EXPECT_EQ(exception.error(), EIO);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("trace")));
    EXPECT_EQ(hex(folder.content("file")), hex(OLD));
}

TEST(WriterFault, OfLinksWithoutAnEndIsTold) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("trace", folder.path("trace"));
    calls::Plan plan;
    plan.always = {{"stat", ENOENT}};  // as when the links come about just now
    EXPECT_EQ(thrownBy(plan, [&] { TraceWriter writer(folder.path("trace")); }).error(), ELOOP);
}

TEST(WriterFault, OfEveryNameThatIsTriedIsTold) {
    const TemporaryFolder folder;
    calls::Plan plan;
    plan.always = {{"open", EEXIST}};
    EXPECT_EQ(thrownBy(plan, [&] { TraceWriter writer(folder.path("trace")); }).error(), EEXIST);
}

TEST(WriterFault, IsABlockDeviceThatIsNotToBeReplaced) {
    const TemporaryFolder folder;
    folder.write("device", OLD);
    calls::Plan plan;
    plan.mode = S_IFBLK | 0600;
    EXPECT_EQ(thrownBy(plan, [&] { TraceWriter writer(folder.path("device")); }).error(), EEXIST);
    EXPECT_EQ(hex(folder.content("device")), hex(OLD));
}

/// The calls behind the new name: opening the folder, making it safe, closing it.
TraceException thrownByTheFolder(const TemporaryFolder& folder, long number, int error,
                                 long count = 1) {
    calls::Plan plan;
    thrownBy(plan, [&] { writeAllOf(folder.path("first"), TraceWriter::EXISTING_REFUSE, OLD); });
    plan.first = calls::made - 3 + number;
    plan.count = count;
    plan.error = error;
    return thrownBy(plan,
                    [&] { writeAllOf(folder.path("second"), TraceWriter::EXISTING_REFUSE, OLD); });
}

TEST(WriterFault, OfAFolderThatCannotBeMadeSafeIsToldThoughTheFileIsThere) {
    for (const int error : {EIO, ENOSPC, EDQUOT, ENOMEM}) {
        for (const long number : {0, 1}) {
            const TemporaryFolder folder;
            EXPECT_EQ(thrownByTheFolder(folder, number, error).error(), error);
            EXPECT_EQ(hex(folder.content("second")), hex(OLD));
        }
    }
}

TEST(WriterFault, OfAFolderThatCannotBeReadOrIsNeverMadeSafeIsNone) {
    const TemporaryFolder folder;
    EXPECT_STREQ(thrownByTheFolder(folder, 0, EACCES).what(), "");
    EXPECT_EQ(calls::failed, "open");
    for (const int error : {EINVAL, ENOSYS, EOPNOTSUPP}) {
        const TemporaryFolder another;
        EXPECT_STREQ(thrownByTheFolder(another, 1, error).what(), "");
        EXPECT_EQ(calls::failed, "fsync");
    }
}

TEST(WriterFault, OfAnInterruptionDoesNotLeaveTheFolderUnsafe) {
    calls::Plan plan;
    const TemporaryFolder folder;
    for (const long number : {0, 1}) {
        const TemporaryFolder interrupted;
        EXPECT_STREQ(thrownByTheFolder(interrupted, number, EINTR).what(), "");
        const long made = calls::made;
        const TemporaryFolder calm;
        EXPECT_STREQ(thrownByTheFolder(calm, LONG_MAX / 2, EINTR).what(), "");
        EXPECT_EQ(made, calls::made + 1);
    }
}

/// The exception of a writer that may be told to stop.
TraceException thrownByAStoppable(const calls::Plan& plan, const std::atomic<bool>& stop) {
    return thrownBy(plan, [&] {
        const Descriptor nothing("/dev/null", O_WRONLY);
        TraceWriter writer(nothing);
        writer.setStop(&stop);
        writer.write(content());
        writer.commit();
    });
}

TEST(WriterFault, OfAWriteThatIsInterruptedIsOneOnlyForAProcessThatIsToStop) {
    calls::Plan plan;
    plan.first = 1;  // behind the opening
    plan.count = 5;
    for (const int error : {EINTR, EAGAIN}) {
        plan.error = error;
        EXPECT_STREQ(thrownByAStoppable(plan, false).what(), "");
        EXPECT_EQ(thrownByAStoppable(plan, true).error(), EINTR);
    }
}

TEST(WriterFault, OfAWriteThatTakesLessIsOneOnlyForAProcessThatIsToStop) {
    calls::Plan plan;
    plan.mostBytes = 1000;
    EXPECT_STREQ(thrownByAStoppable(plan, false).what(), "");
    const TraceException exception = thrownByAStoppable(plan, true);
    EXPECT_EQ(exception.error(), EINTR);
    EXPECT_EQ(exception.offset(), 1000U);
}

/// Of a descriptor that takes nothing and does not wait by itself. Its waits are over at once; at the
/// third one `then` happens.
calls::Plan planOfWaits(std::function<void()> then) {
    calls::Plan plan;
    plan.always = {{"write", EAGAIN}, {"poll", EINTR}};
    plan.before = [then = std::move(then), waits = 0](std::string_view name) mutable {
        waits += name == "poll" ? 1 : 0;
        if (waits == 3) {
            then();
        }
    };
    return plan;
}

TEST(WriterFault, OfAWriteThatWaitsIsOneForAProcessThatIsToStopAlsoWithoutASignal) {
    std::atomic<bool> stop = false;
    const calls::Plan plan = planOfWaits([&] { stop = true; });
    EXPECT_EQ(thrownByAStoppable(plan, stop).error(), EINTR);
    EXPECT_GT(calls::patience, 0) << "else the flag is not seen while it waits";
}

TEST(WriterFault, OfADescriptorIsToldBehindWaitsThatNothingIsToEnd) {
    calls::Plan plan;
    plan = planOfWaits([&] { plan.always["write"] = EPIPE; });
    const TraceException exception = thrownBy(plan, [&] {
        const Descriptor nothing("/dev/null", O_WRONLY);
        TraceWriter writer(nothing);
        writer.write(content());
    });
    EXPECT_EQ(exception.error(), EPIPE);
    EXPECT_LT(calls::patience, 0) << "there is no flag to be looked at";
}

// ---- Reading -----------------------------------------------------------------------------------

struct Source {
    const char* name;
    bool follow;

    friend void PrintTo(const Source& source, std::ostream* os) { *os << source.name; }
};

/// Reads to the end of a file; where it is followed, until it would wait for the second time.
class ReaderFaults : public testing::TestWithParam<Source> {
protected:
    /// Whether a call failed.
    bool read(const calls::Plan& plan);

    const byteVec_t all = traceOf(30, 50000);
};

INSTANTIATE_TEST_SUITE_P(Each, ReaderFaults,
                         testing::Values(Source{"once", false}, Source{"followed", true}));

bool ReaderFaults::read(const calls::Plan& plan) {
    const auto file = memoryFile(all);
    const size_t descriptors = openDescriptors();
    std::atomic<bool> stop = false;
    byteVec_t got;
    std::optional<TraceException> failure;
    uint64_t taken = 0;
    {
        TraceReaderOptions options;
        options.follow = GetParam().follow;
        options.stop = &stop;
        TraceReader reader(*file, options);
        const calls::Armed armed(plan);
        try {
            for (TraceSpan span; reader.next(span);) {
                got.insert(got.end(), span.data, span.data + span.length);
                EXPECT_TRUE(span.isRecord() || !calls::failed.empty());
                stop = got.size() == all.size();
            }
        } catch (const TraceException& exception) {
            failure.emplace(exception);
        }
        taken = reader.bytesRead();
    }
    SCOPED_TRACE(describe(plan));
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(got.size(), taken);
    EXPECT_TRUE(isBeginning(got, all));
    if (failure) {
        EXPECT_EQ(failure->what(), reasonOf(plan.error));
        EXPECT_EQ(failure->error(), plan.error);
        EXPECT_EQ(failure->offset(), got.size());
    } else {
        EXPECT_TRUE(got == all);
    }
    const bool may = calls::failed == "poll" || isPassing(plan.error);
    EXPECT_TRUE(failure || calls::failed.empty() || may) << "the failure is not told";
    return !calls::failed.empty();
}

TEST_P(ReaderFaults, AreToldBehindEverythingThatWasRead) {
    for (const int error : ERRORS) {
        for (const long count : {1L, EVER_AFTER}) {
            calls::Plan plan;
            plan.error = error;
            plan.count = timesOf(error, count);
            for (plan.first = 0; read(plan); ++plan.first) {}
            EXPECT_GT(plan.first, 3);
        }
    }
}

TEST_P(ReaderFaults, OfReadsThatGiveLessAreNone) {
    for (const size_t most : {7U, 1000U, 65537U}) {
        calls::Plan plan;
        plan.mostBytes = most;
        EXPECT_FALSE(read(plan));
    }
}

TEST(ReaderFault, OfAFollowedFileIsToldAlsoAtItsEnd) {
    const auto file = memoryFile(traceOf(3));
    TraceReaderOptions options;
    options.follow = true;
    calls::Plan plan;
    plan.always = {{"fstat", ESTALE}};
    const calls::Armed armed(plan);
    const Reading reading(*file, options);
    EXPECT_EQ(reading.records, 3U);
    EXPECT_EQ(reading.reason, reasonOf(ESTALE));
    EXPECT_EQ(reading.failedAt, reading.bytes.size());
}

/// Here and not beside a writing thread, which may be there before the reader has found nothing.
TEST(ReaderFault, IsNoneWhereAFollowedFileIsEmptyForAWhile) {
    const auto file = memoryFile({});
    std::atomic<bool> stop = false;
    TraceReaderOptions options;
    options.follow = true;
    options.stop = &stop;
    int asked = 0;
    calls::Plan plan;
    plan.before = [&](std::string_view name) {
        asked += name == "fstat" ? 1 : 0;
        stop = asked == 3;
    };
    const calls::Armed armed(plan);
    const Reading reading(*file, options);
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(reading.spans, "");
    EXPECT_EQ(reading.reason, "");
}

}  // namespace
