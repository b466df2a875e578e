/// @file
/// The failure of a step that does not know how far the trace had got. TraceReader and TraceWriter,
/// which do, make a TraceException of it.
#pragma once

#include <stdexcept>
#include <string>
#include <system_error>

namespace vek::detail {

class IoError : public std::runtime_error {
public:
    explicit IoError(const std::string& reason) : std::runtime_error(reason) {}
    /// The system's own words for an errno value.
    explicit IoError(int _error)
        : std::runtime_error(std::generic_category().message(_error)), systemError(_error) {}

    /// An errno value, or 0.
    int error() const { return systemError; }

private:
    int systemError = 0;
};

}  // namespace vek::detail
