#include "libvektrace/messageID.h"

#include <gtest/gtest.h>

#include <set>
#include <type_traits>

namespace {

struct Entry {
    const char* name;
    msgid_t id;
    unsigned value;
};

#define ENTRY(id, value) \
    { #id, id, value }

// In decimal, while the header has the catalogue in hexadecimal: a slip in one shows in the other.
const Entry CATALOGUE[] = {
    ENTRY(MSGID_MARKER, 0),
    ENTRY(MSGID_CAN, 1),
    ENTRY(MSGID_MOST, 2),
    ENTRY(MSGID_SERIAL, 3),
    ENTRY(MSGID_ETHERNET_RX, 4),
    ENTRY(MSGID_FLEXRAY, 5),
    ENTRY(MSGID_LIN, 6),
    ENTRY(MSGID_D4K, 7),
    ENTRY(MSGID_ETHERNET_TX, 8),
    ENTRY(MSGID_APIX_ASHELL, 9),
    ENTRY(MSGID_ECL, 10),
    ENTRY(MSGID_CAN_EXT, 11),
    ENTRY(MSGID_CONTAINER, 12),
    ENTRY(MSGID_TTY, 13),
    ENTRY(MSGID_MII, 14),
    ENTRY(MSGID_MOST150, 16),
    ENTRY(MSGID_MOST50, 17),
    ENTRY(MSGID_ANALOG, 18),
    ENTRY(MSGID_GPIO, 19),
    ENTRY(MSGID_MOST25, 20),
    ENTRY(MSGID_FLEXRAY_EXT, 21),
    ENTRY(MSGID_GPS, 22),
    ENTRY(MSGID_CCP_CRO, 23),
    ENTRY(MSGID_CCP_DTO, 24),
    ENTRY(MSGID_XCP, 25),
    ENTRY(MSGID_KWP2000_REQUEST, 26),
    ENTRY(MSGID_KWP2000_RESPONSE, 27),
    ENTRY(MSGID_UDS_REQUEST, 28),
    ENTRY(MSGID_UDS_RESPONSE, 29),
    ENTRY(MSGID_ECU_LOG, 30),
    ENTRY(MSGID_PHY_STATUS, 31),
    ENTRY(MSGID_PHY_STATUS_EXT, 32),
    ENTRY(MSGID_SYSTEMMESSAGE, 128),
    ENTRY(MSGID_CONFIGURATIONDATA, 129),
    ENTRY(MSGID_TIMEJUMP, 130),
    ENTRY(MSGID_DATALOGGINGSTOPPED, 131),
    ENTRY(MSGID_DATALOGGINGSTARTED, 132),
    ENTRY(MSGID_STARTUP, 133),
    ENTRY(MSGID_SHUTDOWN, 134),
    ENTRY(MSGID_TEMPERATURE, 135),
    ENTRY(MSGID_FILETIME, 136),
    ENTRY(MSGID_TRIGGERCLEAR, 137),
    ENTRY(MSGID_TIMEZONE, 138),
    ENTRY(MSGID_MOST_FUNCTION, 144),
    ENTRY(MSGID_BAP_FUNCTION, 145),
    ENTRY(MSGID_LOST, 146),
    ENTRY(MSGID_TESTTOOLS, 147),
    ENTRY(MSGID_METAINFO, 148),
    ENTRY(MSGID_LOST_EXT, 149),
    ENTRY(MSGID_WRAPPER, 253),
    ENTRY(MSGID_PADDING, 254),
    ENTRY(MSGID_ENDOFFILE, 255),
    ENTRY(MSGID_CUSTOMER, 256),
    ENTRY(MSGID_SLEEPMODE, 257),
    ENTRY(MSGID_GETVERSION, 32771),
    ENTRY(MSGID_VERSION, 32772),
    ENTRY(MSGID_GETTIME, 32773),
    ENTRY(MSGID_TIME, 32774),
    ENTRY(MSGID_PING, 32776),
    ENTRY(MSGID_PUSHBUTTON, 32783),
    ENTRY(MSGID_CASCADE, 32784),
    ENTRY(MSGID_CAN_PROXY, 32786),
    ENTRY(MSGID_BYTESTREAM, 32787),
    ENTRY(MSGID_CAN_TRANSPORT, 32788),
    ENTRY(MSGID_BUSLOAD, 32789),
    ENTRY(MSGID_CANSTARTSTOP, 32792),
    ENTRY(MSGID_ONLINESTREAMINGCONFIG, 32796),
    ENTRY(MSGID_START, 32800),
    ENTRY(MSGID_STOP, 32801),
    ENTRY(MSGID_CANLOAD, 32802),
    ENTRY(MSGID_BUSLOADEXT, 32804),
    ENTRY(MSGID_LOGGER_IDENTIFICATION, 32805),
    ENTRY(MSGID_SIGNAL, 32806),
    ENTRY(MSGID_SSCCONFIG, 32816),
    ENTRY(MSGID_KEYBOARD, 32817),
    ENTRY(MSGID_MOSTRECMODE, 32819),
    ENTRY(MSGID_SBC, 32822),
    ENTRY(MSGID_NAS_IDENTIFICATION, 32823),
    ENTRY(MSGID_NOTIFICATION, 32824),
    ENTRY(MSGID_CLOUD, 32825),
    ENTRY(MSGID_MOBILE_SERVICE, 32826),
    ENTRY(MSGID_LSS, 32827),
    ENTRY(MSGID_VEKP_CLIENT_REQUEST, 61440),
    ENTRY(MSGID_VEKP_CLIENT_RESPONSE, 61441),
    ENTRY(MSGID_KORA_ROUTER, 65533),
    ENTRY(MSGID_ROUTER, 65534),
    ENTRY(MSGID_INVALID, 65535),
};

TEST(MessageId, EveryNameHasItsNumber) {
    for (const Entry& entry : CATALOGUE) {
        EXPECT_EQ(unsigned{entry.id}, entry.value) << entry.name;
    }
}

TEST(MessageId, NoTwoNamesShareANumber) {
    std::set<unsigned> values;
    for (const Entry& entry : CATALOGUE) {
        EXPECT_TRUE(values.insert(entry.value).second) << entry.name;
    }
    EXPECT_EQ(values.size(), 87u);
}

TEST(MessageId, OccupiesTwoBytesAndHoldsEvery16BitNumber) {
    static_assert(sizeof(msgid_t) == 2);
    static_assert(std::is_same_v<std::underlying_type_t<msgid_t>, uint16_t>);
    static_assert(std::is_convertible_v<msgid_t, int>, "the enumeration is unscoped");
    for (unsigned value = 0; value <= 0xffff; ++value) {
        ASSERT_EQ(unsigned{static_cast<msgid_t>(value)}, value);
    }
}

TEST(MsgidHash, OfMarkerIsZeroAndOfInvalidIs65535) {
    EXPECT_EQ(MsgidHash()(MSGID_MARKER), 0u);
    EXPECT_EQ(MsgidHash()(MSGID_INVALID), 65535u);
}

TEST(MsgidHash, OfANumberWithoutNameIsThatNumber) {
    EXPECT_EQ(MsgidHash()(static_cast<msgid_t>(0x000F)), 0x000Fu);
}

TEST(MsgidHash, IsTheIdentityOnEveryNumber) {
    for (unsigned value = 0; value <= 0xffff; ++value) {
        ASSERT_EQ(MsgidHash()(static_cast<msgid_t>(value)), value);
    }
}

TEST(MsgidHash, IsAStatelessFunctionObjectThatCannotThrow) {
    static_assert(std::is_empty_v<MsgidHash>);
    static_assert(noexcept(std::declval<const MsgidHash&>()(MSGID_CAN)),
                  "otherwise the registry would store a hash code with every entry");
    static_assert(std::is_same_v<decltype(MsgidHash()(MSGID_CAN)), size_t>);
}

}  // namespace
