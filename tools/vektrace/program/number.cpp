#include "tools/vektrace/program/number.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <system_error>

#include "tools/vektrace/program/errors.h"

namespace vek::program {

bool isNumber(std::string_view text, uint64_t& value, int base) {
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, base);
    return result.ec == std::errc() && result.ptr == end;
}

bool isFraction(std::string_view text, uint64_t& millionths) {
    constexpr size_t PLACES = 6;
    if (text.size() > PLACES || !isNumber(text, millionths)) {
        return false;
    }
    for (size_t places = text.size(); places < PLACES; ++places) {
        millionths *= 10;
    }
    return true;
}

uint64_t parseNumber(std::string_view text) {
    uint64_t value = 0;
    if (!isNumber(text, value)) {
        throw UsageError(fmt::format("'{}' is no whole number", text));
    }
    return value;
}

std::string_view takeDigits(std::string_view& text) {
    const size_t count = std::min(text.find_first_not_of("0123456789"), text.size());
    const std::string_view digits = text.substr(0, count);
    text.remove_prefix(count);
    return digits;
}

}  // namespace vek::program
