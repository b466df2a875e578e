#include "tools/vektrace/program/escape.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace vek::program {

namespace {

constexpr char DIGITS[] = "0123456789abcdef";

bool isForeign(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte > 0x7e;
}

void appendHexByte(std::string& out, unsigned char byte) {
    out += DIGITS[byte >> 4];
    out += DIGITS[byte & 0xf];
}

/// Runs of bytes that stay are taken in one piece: mostly there is nothing else.
void appendAscii(std::string& out, std::string_view text) {
    const char* from = text.data();
    const char* const end = from + text.size();
    while (from != end) {
        const char* const stop = std::find_if(from, end, isForeign);
        out.append(from, stop);
        if (stop == end) {
            return;
        }
        out += "\\x";
        appendHexByte(out, static_cast<unsigned char>(*stop));
        from = stop + 1;
    }
}

// ---- UTF-8 -------------------------------------------------------------------------------------

/// How many bytes the character has that begins with this byte; 0 where none does.
size_t lengthOfCharacter(unsigned char first) {
    if (first < 0x80) {
        return 1;
    }
    if (first < 0xc2 || first > 0xf4) {
        return 0;  // one that continues, or that only a longer form than needed has
    }
    return first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
}

/// What the second byte is at least and at most, so that a character is none of those that UTF-8 has
/// not: longer than needed, a surrogate, beyond U+10FFFF.
bool isSecond(unsigned char first, unsigned char second) {
    const unsigned least = first == 0xe0 ? 0xa0 : first == 0xf0 ? 0x90 : 0x80;
    const unsigned most = first == 0xed ? 0x9f : first == 0xf4 ? 0x8f : 0xbf;
    return second >= least && second <= most;
}

/// The character that `text`, which is not empty, begins with; empty where these bytes are none.
std::string_view characterOf(std::string_view text) {
    const auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
    const size_t length = lengthOfCharacter(byte(0));
    if (length > text.size() || (length > 1 && !isSecond(byte(0), byte(1)))) {
        return {};
    }
    for (size_t i = 2; i < length; ++i) {
        if ((byte(i) & 0xc0U) != 0x80) {
            return {};
        }
    }
    return text.substr(0, length);
}

bool isControl(std::string_view character) {
    const auto first = static_cast<unsigned char>(character.front());
    const bool isLater = first == 0xc2 && static_cast<unsigned char>(character[1]) < 0xa0;
    return first < 0x20 || first == 0x7f || isLater;
}

/// Eight bytes at once. What one of them borrows from the next or carries over to it, it does only
/// where it is foreign itself.
bool isPlain(std::string_view text) {
    constexpr uint64_t EACH = 0x0101010101010101;
    uint64_t foreign = 0;
    for (; text.size() >= sizeof(uint64_t); text.remove_prefix(sizeof(uint64_t))) {
        uint64_t word;
        std::memcpy(&word, text.data(), sizeof word);
        foreign |= word | (word - EACH * 0x20) | (word + EACH);
    }
    return (foreign & EACH * 0x80) == 0 && std::none_of(text.begin(), text.end(), isForeign);
}

}  // namespace

void appendEscaped(std::string& out, std::string_view text) {
    if (isPlain(text)) {
        out.append(text);
    } else {
        appendAscii(out, text);
    }
}

void appendWithoutControls(std::string& out, std::string_view text) {
    while (!text.empty()) {
        const std::string_view character = characterOf(text);
        const size_t length = std::max(character.size(), size_t{1});
        if (character.empty() || isControl(character)) {
            appendAscii(out, text.substr(0, length));
        } else {
            out.append(character);
        }
        text.remove_prefix(length);
    }
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const size_t length = characterOf(text).size();
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
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
