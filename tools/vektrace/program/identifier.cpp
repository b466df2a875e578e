#include "tools/vektrace/program/identifier.h"

#include <fmt/format.h>

#include <cstdint>
#include <limits>

#include "libvekstream/messageName.h"
#include "tools/vektrace/program/number.h"

namespace vek::program {

namespace {

/// Whether the whole text is a number of 16 bits.
bool parseNumber(std::string_view text, uint16_t& number) {
    const bool hexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    text.remove_prefix(hexadecimal ? 2 : 0);
    uint64_t value = 0;
    const bool valid = isNumber(text, value, hexadecimal ? 16 : 10) &&
                       value <= std::numeric_limits<uint16_t>::max();
    number = valid ? static_cast<uint16_t>(value) : number;
    return valid;
}

}  // namespace

msgid_t parseIdentifier(std::string_view text) {
    msgid_t id = MSGID_INVALID;
    uint16_t number = 0;
    if (messageIdOfName(text, id)) {
        return id;
    }
    if (parseNumber(text, number)) {
        return static_cast<msgid_t>(number);
    }
    throw UsageError(fmt::format(
        "'{}' is neither the name of a message nor a number up to 65535 (0xffff)", text));
}

std::string identifierNumber(msgid_t id) {
    return fmt::format("0x{:04x}", static_cast<unsigned>(id));
}

std::string_view identifierName(msgid_t id) {
    const char* const name = messageName(id);
    return name == nullptr ? std::string_view() : name;
}

}  // namespace vek::program
