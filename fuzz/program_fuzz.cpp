// What users write and what the program writes: times, identifiers, sizes and shares are read as a
// plain reading does, and times, escapes, JSON and CSV read back.

#include <rapidjson/document.h>

#include <cctype>
#include <ctime>
#include <map>

#include "fuzz/support/Decimal.h"
#include "fuzz/support/Script.h"
#include "libvekstream/messageName.h"
#include "tools/vektrace/copying/Selection.h"
#include "tools/vektrace/copying/quantity.h"
#include "tools/vektrace/making/Share.h"
#include "tools/vektrace/program/csv.h"
#include "tools/vektrace/program/escape.h"
#include "tools/vektrace/program/identifier.h"
#include "tools/vektrace/program/json.h"
#include "tools/vektrace/program/parseTime.h"
#include "tools/vektrace/program/timeText.h"

using namespace vek::program;

namespace {

using number_t = std::optional<uint64_t>;

/// What a reader of text gives; nothing where it throws UsageError.
template <class Read>
number_t accepted(Read read) {
    try {
        return read();
    } catch (const UsageError& e) {
        require(*e.what() != '\0', "a refusal has a reason");
        return std::nullopt;
    }
}

/// A text, taken from the front; once something is missing, it stays so.
struct Plain {
    std::string_view rest;
    bool good = true;

    bool take(char c) {
        const bool there = !rest.empty() && rest.front() == c;
        rest.remove_prefix(there ? 1 : 0);
        return there;
    }
    void need(char c) { good = take(c) && good; }
    /// At least one digit, at most `most`.
    std::string digits(size_t most = SIZE_MAX) {
        std::string taken;
        while (!rest.empty() && rest.front() >= '0' && rest.front() <= '9') {
            taken += rest.front();
            rest.remove_prefix(1);
        }
        good = good && !taken.empty() && taken.size() <= most;
        return taken;
    }
    /// What stands behind a point, where there is one.
    std::string places(size_t most) { return take('.') ? digits(most) : ""; }
    std::string sixPlaces() {
        std::string taken = places(6);
        taken.resize(6, '0');
        return taken;
    }
    /// Two digits, at most `limit`.
    uint64_t two(uint64_t limit) {
        const std::string taken = digits(2);
        good = good && taken.size() == 2 && std::stoul(taken) <= limit;
        return good ? std::stoul(taken) : 0;
    }
    bool done() const { return good && rest.empty(); }
};

// ---- Counts, sizes, durations and shares -------------------------------------------------------

using units_t = std::map<std::string_view, uint64_t>;

/// A number that is still whole behind the unit. The digits without the point, times the unit, must
/// fit 64 bits.
number_t plainQuantity(const std::string& text, const units_t& units) {
    Plain plain{text};
    std::string digits = plain.digits();
    const std::string places = plain.places(12);
    const auto unit = units.find(plain.rest);
    if (!plain.good || unit == units.end()) {
        return std::nullopt;
    }
    Decimal number(digits + places);
    number.multiply(unit->second);
    const bool tooMuch = !number.value();
    return number.drop(places.size()) && !tooMuch && number.value() != 0 ? number.value()
                                                                         : std::nullopt;
}

void checkQuantities(Script& script) {
    static const units_t COUNTS = {{"", 1}};
    static const units_t SIZES = {
        {"", 1}, {"k", 1024}, {"K", 1024}, {"M", 1048576}, {"G", 1073741824}};
    static const units_t DURATIONS = {{"", 1000000},   {"ms", 1000},      {"s", 1000000},
                                      {"m", 60000000}, {"h", 3600000000}, {"d", 86400000000}};
    const std::string text = script.restOfText();
    require(accepted([&] { return parseCount(text); }) == plainQuantity(text, COUNTS),
            "a count is read as it stands");
    require(accepted([&] { return parseSize(text); }) == plainQuantity(text, SIZES),
            "a size is read as it stands");
    require(accepted([&] { return parseDuration(text); }) == plainQuantity(text, DURATIONS),
            "a duration is read as it stands");
}

/// So many, or a percentage of `total`, rounded down.
number_t plainShare(const std::string& text, uint64_t total) {
    Plain plain{text};
    const std::string digits = plain.digits();
    if (plain.done()) {
        return Decimal(digits).value();
    }
    const number_t millionths = Decimal(digits + plain.sixPlaces()).value();
    plain.need('%');
    if (!plain.done() || !millionths || *millionths > 100000000) {
        return std::nullopt;
    }
    Decimal part(std::to_string(total));
    part.multiply(*millionths).drop(8);
    return part.value();
}

void checkShare(Script& script) {
    const uint64_t total = script.number(8);
    const std::string text = script.restOfText();
    require(accepted([&] { return Share(text).of(total); }) == plainShare(text, total),
            "a share is read as it stands");
}

// ---- Times -------------------------------------------------------------------------------------

bool isLeapYear(uint64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }
uint64_t daysOfYear(uint64_t year) { return isLeapYear(year) ? 366 : 365; }
uint64_t daysOfMonth(uint64_t year, uint64_t month) {
    constexpr unsigned DAYS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return DAYS[month - 1] + (month == 2 && isLeapYear(year) ? 1 : 0);
}

/// From the beginning of 1969, year by year, but for those of which 400 have always as many days.
number_t plainDays(uint64_t year, uint64_t month, uint64_t day) {
    if (year < 1969 || month < 1 || month > 12 || day < 1 || day > daysOfMonth(year, month)) {
        return std::nullopt;
    }
    uint64_t days = (year - 1969) / 400 * 146097;
    for (uint64_t y = 1969 + (year - 1969) / 400 * 400; y < year; ++y) {
        days += daysOfYear(y);
    }
    for (uint64_t m = 1; m < month; ++m) {
        days += daysOfMonth(year, m);
    }
    return days + day - 1;
}

number_t plainMoment(Plain plain) {
    const std::string year = plain.digits(6);
    plain.need('-');
    const uint64_t month = plain.two(12);
    plain.need('-');
    const uint64_t day = plain.two(31);
    if (!plain.good || year.size() < 4) {
        return std::nullopt;
    }
    const number_t days = plainDays(std::stoul(year), month, day);
    uint64_t seconds = 0;
    uint64_t ahead = 0;
    uint64_t behind = 0;
    std::string places = "000000";
    if (!plain.done()) {
        plain.good = plain.take('T') || plain.take('t') || plain.take(' ');
        seconds = plain.two(23) * 3600;
        plain.need(':');
        seconds += plain.two(59) * 60;
        plain.need(':');
        seconds += plain.two(59);
        places = plain.sixPlaces();
        if (plain.take('+')) {
            ahead = plain.two(23) * 3600;
            plain.need(':');
            ahead += plain.two(59) * 60;
        } else if (plain.take('-')) {
            behind = plain.two(23) * 3600;
            plain.need(':');
            behind += plain.two(59) * 60;
        } else if (!plain.take('Z')) {
            plain.take('z');
        }
    }
    const uint64_t taken = 365 * 86400 + ahead;
    if (!plain.done() || !days || *days * 86400 + seconds + behind < taken) {
        return std::nullopt;
    }
    return Decimal(std::to_string(*days * 86400 + seconds + behind - taken) + places).value();
}

number_t plainTime(const std::string& text) {
    Plain plain{text};
    const bool fromFirst = plain.take('+');
    if (!fromFirst && !plain.take('@')) {
        return plainMoment(plain);
    }
    const std::string seconds = plain.digits(20);
    const Decimal number(seconds + plain.sixPlaces());
    if (fromFirst) {
        plain.take('s');
    }
    return plain.done() ? number.value() : std::nullopt;
}

void checkParseTime(Script& script) {
    const uint64_t first = script.number(8);
    const std::string text = script.restOfText();
    bool fromFirst = false;
    std::optional<uint64_t> moment;
    const number_t time = accepted([&] {
        const TimeBound bound = parseTime(text);
        fromFirst = bound.fromFirst;
        moment = bound.at(first);
        return bound.microseconds;
    });
    require(time == plainTime(text), "a time is read as it stands");
    if (time) {
        require(fromFirst == (text.front() == '+'), "a plus makes it a distance");
        const bool exists = !fromFirst || *time <= UINT64_MAX - first;
        require(moment.has_value() == exists, "it is a moment that a record can have");
        require(!exists || *moment == *time + (fromFirst ? first : 0),
                "it counts from the first record");
    }
}

/// A moment as text, with all of its digits.
std::string plainUtc(uint64_t stamp, char separator) {
    uint64_t days = stamp / 86400000000;
    uint64_t year = 1970 + days / 146097 * 400;
    for (days %= 146097; days >= daysOfYear(year); ++year) {
        days -= daysOfYear(year);
    }
    uint64_t month = 1;
    for (; days >= daysOfMonth(year, month); ++month) {
        days -= daysOfMonth(year, month);
    }
    const auto seconds = static_cast<unsigned>(stamp / 1000000 % 86400);
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u%c%02u:%02u:%02u.%06u",
                  static_cast<unsigned>(year), static_cast<unsigned>(month),
                  static_cast<unsigned>(days + 1), separator, seconds / 3600, seconds / 60 % 60,
                  seconds % 60, static_cast<unsigned>(stamp % 1000000));
    return text;
}

/// Microseconds of "1 d 2 h 3 min 4.5 s".
uint64_t plainDuration(const std::string& text) {
    static const units_t UNITS = {{" d ", 86400}, {" h ", 3600}, {" min ", 60}, {" s", 1}};
    Plain plain{text};
    uint64_t sum = 0;
    while (!plain.rest.empty() && plain.good) {
        const std::string digits = plain.digits();
        const number_t number = Decimal(digits + plain.sixPlaces()).value();
        const size_t length = std::min(plain.rest.find_first_of("0123456789"), plain.rest.size());
        const auto unit = UNITS.find(plain.rest.substr(0, length));
        require(number && unit != UNITS.end(), "a duration is numbers with their units");
        sum += *number * unit->second;
        plain.rest.remove_prefix(length);
    }
    require(plain.good, "a duration is well-formed");
    return sum;
}

number_t read(const std::string& text) {
    return accepted([&] { return parseTime(text).microseconds; });
}

/// In the zone that setTimeZone sets.
void checkLocal(const std::string& local, uint64_t stamp) {
    const std::string zone = local.substr(local.size() - 6);
    const uint64_t hours = zone == "-05:00" ? 5 : zone == "-04:00" ? 4 : 0;
    const bool beyondSystem = sizeof(time_t) < 8 && stamp / 1000000 > INT32_MAX;
    require(beyondSystem ? zone == "+00:00" : hours > 0, "local time is that of its zone");
    const uint64_t behind = hours * 3600000000;
    require(stamp < behind || local == plainUtc(stamp - behind, ' ') + zone,
            "local time is as far from UTC as it tells");
}

void checkTimeText(Script& script) {
    const timeStamp_t stamp = script.number(8);
    const timeStamp_t other = script.number(8);
    const unsigned precision = script.byte() % 7;
    const size_t cut = precision == 0 ? 7 : 6 - precision;
    std::string utc;
    appendUtc(utc, stamp, precision);
    const std::string full = plainUtc(stamp, ' ');
    require(utc == full.substr(0, full.size() - cut), "a time is shown as the calendar has it");
    require(rfc3339(stamp) == plainUtc(stamp, 'T') + 'Z', "so it is in RFC 3339");
    require(read(rfc3339(stamp)) == stamp, "which reads back");
    std::string local;
    appendLocal(local, stamp);
    require(read(local) == stamp, "local time reads back");
    checkLocal(local, stamp);
    std::string seconds = "@";
    appendSeconds(seconds, stamp);
    require(read(seconds) == stamp, "seconds read back");
    std::string difference;
    appendDifference(difference, other, stamp);
    require(difference.front() == (stamp < other ? '-' : '+'), "a difference has its sign");
    difference.front() = '+';
    require(read(difference) == (stamp < other ? other - stamp : stamp - other),
            "a difference reads back");
    require(plainDuration(durationText(stamp)) == stamp, "a duration reads back");
}

// ---- Identifiers and selections ----------------------------------------------------------------

std::string upper(std::string text) {
    for (char& c : text) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return text;
}

std::map<std::string, uint64_t> allNames() {
    std::map<std::string, uint64_t> names;
    for (unsigned id = 0; id <= 0xFFFF; ++id) {
        const std::string_view name = identifierName(static_cast<msgid_t>(id));
        if (!name.empty()) {
            require(names.emplace(upper(std::string(name)), id).second, "each name is there once");
        }
    }
    return names;
}

number_t plainIdentifier(const std::string& text) {
    static const std::map<std::string, uint64_t> names = allNames();
    const auto name = names.find(upper(text));
    if (name != names.end()) {
        return name->second;
    }
    const bool hexadecimal = text.size() > 2 && upper(text.substr(0, 2)) == "0X";
    const std::string digits = text.substr(hexadecimal ? 2 : 0);
    uint64_t value = 0;
    for (const char c : digits) {
        const size_t digit = std::string("0123456789ABCDEF").find(upper({c}));
        if (digit >= (hexadecimal ? 16U : 10U) || value > 0xFFFF) {
            return std::nullopt;
        }
        value = value * (hexadecimal ? 16 : 10) + digit;
    }
    return !digits.empty() && value <= 0xFFFF ? number_t(value) : std::nullopt;
}

void checkIdentifier(Script& script) {
    const auto id = static_cast<msgid_t>(script.number(2));
    const std::string text = script.restOfText();
    require(accepted([&] { return parseIdentifier(text); }) == plainIdentifier(text),
            "an identifier is read as it stands");
    require(parseIdentifier(identifierNumber(id)) == id, "its number reads back");
    require(identifierName(id).empty() || parseIdentifier(identifierName(id)) == id,
            "so does its name");
}

void checkSelection(Script& script) {
    byteVec_t record(MessageBase::MO_BASE_DERIVED);
    const auto id = static_cast<uint16_t>(script.number(2));
    const uint64_t time = script.number(8);
    uint16ToByteArray(record.data() + MessageBase::MO_MSGID, id);
    MessageBase::setTimeStamp(record, time);
    Selection selection;
    bool wanted = true;
    const uint8_t conditions = script.byte();
    if ((conditions & 1) != 0) {
        selection.from = script.number(8);
        wanted = wanted && time >= *selection.from;
    }
    if ((conditions & 2) != 0) {
        selection.to = script.number(8);
        wanted = wanted && time < *selection.to;
    }
    if ((conditions & 4) != 0) {
        const auto only = static_cast<size_t>(script.number(2));
        selection.identifiers = Selection::identifiers_t().set(only);
        wanted = wanted && only == id;
    }
    TraceSpan span;
    span.data = record.data();
    span.length = record.size();
    require(selection.wants(span) == wanted, "what meets every condition is wanted");
}

// ---- What is written ---------------------------------------------------------------------------

std::string plainEscape(const std::string& text) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        char digits[8] = {c};
        if (byte < 0x20 || byte > 0x7E) {
            std::snprintf(digits, sizeof digits, "\\x%02x", unsigned{byte});
        }
        result += digits;
    }
    return result;
}

/// How many bytes the character of UTF-8 has that `text` begins with, and which one it is; 0 where
/// there is none.
size_t plainCharacter(const std::string& text, uint32_t& code) {
    constexpr uint32_t LEAST[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(text[0]);
    code = first;
    if (first < 0x80) {
        return 1;
    }
    const size_t length = first >= 0xF8   ? 0
                          : first >= 0xF0 ? 4
                          : first >= 0xE0 ? 3
                          : first >= 0xC0 ? 2
                                          : 0;
    if (length == 0 || length > text.size()) {
        return 0;
    }
    code = first % (1U << (7 - length));
    for (size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte / 64 != 2) {
            return 0;
        }
        code = code * 64 + byte % 64;
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < LEAST[length] || code > 0x10FFFF || surrogate ? 0 : length;
}

/// Escapes control characters and bytes that are none of UTF-8; tells whether there were any of these.
std::string plainWithoutControls(std::string text, bool& isUtf8) {
    std::string result;
    isUtf8 = true;
    while (!text.empty()) {
        uint32_t code = 0;
        const size_t length = plainCharacter(text, code);
        const std::string character = text.substr(0, std::max<size_t>(length, 1));
        const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
        isUtf8 = isUtf8 && length > 0;
        result += length == 0 || control ? plainEscape(character) : character;
        text.erase(0, character.size());
    }
    return result;
}

std::string escaped(const std::string& text) {
    std::string result;
    appendEscaped(result, text);
    return result;
}

void checkEscape(Script& script) {
    const std::string text = script.restOfText();
    require(escaped(text) == plainEscape(text), "what is not printable ASCII is escaped");
    std::string result = "before";
    appendWithoutControls(result, text);
    bool utf8 = false;
    require(result == "before" + plainWithoutControls(text, utf8), "controls are escaped");
    require(isUtf8(text) == utf8, "UTF-8 is told from other bytes");
    result.clear();
    appendHex(result, reinterpret_cast<const unsigned char*>(text.data()), text.size(), ' ');
    std::string expected;
    for (const char c : text) {
        char digits[8];
        std::snprintf(digits, sizeof digits, "%s%02x", expected.empty() ? "" : " ",
                      unsigned{static_cast<unsigned char>(c)});
        expected += digits;
    }
    require(result == expected, "bytes are two digits each");
}

void checkJson(Script& script) {
    const auto id = static_cast<msgid_t>(script.number(2));
    const timeStamp_t stamp = script.number(8);
    std::string path = script.text();
    path.resize(std::min(path.find('\0'), path.size()));  // as the names of files are
    const std::string text = escaped(script.restOfText());
    rapidjson::StringBuffer buffer;
    jsonLine_t writer(buffer);
    writer.StartObject();
    addMember(writer, "schema", schemaName("fuzz"));
    addMember(writer, "file", jsonPath(path));
    addIdentifier(writer, id);
    addTime(writer, stamp);
    addFlag(writer, "flag", (id & 1) != 0);
    addMember(writer, "text", text);
    writer.EndObject();
    const std::string line(buffer.GetString(), buffer.GetSize());
    require(line.find('\n') == line.npos, "an object is one line");

    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(line.data(), line.size());
    require(!document.HasParseError() && document.IsObject(), "JSON is well-formed");
    const auto member = [&](const char* key) {
        const rapidjson::Value& value = document[key];
        return std::string(value.GetString(), value.GetStringLength());
    };
    require(member("schema") == "vektrace.fuzz/1", "the schema reads back");
    bool utf8 = false;
    plainWithoutControls(path, utf8);
    require(member("file") == (utf8 ? path : plainEscape(path)), "so does the name of the file");
    require(document["id"].GetUint() == unsigned{id}, "so does the identifier");
    require(document.HasMember("name") == !identifierName(id).empty(), "which may have a name");
    require(member("time") == rfc3339(stamp) && member("us") == std::to_string(stamp),
            "so does the time");
    require(document["flag"].GetBool() == ((id & 1) != 0), "so does a flag");
    require(member("text") == text, "so does a text");
}

/// The fields of a row as RFC 4180 has them.
std::vector<std::string> plainFields(std::string_view row) {
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (size_t i = 0; i < row.size(); ++i) {
        if (row[i] == '"' && quoted && i + 1 < row.size() && row[i + 1] == '"') {
            fields.back() += row[++i];
        } else if (row[i] == '"') {
            quoted = !quoted;
        } else if (row[i] == ',' && !quoted) {
            fields.emplace_back();
        } else {
            require(quoted || (row[i] != '\r' && row[i] != '\n'), "a row is one row");
            fields.back() += row[i];
        }
    }
    require(!quoted, "quotes are closed");
    return fields;
}

void checkCsv(Script& script) {
    CsvRow row;
    for (int rows = 0; rows < 3; ++rows) {
        std::vector<std::string> fields;
        do {
            fields.push_back(script.text());
            row.add(fields.back());
        } while (!script.atEnd() && script.flag());
        std::string_view text = row.finish();
        require(text.size() >= 2 && text.substr(text.size() - 2) == "\r\n", "a row has an end");
        text.remove_suffix(2);
        require(plainFields(text) == fields, "a row reads back");
    }
}

/// Behind UTC, where the first hours of 1970 are in the year before, and by seconds that are not shown.
void setTimeZone() {
    setenv("TZ", "EST5:00:30EDT,M3.2.0,M11.1.0", 1);
    tzset();
}

constexpr void (*CHECKS[])(Script&) = {checkQuantities, checkShare,      checkParseTime,
                                       checkTimeText,   checkIdentifier, checkSelection,
                                       checkEscape,     checkJson,       checkCsv};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool zoned = (setTimeZone(), true);
    static_cast<void>(zoned);
    Script script(data, size);
    CHECKS[script.byte() % std::size(CHECKS)](script);
    return 0;
}
