#include "libvekstream/messageName.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

constexpr auto NO_ID = static_cast<msgid_t>(0x4242);

msgid_t idOf(std::string_view name) {
    msgid_t id = NO_ID;
    EXPECT_TRUE(messageIdOfName(name, id)) << name;
    return id;
}

template <class Function>
void forEachNumber(Function function) {
    for (unsigned number = 0; number <= 0xffff; ++number) {
        function(static_cast<msgid_t>(number));
    }
}

TEST(MessageName, IsTheEnumeratorsWithoutItsPrefix) {
    EXPECT_STREQ(messageName(MSGID_CAN), "CAN");
    EXPECT_STREQ(messageName(MSGID_TIMEJUMP), "TIMEJUMP");
    EXPECT_STREQ(messageName(MSGID_KWP2000_REQUEST), "KWP2000_REQUEST");
    EXPECT_STREQ(messageName(MSGID_INVALID), "INVALID");
}

TEST(MessageName, IsNullForANumberWithoutAnEnumerator) {
    for (const unsigned number : {0x000fU, 0x0021U, 0x00fcU, 0x0102U, 0x8000U, 0xfffcU}) {
        EXPECT_EQ(messageName(static_cast<msgid_t>(number)), nullptr) << number;
    }
}

TEST(MessageName, ExistsForEachOfTheCatalogue) {
    int names = 0;
    forEachNumber([&](msgid_t id) { names += messageName(id) != nullptr ? 1 : 0; });
    EXPECT_EQ(names, 87);
}

TEST(MessageName, LeadsBackToItsNumber) {
    forEachNumber([](msgid_t id) {
        if (messageName(id) != nullptr) {
            EXPECT_EQ(idOf(messageName(id)), id);
        }
    });
}

TEST(MessageIdOfName, DoesNotMindTheCaseOfLetters) {
    EXPECT_EQ(idOf("can"), MSGID_CAN);
    EXPECT_EQ(idOf("Ethernet_Rx"), MSGID_ETHERNET_RX);
    EXPECT_EQ(idOf("most150"), MSGID_MOST150);
}

TEST(MessageIdOfName, RefusesWhatIsNoNameAndLeavesTheNumberAlone) {
    for (const std::string_view name :
         {"", "CA", "CANN", "MSGID_CAN", " CAN", "CAN ", "1", "0x0001", "ETHERNET-RX", "ETHERNET",
          "C\xc1N", "C{N", "kora_router2"}) {
        msgid_t id = NO_ID;
        EXPECT_FALSE(messageIdOfName(name, id)) << name;
        EXPECT_EQ(id, NO_ID) << name;
    }
}

TEST(MessageIdOfName, RefusesANameWithAZeroByteBehindIt) {
    msgid_t id = NO_ID;
    EXPECT_FALSE(messageIdOfName(std::string_view("CAN\0", 4), id));
}

TEST(MessageIdOfName, ReadsNoFurtherThanTheView) {
    EXPECT_EQ(idOf(std::string_view("CANLOAD", 3)), MSGID_CAN);
}

}  // namespace
