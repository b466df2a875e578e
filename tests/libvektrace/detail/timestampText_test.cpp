#include "libvektrace/detail/timestampText.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

TEST(Room, IsThatOfTheCalendarTextAndOfTheFraction) {
    char text[20];
    char* const end = vek::detail::writeFraction(text, 123456, 255);
    EXPECT_EQ(std::string_view(text, static_cast<size_t>(end - text)), ".123456");
    EXPECT_EQ(vek::detail::TIMESTAMP_ROOM,
              vek::detail::CALENDAR_ROOM + static_cast<size_t>(end - text));
}

}  // namespace
