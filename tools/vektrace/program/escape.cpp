#include "tools/vektrace/program/escape.h"

#include <algorithm>

namespace vek::program {

namespace {

constexpr char DIGITS[] = "0123456789abcdef";

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }
bool isForeign(char c) { return isControl(c) || static_cast<unsigned char>(c) > 0x7f; }

void appendHexByte(std::string& out, unsigned char byte) {
    out += DIGITS[byte >> 4];
    out += DIGITS[byte & 0xf];
}

/// Runs of bytes that stay are taken in one piece: mostly there is nothing else.
void appendUnless(bool (*escape)(char), std::string& out, std::string_view text) {
    const char* from = text.data();
    const char* const end = from + text.size();
    while (from != end) {
        const char* const stop = std::find_if(from, end, escape);
        out.append(from, stop);
        if (stop == end) {
            return;
        }
        out += "\\x";
        appendHexByte(out, static_cast<unsigned char>(*stop));
        from = stop + 1;
    }
}

}  // namespace

void appendEscaped(std::string& out, std::string_view text) { appendUnless(isForeign, out, text); }

void appendWithoutControls(std::string& out, std::string_view text) {
    appendUnless(isControl, out, text);
}

void appendHex(std::string& out, const unsigned char* data, size_t length) {
    out.reserve(out.size() + 2 * length);
    for (size_t i = 0; i < length; ++i) {
        appendHexByte(out, data[i]);
    }
}

}  // namespace vek::program
