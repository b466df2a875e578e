#include "tools/vektrace/copying/quantity.h"

#include <algorithm>
#include <limits>
#include <string>

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

/// Takes the digits in front of `text`; returns how many, or 0 when they are too many.
size_t takeDigits(std::string_view& text, uint64_t& number) {
    const size_t count = std::min(text.find_first_not_of("0123456789"), text.size());
    for (const char digit : text.substr(0, count)) {
        const auto value = static_cast<uint64_t>(digit - '0');
        if (number > (std::numeric_limits<uint64_t>::max() - value) / 10) {
            return 0;
        }
        number = number * 10 + value;
    }
    text.remove_prefix(count);
    return count;
}

/// `number` / `scale` of the unit; 0 where that is too much or no whole number.
uint64_t exactly(uint64_t number, uint64_t scale, uint64_t factor) {
    if (number > std::numeric_limits<uint64_t>::max() / factor || number * factor % scale != 0) {
        return 0;
    }
    return number * factor / scale;
}

/// Takes ".5": its digits go behind those of `number`, and a 10 for each into `scale`. Takes
/// nothing where there is no point.
bool takeFraction(std::string_view& text, uint64_t& number, uint64_t& scale) {
    constexpr size_t MOST_PLACES = 12;
    if (text.empty() || text.front() != '.') {
        return true;
    }
    text.remove_prefix(1);
    const size_t places = takeDigits(text, number);
    for (size_t place = 0; place < std::min(places, MOST_PLACES); ++place) {
        scale *= 10;
    }
    return places > 0 && places <= MOST_PLACES;
}

template <size_t COUNT>
uint64_t parse(std::string_view text, const Unit (&units)[COUNT]) {
    uint64_t number = 0;
    uint64_t scale = 1;
    if (takeDigits(text, number) == 0 || !takeFraction(text, number, scale)) {
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
