// A trace of any length is read in the same memory.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "support/TemporaryFolder.h"
#include "support/allocations.h"
#include "support/descriptors.h"
#include "support/traces.h"

namespace {

/// A file that is long but takes no room: records, then nothing but zeros.
std::string longFile(const TemporaryFolder& folder, off_t length) {
    const std::string path = folder.write("trace", traceOf(100));
    EXPECT_EQ(::truncate(path.c_str(), length), 0);
    return path;
}

long mostMemoryInKilobytes() {
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

uint64_t lengthOf(TraceReader& reader) {
    uint64_t length = 0;
    for (TraceSpan span; reader.next(span);) {
        length += span.length;
    }
    return length;
}

TEST(TraceReaderMemory, IsBoundedWhateverTheLength) {
    constexpr off_t LENGTH = 300'000'000;
    const TemporaryFolder folder;
    const Descriptor file(longFile(folder, LENGTH));
    const long before = mostMemoryInKilobytes();
    TraceReader reader(file);
    EXPECT_EQ(lengthOf(reader), uint64_t{LENGTH});
    EXPECT_LT(mostMemoryInKilobytes() - before, 16384);
}

TEST(TraceReaderMemory, IsAllocatedOnceAndNotForEachSpan) {
    const TemporaryFolder folder;
    const Descriptor file(folder.write("trace", traceOf(20000)));
    TraceReader reader(file);
    TraceSpan span;
    ASSERT_TRUE(reader.next(span));
    EXPECT_EQ(allocations::madeBy([&] { lengthOf(reader); }), 0);
}

}  // namespace
