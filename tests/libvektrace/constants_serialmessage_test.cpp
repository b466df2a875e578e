#include "libvektrace/constants_serialmessage.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

TEST(SerialConstants, AnEcuIdentifierHasFourBytes) {
    static_assert(std::is_same_v<decltype(ECUID_SIZE), const size_t>);
    EXPECT_EQ(ECUID_SIZE, 4u);
}

}  // namespace
