#include "libvekutil/version.h"

#include <gtest/gtest.h>

namespace {

// Where the preprocessor must know it.
#if VEKTRACE_VERSION_NUMBER < 1000000
#error "older than the first version"
#endif

TEST(Version, OfTheLibraryIsThatOfItsHeaders) {
    EXPECT_STREQ(vektraceVersion(), VEKTRACE_VERSION_STRING);
    EXPECT_EQ(vektraceVersionNumber(), VEKTRACE_VERSION_NUMBER);
}

TEST(Version, AsOneNumberHasRoomForEachOfItsThree) {
    EXPECT_EQ(VEKTRACE_VERSION_NUMBER / 1000000, VEKTRACE_VERSION_MAJOR);
    EXPECT_EQ(VEKTRACE_VERSION_NUMBER / 1000 % 1000, VEKTRACE_VERSION_MINOR);
    EXPECT_EQ(VEKTRACE_VERSION_NUMBER % 1000, VEKTRACE_VERSION_PATCH);
}

TEST(Version, IsAskedForWithoutAnException) {
    EXPECT_TRUE(noexcept(vektraceVersion()));
    EXPECT_TRUE(noexcept(vektraceVersionNumber()));
}

// The same macros with numbers that are all different; nothing below knows the version any more.
#undef VEKTRACE_VERSION_MAJOR
#undef VEKTRACE_VERSION_MINOR
#undef VEKTRACE_VERSION_PATCH
#define VEKTRACE_VERSION_MAJOR 2
#define VEKTRACE_VERSION_MINOR 34
#define VEKTRACE_VERSION_PATCH 567

TEST(AnotherVersion, IsMadeOfItsThreeNumbersTheSameWay) {
    EXPECT_EQ(VEKTRACE_VERSION_NUMBER, 2034567);
    EXPECT_STREQ(VEKTRACE_VERSION_STRING, "2.34.567");
}

}  // namespace
