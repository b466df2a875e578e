#include "tools/vektrace/making/Share.h"

#include <fmt/format.h>

#include <cstddef>

#include "tools/vektrace/program/errors.h"
#include "tools/vektrace/program/number.h"

namespace vek::program {

namespace {

constexpr uint64_t PERCENT = 1'000'000;
constexpr uint64_t WHOLE = 100 * PERCENT;

/// Whether the text, which has no % any more, is at most a hundred percent.
bool isPercentage(std::string_view text, uint64_t& millionths) {
    const size_t point = text.find('.');
    uint64_t percent = 0;
    uint64_t fraction = 0;
    if (!isNumber(text.substr(0, point), percent) ||
        (point != text.npos && !isFraction(text.substr(point + 1), fraction))) {
        return false;
    }
    millionths = percent <= 100 ? percent * PERCENT + fraction : WHOLE + 1;
    return millionths <= WHOLE;
}

}  // namespace

Share::Share(std::string_view text) {
    if (text.empty() || text.back() != '%') {
        count = parseNumber(text);
    } else if (!isPercentage(text.substr(0, text.size() - 1), millionthsOfPercent)) {
        throw UsageError(fmt::format("'{}' is no percentage up to 100% with six places", text));
    }
}

uint64_t Share::of(uint64_t total) const {
    return count + total / WHOLE * millionthsOfPercent +
           total % WHOLE * millionthsOfPercent / WHOLE;
}

}  // namespace vek::program
