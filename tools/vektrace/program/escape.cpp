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

/// Without a branch on a byte, so that compilers take many of them at once.
bool isPlain(std::string_view text) {
    unsigned foreign = 0;
    for (const char c : text) {
        foreign |= static_cast<unsigned>(static_cast<unsigned char>(c - 0x20) > 0x7e - 0x20);
    }
    return foreign == 0;
}

}  // namespace

void appendEscaped(std::string& out, std::string_view text) {
    if (isPlain(text)) {
        out.append(text);
    } else {
        appendUnless(isForeign, out, text);
    }
}

void appendWithoutControls(std::string& out, std::string_view text) {
    appendUnless(isControl, out, text);
}

void appendHex(std::string& out, const unsigned char* data, size_t length, char separator) {
    out.reserve(out.size() + (separator == '\0' ? 2 : 3) * length);
    for (size_t i = 0; i < length; ++i) {
        if (i != 0 && separator != '\0') {
            out += separator;
        }
        appendHexByte(out, data[i]);
    }
}

}  // namespace vek::program
