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

TEST(Escape, FindsAByteWhereverItStandsAndWhateverIsBesideIt) {
    for (size_t length = 1; length <= 25; ++length) {
        for (size_t place = 0; place < length; ++place) {
            for (const char beside : {' ', '~', 'x'}) {
                for (const char c : {'\x1f', '\x7f', '\0', '\x80', '\xff'}) {
                    std::string text(length, beside);
                    EXPECT_EQ(escaped(text), ">" + text);
                    text[place] = c;
                    EXPECT_NE(escaped(text).find("\\x"), std::string::npos)
                        << length << ' ' << place;
                }
            }
        }
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

TEST(Escape, ControlsOnlyLeavesNothingButUtf8) {
    const auto without = [](std::string_view text) {
        std::string out;
        appendWithoutControls(out, text);
        return out;
    };
    EXPECT_EQ(without("a\xff"
                      "b\x9b"),
              "a\\xffb\\x9b");
    EXPECT_EQ(without("\xc3"), "\\xc3");
    EXPECT_EQ(without("\xc2\x9b"
                      "2J"),
              "\\xc2\\x9b2J");
    EXPECT_EQ(without("\xc2\xa0"), "\xc2\xa0");
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const char text[] = {static_cast<char>(first), static_cast<char>(second), '\xbf'};
            EXPECT_TRUE(isUtf8(without({text, sizeof text}))) << first << ' ' << second;
        }
    }
}

TEST(Utf8, HasNoSurrogatesNothingBeyondItsEndAndNoLongForms) {
    for (const char* const text : {"", "a", "\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xed\x9f\xbf",
                                   "\xee\x80\x80", "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf"}) {
        EXPECT_TRUE(isUtf8(text)) << text;
    }
    for (const char* const text :
         {"\x80", "\xc0\x80", "\xc1\xbf", "\xe0\x9f\xbf", "\xed\xa0\x80", "\xf0\x8f\xbf\xbf",
          "\xf4\x90\x80\x80", "\xf5\x80\x80\x80", "\xe2\x82", "a\xe2\x82z", "\xf0\x90\x80z"}) {
        EXPECT_FALSE(isUtf8(text)) << text;
    }
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
