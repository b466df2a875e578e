#include "tools/vektrace/program/escape.h"

#include <gtest/gtest.h>

namespace vek::program {
namespace {

std::string escaped(const std::string& text) {
    std::string out = ">";
    appendEscaped(out, text);
    return out;
}

TEST(Escape, KeepsPrintableAsciiAndNothingElse) {
    for (int byte = 0; byte < 256; ++byte) {
        const auto c = static_cast<char>(byte);
        char code[5];
        static_cast<void>(std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(byte)));
        const bool printable = byte >= 0x20 && byte < 0x7f;
        const std::string expected = printable ? std::string(1, c) : code;
        EXPECT_EQ(escaped(std::string("a") + c + "b"), ">a" + expected + "b") << byte;
        EXPECT_EQ(escaped(std::string(40, 'x') + c), ">" + std::string(40, 'x') + expected);
    }
}

TEST(Escape, TakesEveryByteOfARun) {
    EXPECT_EQ(escaped("\x1b\n\xff"), ">\\x1b\\x0a\\xff");
    EXPECT_EQ(escaped(""), ">");
    EXPECT_EQ(escaped(std::string("\0", 1)), ">\\x00");
}

TEST(Escape, ControlsOnlyLeavesLettersOfOtherScripts) {
    std::string out;
    appendWithoutControls(out, "M\xc3\xbcller\x1b[2J\x7f");
    EXPECT_EQ(out, "M\xc3\xbcller\\x1b[2J\\x7f");
}

TEST(Escape, HexHasASeparatorOnlyBetweenBytes) {
    const unsigned char bytes[] = {0x00, 0x1f, 0xff};
    std::string out;
    appendHex(out, bytes, sizeof bytes);
    out += '|';
    appendHex(out, bytes, sizeof bytes, ' ');
    appendHex(out, bytes, 0, ' ');
    EXPECT_EQ(out, "001fff|00 1f ff");
}

}  // namespace
}  // namespace vek::program
