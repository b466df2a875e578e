#include "libvekstream/messageName.h"

#include <algorithm>
#include <iterator>

// An enumerator without a name is an error, in every build.
#pragma GCC diagnostic error "-Wswitch"

// One list for both directions; the order is the catalogue's.
#define VEK_NAMES(X)         \
    X(MARKER)                \
    X(CAN)                   \
    X(MOST)                  \
    X(SERIAL)                \
    X(ETHERNET_RX)           \
    X(FLEXRAY)               \
    X(LIN)                   \
    X(D4K)                   \
    X(ETHERNET_TX)           \
    X(APIX_ASHELL)           \
    X(ECL)                   \
    X(CAN_EXT)               \
    X(CONTAINER)             \
    X(TTY)                   \
    X(MII)                   \
    X(MOST150)               \
    X(MOST50)                \
    X(ANALOG)                \
    X(GPIO)                  \
    X(MOST25)                \
    X(FLEXRAY_EXT)           \
    X(GPS)                   \
    X(CCP_CRO)               \
    X(CCP_DTO)               \
    X(XCP)                   \
    X(KWP2000_REQUEST)       \
    X(KWP2000_RESPONSE)      \
    X(UDS_REQUEST)           \
    X(UDS_RESPONSE)          \
    X(ECU_LOG)               \
    X(PHY_STATUS)            \
    X(PHY_STATUS_EXT)        \
    X(SYSTEMMESSAGE)         \
    X(CONFIGURATIONDATA)     \
    X(TIMEJUMP)              \
    X(DATALOGGINGSTOPPED)    \
    X(DATALOGGINGSTARTED)    \
    X(STARTUP)               \
    X(SHUTDOWN)              \
    X(TEMPERATURE)           \
    X(FILETIME)              \
    X(TRIGGERCLEAR)          \
    X(TIMEZONE)              \
    X(MOST_FUNCTION)         \
    X(BAP_FUNCTION)          \
    X(LOST)                  \
    X(TESTTOOLS)             \
    X(METAINFO)              \
    X(LOST_EXT)              \
    X(WRAPPER)               \
    X(PADDING)               \
    X(ENDOFFILE)             \
    X(CUSTOMER)              \
    X(SLEEPMODE)             \
    X(GETVERSION)            \
    X(VERSION)               \
    X(GETTIME)               \
    X(TIME)                  \
    X(PING)                  \
    X(PUSHBUTTON)            \
    X(CASCADE)               \
    X(CAN_PROXY)             \
    X(BYTESTREAM)            \
    X(CAN_TRANSPORT)         \
    X(BUSLOAD)               \
    X(CANSTARTSTOP)          \
    X(ONLINESTREAMINGCONFIG) \
    X(START)                 \
    X(STOP)                  \
    X(CANLOAD)               \
    X(BUSLOADEXT)            \
    X(LOGGER_IDENTIFICATION) \
    X(SIGNAL)                \
    X(SSCCONFIG)             \
    X(KEYBOARD)              \
    X(MOSTRECMODE)           \
    X(SBC)                   \
    X(NAS_IDENTIFICATION)    \
    X(NOTIFICATION)          \
    X(CLOUD)                 \
    X(MOBILE_SERVICE)        \
    X(LSS)                   \
    X(VEKP_CLIENT_REQUEST)   \
    X(VEKP_CLIENT_RESPONSE)  \
    X(KORA_ROUTER)           \
    X(ROUTER)                \
    X(INVALID)

const char* messageName(msgid_t id) {
#define VEK_CASE(name) \
    case MSGID_##name: \
        return #name;
    switch (id) { VEK_NAMES(VEK_CASE) }
#undef VEK_CASE
    return nullptr;
}

namespace {

#define VEK_ENUMERATOR(name) MSGID_##name,
constexpr msgid_t CATALOGUE[] = {VEK_NAMES(VEK_ENUMERATOR)};
#undef VEK_ENUMERATOR

/// Names are ASCII; no locale has a say in their case.
char upperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool isSpelt(std::string_view upper, std::string_view name) {
    return std::equal(upper.begin(), upper.end(), name.begin(), name.end(),
                      [](char a, char b) { return a == upperCase(b); });
}

}  // namespace

bool messageIdOfName(std::string_view name, msgid_t& id) {
    const auto* const found =
        std::find_if(std::begin(CATALOGUE), std::end(CATALOGUE),
                     [name](msgid_t known) { return isSpelt(messageName(known), name); });
    if (found == std::end(CATALOGUE)) {
        return false;
    }
    id = *found;
    return true;
}
