#include "tools/vektrace/program/errors.h"

#include <fmt/format.h>

#include <system_error>

namespace vek::program {

std::string failureText(const std::string& file, uint64_t offset, const std::string& reason) {
    return fmt::format("{}: byte {}: {}", file, offset, reason);
}

std::string failureText(const std::string& file, const std::string& reason) {
    return fmt::format("{}: {}", file, reason);
}

std::string systemReason(int error) { return std::generic_category().message(error); }

}  // namespace vek::program
