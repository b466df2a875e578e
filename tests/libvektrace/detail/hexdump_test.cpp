#include "libvektrace/detail/hexdump.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

TEST(Room, IsWhatTheLongestElementTakes) {
    char text[2 * vek::detail::ELEMENT_ROOM + 10];
    char* const end =
        vek::detail::writeElement(text, 0xffff, std::ios_base::oct | std::ios_base::showbase, ' ');
    EXPECT_EQ(std::string_view(text, static_cast<size_t>(end - text)), "0177777");
    EXPECT_EQ(end, text + vek::detail::ELEMENT_ROOM);
}

}  // namespace
