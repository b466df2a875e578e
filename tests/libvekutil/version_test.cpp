#include "libvekutil/version.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Where the preprocessor must know it.
#if VEKTRACE_VERSION_NUMBER < 1000000
#error "older than the first version"
#endif

TEST(Version, OfTheLibraryIsThatOfItsHeaders) {
    EXPECT_STREQ(vektraceVersion(), VEKTRACE_VERSION_STRING);
    EXPECT_EQ(vektraceVersionNumber(), VEKTRACE_VERSION_NUMBER);
}

TEST(Version, AsTextIsItsThreeNumbers) {
    EXPECT_EQ(VEKTRACE_VERSION_STRING, std::to_string(VEKTRACE_VERSION_MAJOR) + '.' +
                                           std::to_string(VEKTRACE_VERSION_MINOR) + '.' +
                                           std::to_string(VEKTRACE_VERSION_PATCH));
}

TEST(Version, AsOneNumberHasThreeDigitsForEachOfTheLowerTwo) {
    EXPECT_EQ(VEKTRACE_VERSION_NUMBER / 1000000, VEKTRACE_VERSION_MAJOR);
    EXPECT_EQ(VEKTRACE_VERSION_NUMBER / 1000 % 1000, VEKTRACE_VERSION_MINOR);
    EXPECT_EQ(VEKTRACE_VERSION_NUMBER % 1000, VEKTRACE_VERSION_PATCH);
}

TEST(Version, IsThatOfTheBuild) { EXPECT_STREQ(VEKTRACE_VERSION_STRING, PROJECT_VERSION); }

TEST(Version, IsAskedForWithoutAnException) {
    EXPECT_TRUE(noexcept(vektraceVersion()));
    EXPECT_TRUE(noexcept(vektraceVersionNumber()));
}

}  // namespace
