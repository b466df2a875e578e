/// @file
/// The least that text can cost: tables of ready characters, memory that is there already, and as
/// few writes to the stream as possible.

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "contenders/bound.h"
#include "contenders/contenders.h"
#include "contenders/text.h"

namespace bench {

namespace {

/// "00" to "99", two characters each.
struct DecimalPairs {
    constexpr DecimalPairs() {
        for (size_t value = 0; value != 100; ++value) {
            text[2 * value] = static_cast<char>('0' + value / 10);
            text[2 * value + 1] = static_cast<char>('0' + value % 10);
        }
    }
    char text[2 * 100] = {};
};
constexpr DecimalPairs DECIMAL;

/// "00" to "ff".
struct HexPairs {
    constexpr HexPairs() {
        for (size_t value = 0; value != 256; ++value) {
            text[2 * value] = "0123456789abcdef"[value / 16];
            text[2 * value + 1] = "0123456789abcdef"[value % 16];
        }
    }
    char text[2 * 256] = {};
};
constexpr HexPairs HEX;

void writePair(char* out, uint32_t value) { std::memcpy(out, DECIMAL.text + size_t{2} * value, 2); }

constexpr size_t STAMP_LENGTH = sizeof "YYYY-MM-DD HH:MM:SS.uuuuuu" - 1;

/// The civil date of a day: the years begin in March, in eras of 400 years.
char* writeStamp(char* out, timeStamp_t stamp) {
    const auto seconds = static_cast<uint32_t>(stamp / 1000000);
    const auto micros = static_cast<uint32_t>(stamp % 1000000);
    const uint32_t days = seconds / 86400 + 719468;
    const uint32_t second = seconds % 86400;
    const uint32_t era = days / 146097;
    const uint32_t dayOfEra = days % 146097;
    const uint32_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const uint32_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const uint32_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const uint32_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    const uint32_t year = era * 400 + yearOfEra + (month <= 2 ? 1 : 0);

    std::memcpy(out, "0000-00-00 00:00:00.000000", STAMP_LENGTH);
    writePair(out, year / 100);
    writePair(out + 2, year % 100);
    writePair(out + 5, month);
    writePair(out + 8, dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
    writePair(out + 11, second / 3600);
    writePair(out + 14, second / 60 % 60);
    writePair(out + 17, second % 60);
    writePair(out + 20, micros / 10000);
    writePair(out + 22, micros / 100 % 100);
    writePair(out + 24, micros % 100);
    return out + STAMP_LENGTH;
}

/// Every byte as a blank and two digits.
char* writeBytes(char* out, const uint8_t* from, const uint8_t* to) {
    for (; from != to; ++from) {
        *out++ = ' ';
        std::memcpy(out, HEX.text + size_t{2} * *from, 2);
        out += 2;
    }
    return out;
}

struct PrintStamp {
    void operator()(std::ostream& os, timeStamp_t stamp) const {
        char text[STAMP_LENGTH];
        writeStamp(text, stamp);
        os.write(text, STAMP_LENGTH);
    }
    std::string operator()(timeStamp_t stamp) const {
        char text[STAMP_LENGTH];
        writeStamp(text, stamp);
        return {text, STAMP_LENGTH};
    }
};

struct PrintDump {
    void operator()(std::ostream& os, const byteVec_t& bytes) const {
        constexpr size_t CHUNK = 512;
        char text[3 * CHUNK];
        size_t skipped = 1;  // the blank before the first byte
        for (size_t begin = 0; begin < bytes.size(); begin += CHUNK) {
            const uint8_t* const from = bytes.data() + begin;
            const char* const end =
                writeBytes(text, from, from + std::min(CHUNK, bytes.size() - begin));
            os.write(text + skipped, end - text - static_cast<std::streamsize>(skipped));
            skipped = 0;
        }
    }
};

/// Foresees what the messages of the case are: no source, the identifier unknown, a short payload.
struct PrintInvalid {
    static constexpr size_t ROOM = 256;

    static char* writeText(char* out, std::string_view text) {
        std::memcpy(out, text.data(), text.size());
        return out + text.size();
    }
    static char* writeMessage(char* out, const InvalidMessage& message) {
        const byteVec_t& payload = message.getRawData();
        const uint16_t id = message.getOriginalMsgId();
        out = writeStamp(out, message.getTimeStamp());
        out = writeText(out, "  ");
        out = writeText(out, message.getDescription());
        out = writeText(out, ": Id=0x");
        std::memcpy(out, HEX.text + size_t{2} * (id >> 8), 2);
        std::memcpy(out + 2, HEX.text + size_t{2} * (id & 0xff), 2);
        out = writeText(out + 4, ", n=");
        out = std::to_chars(out, out + ROOM, payload.size()).ptr;
        return writeBytes(out, payload.data(), payload.data() + payload.size());
    }
    void operator()(std::ostream& os, const InvalidMessage& message) const {
        char text[ROOM];
        os.write(text, writeMessage(text, message) - text);
    }
    std::string operator()(const InvalidMessage& message) const {
        char text[ROOM];
        return {text, writeMessage(text, message)};
    }
};

}  // namespace

void addBoundForText(const char* name) { addText<PrintStamp, PrintDump, PrintInvalid>(name); }

}  // namespace bench
