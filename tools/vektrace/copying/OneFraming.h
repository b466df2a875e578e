/// @file
/// Records with and without sync markers do not go into one output: nobody could read it.
#pragma once

#include <optional>
#include <string>

#include "libvekstream/TraceSpan.h"

namespace vek::program {

class OneFraming {
public:
    /// Throws Failure when the record has a sync marker and those before had none, or the other way
    /// round. `input` is the name of the file that it is from.
    void check(const TraceSpan& record, const std::string& input);

private:
    std::optional<bool> marked;  ///< whether the records so far are
};

}  // namespace vek::program
