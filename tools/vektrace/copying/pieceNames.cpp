#include "tools/vektrace/copying/pieceNames.h"

#include <algorithm>
#include <cinttypes>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace vek::program {

namespace {

constexpr std::string_view SUFFIX = ".vkt";
constexpr size_t MIN_DIGITS = 4;

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

void removeEnd(std::string& text, std::string_view end) {
    if (endsWith(text, end)) {
        text.resize(text.size() - end.size());
    }
}

bool isPieceNumber(std::string_view text) {
    const bool digits =
        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    return digits &&
           (text.size() == MIN_DIGITS || (text.size() > MIN_DIGITS && text.front() != '0'));
}

bool isPieceName(std::string_view name, std::string_view prefix) {
    const size_t around = prefix.size() + 1 + SUFFIX.size();
    return name.size() > around && name.substr(0, prefix.size()) == prefix &&
           name[prefix.size()] == '-' && endsWith(name, SUFFIX) &&
           isPieceNumber(name.substr(prefix.size() + 1, name.size() - around));
}

}  // namespace

std::string pieceName(const std::string& prefix, uint64_t number) {
    char digits[24];
    // The field is wide enough for any number.
    static_cast<void>(std::snprintf(digits, sizeof digits, "-%04" PRIu64, number));
    return prefix + digits + std::string(SUFFIX);
}

std::string piecePrefix(const std::string& trace) {
    std::string prefix = trace;
    removeEnd(prefix, ".gz");
    removeEnd(prefix, ".zst");
    removeEnd(prefix, SUFFIX);
    return prefix;
}

std::vector<std::string> existingPieces(const std::string& prefix) {
    const std::filesystem::path path(prefix);
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    const std::string begin = path.filename().string();
    std::vector<std::string> found;
    std::error_code ignored;
    for (std::filesystem::directory_iterator entry(folder, ignored), end; entry != end;
         entry.increment(ignored)) {
        const std::string name = entry->path().filename().string();
        if (isPieceName(name, begin)) {
            found.push_back((path.parent_path() / name).string());
        }
    }
    std::sort(found.begin(), found.end(), [](const std::string& a, const std::string& b) {
        return a.size() != b.size() ? a.size() < b.size() : a < b;
    });
    return found;
}

}  // namespace vek::program
