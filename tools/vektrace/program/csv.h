/// @file
/// Rows of comma-separated values as RFC 4180 has them: lines end with CR LF.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vek::program {

class CsvRow {
public:
    void add(std::string_view field);
    void add(uint64_t number) { add(std::to_string(number)); }

    /// The row with the end of its line; the next one begins empty. Valid until the next add().
    std::string_view finish();

private:
    std::string row;
    bool finished = true;
};

}  // namespace vek::program
