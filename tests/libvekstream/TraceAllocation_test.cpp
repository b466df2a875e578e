// What the stream library does where memory is lacking.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <utility>

#include "FailingAllocation.h"
#include "libvekstream/TraceWriter.h"
#include "libvekstream/decodeRecord.h"
#include "libvekstream/messageName.h"
#include "libvektrace/SimpleMessage.h"
#include "support/Settings.h"
#include "support/TemporaryFolder.h"
#include "support/descriptors.h"
#include "support/traces.h"

namespace {

using names_t = std::vector<std::string>;

size_t openDescriptors() {
    const std::filesystem::directory_iterator folder("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(folder), end(folder)));
}

// ---- Scanner, names, messages ------------------------------------------------------------------

TEST(ScannerAllocation, IsOneAndMayFail) {
    byteVec_t trace = traceOf(50);
    trace[100] ^= 0x40;
    const long allocations = failEachAllocation([&] {
        RecordScanner scanner;
        scanner.setInput(trace.data(), trace.size());
        RecordScanner moved(std::move(scanner));
        for (TraceSpan span; moved.next(span);) {}
        scanner = std::move(moved);
    });
    EXPECT_EQ(allocations, 1);
}

TEST(NameAllocation, IsNone) {
    msgid_t id = MSGID_INVALID;
    EXPECT_EQ(failEachAllocation([&] { messageIdOfName(messageName(MSGID_CAN), id); }), 0);
    EXPECT_EQ(id, MSGID_CAN);
}

TEST(DecodeRecordAllocation, MayFailWhateverComesOfTheRecord) {
    const LibrarySettings guard;
    MessageBase::registerMessages();
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    byteVec_t record;
    SimpleMessage<MSGID_START>(1).createByteArray(record, true, true);
    TraceSpan span;
    span.data = record.data();
    span.length = record.size();
    span.marked = true;
    EXPECT_GE(failEachAllocation([&] { decodeRecord(span); }), 1);
    const byteVec_t another = traceOf(1);
    span.data = another.data();
    span.length = another.size();
    EXPECT_GE(failEachAllocation([&] { decodeRecord(span); }), 2);
}

// ---- Reader ------------------------------------------------------------------------------------

TEST(ReaderAllocation, MayFail) {
    const auto file = memoryFile(traceOf(50));
    EXPECT_GE(failEachAllocation([&] {
                  TraceReader reader(*file);
                  for (TraceSpan span; reader.next(span);) {}
                  ASSERT_EQ(::lseek(*file, 0, SEEK_SET), 0);
              }),
              3);
}

TEST(ReaderAllocation, ThatFailsForTheReasonOfAFailureLeavesTheFailure) {
    TraceReader reader(-1);
    TraceSpan span;
    EXPECT_GE(failEachAllocation([&] {
                  if (reader.next(span)) {
                      throw std::logic_error("a span of nothing");
                  }
              }),
              1);
    const Reading reading(reader);
    EXPECT_EQ(reading.error, EBADF);
    EXPECT_EQ(reading.reason, std::generic_category().message(EBADF));
}

// ---- Writer ------------------------------------------------------------------------------------

class WriterAllocation : public testing::TestWithParam<TraceWriter::existing_t> {
protected:
    const byteVec_t content = traceOf(5, 30000);
    const TemporaryFolder folder;
    const std::string path = folder.path("trace");
};

INSTANTIATE_TEST_SUITE_P(Each, WriterAllocation,
                         testing::Values(TraceWriter::EXISTING_REFUSE,
                                         TraceWriter::EXISTING_REPLACE));

TEST_P(WriterAllocation, MayFailAndLeavesNothing) {
    const size_t descriptors = openDescriptors();
    const long allocations = failEachAllocation([&] {
        TraceWriter writer(path, GetParam());
        writer.write(content);
        writer.commit();
        std::remove(path.c_str());
    });
    EXPECT_GE(allocations, 3);
    EXPECT_EQ(folder.names(), names_t{});
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_P(WriterAllocation, MayFailWhereTheFileIsRefused) {
    for (const std::string& refused : {folder.path("missing/trace"), folder.path(".")}) {
        EXPECT_GE(failEachAllocation([&] { TraceWriter writer(refused, GetParam()); }), 1);
    }
}

/// Lets no file of the process grow beyond a length.
class FileLimit {
public:
    explicit FileLimit(rlim_t length) {
        ::getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit = {length, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        handler = ::signal(SIGXFSZ, SIG_IGN);
    }
    ~FileLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before);
        ::signal(SIGXFSZ, handler);
    }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;

private:
    rlimit before = {};
    void (*handler)(int) = nullptr;
};

/// The error of what `code` throws; 0 without an exception, ENOMEM where memory was lacking.
template <class Code>
int errorOf(Code code) {
    try {
        code();
    } catch (const TraceException& exception) {
        return exception.error();
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
    return 0;
}

TEST_P(WriterAllocation, ThatFailsForTheReasonOfAFailureLeavesAWriterThatWritesNothing) {
    for (const bool everAfter : {false, true}) {
        bool hasFailed = true;
        for (long number = 0; hasFailed; ++number) {
            TraceWriter writer(path, GetParam());
            writer.write(content.data(), 1000);
            {
                const FileLimit limit(500);
                const FailingAllocation failing(number, everAfter);
                const int error = errorOf([&] { writer.flush(); });
                hasFailed = failing.hasFailed();
                EXPECT_EQ(error, hasFailed ? ENOMEM : EFBIG);
            }
            EXPECT_EQ(errorOf([&] { writer.commit(); }), EFBIG) << number;
            EXPECT_EQ(errorOf([&] { writer.write(content); }), EFBIG) << number;
        }
        EXPECT_EQ(folder.names(), names_t{});
    }
}

TEST_P(WriterAllocation, ThatFailsInTheCommitLeavesItToBeDone) {
    for (const bool everAfter : {false, true}) {
        bool hasFailed = true;
        for (long number = 0; hasFailed; ++number) {
            TraceWriter writer(path, GetParam());
            writer.write(content);
            {
                const FailingAllocation failing(number, everAfter);
                const int error = errorOf([&] { writer.commit(); });
                hasFailed = failing.hasFailed();
                EXPECT_EQ(error, hasFailed ? ENOMEM : 0);
            }
            if (hasFailed) {
                EXPECT_FALSE(std::filesystem::exists(path)) << number;
                writer.commit();
            }
            EXPECT_EQ(folder.names(), names_t{"trace"});
            EXPECT_TRUE(folder.content("trace") == content) << number;
            std::filesystem::remove(path);
        }
    }
}

TEST_P(WriterAllocation, ThatFailsWhereTheNameIsRefusedLeavesNothing) {
    for (const bool everAfter : {false, true}) {
        bool hasFailed = true;
        for (long number = 0; hasFailed; ++number) {
            const size_t descriptors = openDescriptors();
            TraceWriter writer(path, GetParam());
            writer.write(content);
            std::filesystem::create_directory(path);
            {
                const FailingAllocation failing(number, everAfter);
                const int error = errorOf([&] { writer.commit(); });
                hasFailed = failing.hasFailed();
                EXPECT_NE(error, 0);
            }
            const int error = GetParam() == TraceWriter::EXISTING_REPLACE ? EISDIR : EEXIST;
            EXPECT_EQ(errorOf([&] { writer.commit(); }), error) << number;
            EXPECT_EQ(errorOf([&] { writer.write(content); }), error) << number;
            EXPECT_EQ(folder.names(), names_t{"trace"});
            EXPECT_EQ(openDescriptors(), descriptors);
            std::filesystem::remove(path);
        }
    }
}

TEST(DescriptorWriterAllocation, MayFail) {
    const Descriptor nothing("/dev/null", O_WRONLY);
    const byteVec_t content = traceOf(5, 30000);
    EXPECT_GE(failEachAllocation([&] {
                  TraceWriter writer(nothing);
                  writer.write(content);
                  writer.commit();
              }),
              2);
}

}  // namespace
