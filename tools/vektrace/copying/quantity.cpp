#include "tools/vektrace/copying/quantity.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <string>

#include "tools/vektrace/program/number.h"

namespace vek::program {

namespace {

struct Unit {
    std::string_view name;
    uint64_t factor;
};

constexpr Unit COUNTS[] = {{"", 1}};
constexpr Unit SIZES[] = {
    {"", 1}, {"k", 1u << 10}, {"K", 1u << 10}, {"M", 1u << 20}, {"G", 1u << 30}};
constexpr Unit DURATIONS[] = {{"", 1'000'000},   {"ms", 1'000},        {"s", 1'000'000},
                              {"m", 60'000'000}, {"h", 3'600'000'000}, {"d", 86'400'000'000}};

/// `number` / `scale` of the unit; 0 where that is too much or no whole number.
uint64_t exactly(uint64_t number, uint64_t scale, uint64_t factor) {
    if (number > std::numeric_limits<uint64_t>::max() / factor || number * factor % scale != 0) {
        return 0;
    }
    return number * factor / scale;
}

/// Takes a number with up to 12 decimal places: "1.5" is 15 / 10.
bool takeDecimal(std::string_view& text, uint64_t& number, uint64_t& scale) {
    constexpr size_t MOST_PLACES = 12;
    std::string digits(takeDigits(text));
    if (digits.empty()) {
        return false;
    }
    if (!text.empty() && text.front() == '.') {
        text.remove_prefix(1);
        const std::string_view places = takeDigits(text);
        if (places.empty() || places.size() > MOST_PLACES) {
            return false;
        }
        digits += places;
        for (size_t place = 0; place < places.size(); ++place) {
            scale *= 10;
        }
    }
    return isNumber(digits, number);
}

template <size_t count>
uint64_t parse(std::string_view text, const Unit (&units)[count]) {
    uint64_t number = 0;
    uint64_t scale = 1;
    if (!takeDecimal(text, number, scale)) {
        return 0;
    }
    const auto* const unit = std::find_if(std::begin(units), std::end(units),
                                          [&](const Unit& each) { return each.name == text; });
    return unit != std::end(units) ? exactly(number, scale, unit->factor) : 0;
}

uint64_t positive(uint64_t quantity, std::string_view text, const char* what) {
    if (quantity == 0) {
        throw UsageError('\'' + std::string(text) + "' is no " + what);
    }
    return quantity;
}

}  // namespace

uint64_t parseSize(std::string_view text) {
    return positive(parse(text, SIZES), text,
                    "size: a number of bytes above 0, with k, M or G behind it or nothing");
}

uint64_t parseCount(std::string_view text) {
    return positive(parse(text, COUNTS), text, "whole number above 0");
}

uint64_t parseDuration(std::string_view text) {
    return positive(parse(text, DURATIONS), text,
                    "duration: a number above 0, with ms, s, m, h or d behind it or nothing");
}

}  // namespace vek::program
