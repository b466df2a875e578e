#include "tools/vektrace/program/identifier.h"

#include <gtest/gtest.h>

namespace vek::program {
namespace {

TEST(Identifier, IsANameWhateverTheCaseOrANumber) {
    EXPECT_EQ(parseIdentifier("CAN"), MSGID_CAN);
    EXPECT_EQ(parseIdentifier("can"), MSGID_CAN);
    EXPECT_EQ(parseIdentifier("1"), MSGID_CAN);
    EXPECT_EQ(parseIdentifier("0x8020"), MSGID_START);
    EXPECT_EQ(parseIdentifier("0X8020"), MSGID_START);
    EXPECT_EQ(parseIdentifier("65535"), MSGID_INVALID);
    EXPECT_EQ(parseIdentifier("2741"), static_cast<msgid_t>(0x0ab5));
}

TEST(Identifier, RefusesWhatIsNeither) {
    for (const char* const text : {"", "0x", "-1", "+1", "65536", "0x10000", "1x", "CANX", " 1"}) {
        EXPECT_THROW(parseIdentifier(text), UsageError) << text;
    }
}

TEST(Identifier, IsWrittenWithFourDigitsAndTheCataloguesName) {
    EXPECT_EQ(identifierNumber(MSGID_CAN), "0x0001");
    EXPECT_EQ(identifierNumber(MSGID_INVALID), "0xffff");
    EXPECT_EQ(identifierName(MSGID_CAN), "CAN");
    EXPECT_EQ(identifierName(static_cast<msgid_t>(0x0ab5)), "");
}

}  // namespace
}  // namespace vek::program
