/// @file
/// How many of a number of things, as a user writes it.
#pragma once

#include <cstdint>
#include <string_view>

namespace vek::program {

/// So many of a number of things, or a percentage of them.
class Share {
public:
    Share() = default;
    /// "1000", or "0.5%" up to "100%", with six decimal places at most. Throws UsageError.
    explicit Share(std::string_view text);

    /// Rounded down.
    uint64_t of(uint64_t total) const;

private:
    uint64_t count = 0;
    uint64_t millionthsOfPercent = 0;
};

}  // namespace vek::program
