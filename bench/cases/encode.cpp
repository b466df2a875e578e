#include "cases/encode.h"

#include "cases/bytes.h"
#include "support/PayloadMessage.h"

namespace bench {

const std::vector<EncodeCase>& encodeCases() {
    constexpr timeStamp_t STAMP = 1234567890123456;
    constexpr uint16_t RESERVED = 0x0102;
    static const std::vector<EncodeCase> cases = {
        {"encode, no payload", {MSGID_STARTUP, RESERVED, STAMP, {}}},
        {"encode, 8 bytes", {PayloadMessage::ID, RESERVED, STAMP, randomBytes(8)}},
        {"encode, 64 bytes", {PayloadMessage::ID, RESERVED, STAMP, randomBytes(64)}},
        {"encode, 1400 bytes", {PayloadMessage::ID, RESERVED, STAMP, randomBytes(1400)}},
    };
    return cases;
}

}  // namespace bench
