/// @file
/// The catalogue of message types, and the hash by which the registry of creators is keyed.
#pragma once

#include <cstddef>
#include <cstdint>

/// The type of a message: the 16-bit number in its header that selects its creator.
///
/// Any 16-bit number may be held and passed on, also one without a name. The gaps are meant: they
/// belong to nobody and are not to be filled.
enum msgid_t : uint16_t {
    // Bus, sensor and diagnostic traffic.
    MSGID_MARKER = 0x0000,
    MSGID_CAN = 0x0001,
    MSGID_MOST = 0x0002,
    MSGID_SERIAL = 0x0003,
    MSGID_ETHERNET_RX = 0x0004,
    MSGID_FLEXRAY = 0x0005,
    MSGID_LIN = 0x0006,
    MSGID_D4K = 0x0007,
    MSGID_ETHERNET_TX = 0x0008,
    MSGID_APIX_ASHELL = 0x0009,
    MSGID_ECL = 0x000A,
    MSGID_CAN_EXT = 0x000B,
    MSGID_CONTAINER = 0x000C,
    MSGID_TTY = 0x000D,
    MSGID_MII = 0x000E,
    MSGID_MOST150 = 0x0010,
    MSGID_MOST50 = 0x0011,
    MSGID_ANALOG = 0x0012,
    MSGID_GPIO = 0x0013,
    MSGID_MOST25 = 0x0014,
    MSGID_FLEXRAY_EXT = 0x0015,
    MSGID_GPS = 0x0016,
    MSGID_CCP_CRO = 0x0017,
    MSGID_CCP_DTO = 0x0018,
    MSGID_XCP = 0x0019,
    MSGID_KWP2000_REQUEST = 0x001A,
    MSGID_KWP2000_RESPONSE = 0x001B,
    MSGID_UDS_REQUEST = 0x001C,
    MSGID_UDS_RESPONSE = 0x001D,
    MSGID_ECU_LOG = 0x001E,
    MSGID_PHY_STATUS = 0x001F,
    MSGID_PHY_STATUS_EXT = 0x0020,

    // Events of the logger system.
    MSGID_SYSTEMMESSAGE = 0x0080,
    MSGID_CONFIGURATIONDATA = 0x0081,
    MSGID_TIMEJUMP = 0x0082,
    MSGID_DATALOGGINGSTOPPED = 0x0083,
    MSGID_DATALOGGINGSTARTED = 0x0084,
    MSGID_STARTUP = 0x0085,
    MSGID_SHUTDOWN = 0x0086,
    MSGID_TEMPERATURE = 0x0087,
    MSGID_FILETIME = 0x0088,
    MSGID_TRIGGERCLEAR = 0x0089,
    MSGID_TIMEZONE = 0x008A,

    // Further records.
    MSGID_MOST_FUNCTION = 0x0090,
    MSGID_BAP_FUNCTION = 0x0091,
    MSGID_LOST = 0x0092,
    MSGID_TESTTOOLS = 0x0093,
    MSGID_METAINFO = 0x0094,
    MSGID_LOST_EXT = 0x0095,

    // Stream structure.
    MSGID_WRAPPER = 0x00FD,
    MSGID_PADDING = 0x00FE,
    MSGID_ENDOFFILE = 0x00FF,

    MSGID_CUSTOMER = 0x0100,
    MSGID_SLEEPMODE = 0x0101,

    // Requests, replies and control.
    MSGID_GETVERSION = 0x8003,
    MSGID_VERSION = 0x8004,
    MSGID_GETTIME = 0x8005,
    MSGID_TIME = 0x8006,
    MSGID_PING = 0x8008,
    MSGID_PUSHBUTTON = 0x800F,
    MSGID_CASCADE = 0x8010,
    MSGID_CAN_PROXY = 0x8012,
    MSGID_BYTESTREAM = 0x8013,
    MSGID_CAN_TRANSPORT = 0x8014,
    MSGID_BUSLOAD = 0x8015,
    MSGID_CANSTARTSTOP = 0x8018,
    MSGID_ONLINESTREAMINGCONFIG = 0x801C,
    MSGID_START = 0x8020,
    MSGID_STOP = 0x8021,
    MSGID_CANLOAD = 0x8022,
    MSGID_BUSLOADEXT = 0x8024,
    MSGID_LOGGER_IDENTIFICATION = 0x8025,
    MSGID_SIGNAL = 0x8026,
    MSGID_SSCCONFIG = 0x8030,
    MSGID_KEYBOARD = 0x8031,
    MSGID_MOSTRECMODE = 0x8033,
    MSGID_SBC = 0x8036,
    MSGID_NAS_IDENTIFICATION = 0x8037,
    MSGID_NOTIFICATION = 0x8038,
    MSGID_CLOUD = 0x8039,
    MSGID_MOBILE_SERVICE = 0x803A,
    MSGID_LSS = 0x803B,

    // Client request and response.
    MSGID_VEKP_CLIENT_REQUEST = 0xF000,
    MSGID_VEKP_CLIENT_RESPONSE = 0xF001,

    // Routing.
    MSGID_KORA_ROUTER = 0xFFFD,
    MSGID_ROUTER = 0xFFFE,

    // A record that could not be decoded; no message type may use it for anything else.
    MSGID_INVALID = 0xFFFF,
};

/// The identity: a fixed, cheap hash under which identifiers rarely collide. It cannot throw, so
/// that the registry recomputes it rather than storing a hash code with every entry.
struct MsgidHash {
    /// The number itself.
    size_t operator()(msgid_t id) const noexcept { return id; }
};
