/// @file
/// The failure of a step that does not know how far the trace had got. TraceReader and TraceWriter,
/// which do, make a TraceException of it.
#pragma once

#include <exception>
#include <string>
#include <system_error>

namespace vek::detail {

/// Allocates nothing before it is asked for the reason, so that a failure is known as one also where
/// memory is lacking.
class IoError : public std::exception {
public:
    /// An errno value.
    explicit IoError(int _error) : systemError(_error) {}
    /// Constants, of which the reason is put together.
    explicit IoError(const char* _text, const char* _prefix = "") : text(_text), prefix(_prefix) {}

    /// Of an errno value, the system's own words.
    std::string reason() const {
        return systemError != 0 ? std::generic_category().message(systemError)
                                : std::string(prefix) + text;
    }
    /// An errno value, or 0.
    int error() const { return systemError; }

private:
    int systemError = 0;
    const char* text = "";
    const char* prefix = "";
};

/// With errno as its argument, which is read before the exception takes its memory: that may change it.
[[noreturn]] inline void throwIoError(int error) { throw IoError(error); }

}  // namespace vek::detail
