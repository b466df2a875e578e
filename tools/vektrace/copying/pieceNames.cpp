#include "tools/vektrace/copying/pieceNames.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace vek::program {

namespace {

constexpr std::string_view SUFFIX = ".vkt";
constexpr size_t FEWEST_OTHER_DIGITS = 4;

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

void removeEnd(std::string& text, std::string_view end) {
    if (endsWith(text, end)) {
        text.resize(text.size() - end.size());
    }
}

std::filesystem::path folderOf(const std::filesystem::path& prefix) {
    return prefix.has_parent_path() ? prefix.parent_path() : ".";
}

/// How many digits number the piece; 0 where the name is not that of one.
size_t digitsOf(std::string_view name, std::string_view prefix) {
    const size_t around = prefix.size() + 1 + SUFFIX.size();
    if (name.size() <= around || name.substr(0, prefix.size()) != prefix ||
        name[prefix.size()] != '-' || !endsWith(name, SUFFIX)) {
        return 0;
    }
    const std::string_view number = name.substr(prefix.size() + 1, name.size() - around);
    const bool digits =
        std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
    return digits ? number.size() : 0;
}

/// The files of which `wants` takes the number of digits, by name.
template <class Wants>
std::vector<std::string> findPieces(const std::string& prefix, const Wants& wants) {
    const std::filesystem::path path(prefix);
    const std::string begin = path.filename().string();
    std::vector<std::string> found;
    std::error_code ignored;
    for (std::filesystem::directory_iterator entry(folderOf(path), ignored), end; entry != end;
         entry.increment(ignored)) {
        const std::string name = entry->path().filename().string();
        if (wants(digitsOf(name, begin))) {
            found.push_back(prefix.substr(0, prefix.size() - begin.size()) + name);
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace

uint64_t mostPieces(uint64_t digits) {
    uint64_t beyond = 1;
    for (uint64_t digit = 0; digit < digits; ++digit) {
        beyond *= 10;
    }
    return beyond - 1;
}

std::string pieceName(const std::string& prefix, uint64_t number, uint64_t digits) {
    return fmt::format("{}-{:0{}}{}", prefix, number, digits, SUFFIX);
}

std::string piecePrefix(const std::string& trace) {
    std::string prefix = trace;
    removeEnd(prefix, ".gz");
    removeEnd(prefix, ".zst");
    removeEnd(prefix, SUFFIX);
    return prefix;
}

pieceKey_t pieceKey(const std::string& prefix) {
    const std::filesystem::path path(prefix);
    struct stat folder = {};
    if (stat(folderOf(path).c_str(), &folder) != 0) {
        return {0, 0, prefix};  // whoever opens the trace tells why
    }
    return {folder.st_dev, folder.st_ino, path.filename().string()};
}

std::vector<std::string> existingPieces(const std::string& prefix, uint64_t digits) {
    return findPieces(prefix, [&](size_t each) { return each == digits; });
}

std::vector<std::string> piecesOfOtherDigits(const std::string& prefix, uint64_t digits) {
    return findPieces(prefix,
                      [&](size_t each) { return each >= FEWEST_OTHER_DIGITS && each != digits; });
}

}  // namespace vek::program
