// Every text form, of any content and on a stream in any state, equals its plain twin.

#include <algorithm>
#include <cinttypes>
#include <deque>

#include "fuzz/support/Script.h"
#include "support/PlainText.h"
#include "support/TestMessage.h"
#include "support/streams.h"

namespace {

/// Summer and winter time, by rules that need no file.
void setTimeZone() {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
}

/// A number; few are as long as they can be.
uint64_t number(Script& script) { return script.number(script.byte() % 9); }

template <class Ours, class Plain>
void compare(const StreamState& state, Ours ours, Plain plain) {
    std::ostringstream our;
    std::ostringstream twin;
    state.applyTo(our);
    state.applyTo(twin);
    ours(our);
    plain(twin);
    require(our.str() == twin.str(), "the text equals that of its plain twin");
    require(StreamState::of(our) == StreamState::of(twin), "so does the state of the stream");
}

void compareTimestamp(const StreamState& state, Script& script) {
    const timeStamp_t stamp = number(script);
    const bool utc = script.flag();
    const uint8_t precision = script.byte();
    compare(
        state, [&](std::ostream& os) { MessageBase::printTimeStamp(os, stamp, utc, precision); },
        [&](std::ostream& os) {
            plain::timestamp(os, stamp, utc, std::min<unsigned>(precision, 6));
        });
    std::ostringstream fixed;
    plain::timestamp(fixed, stamp, true, 6);
    TestMessage message(MSGID_CAN, stamp);
    require(MessageBase::printTimestamp(stamp) == fixed.str(), "the fixed form is UTC in full");
    require(message.printTimestamp() == fixed.str(), "a message has that of its own time");
}

void compareCommon(const StreamState& state, Script& script) {
    TestMessage message(MSGID_CAN, number(script));
    message.source = script.restOfText();
    compare(
        state, [&](std::ostream& os) { os << message; },
        [&](std::ostream& os) { plain::common(os, message); });
}

void compareDump(const StreamState& state, Script& script) {
    const byteVec_t data = script.rest();
    const auto plain = [&](std::ostream& os) { plain::dump(os, data.begin(), data.end()); };
    compare(
        state, [&](std::ostream& os) { MessageBase::dumpData(os, data.data(), data.size()); },
        plain);
    compare(
        state, [&](std::ostream& os) { MessageBase::dumpData(os, data.begin(), data.end()); },
        plain);
    const std::deque<uint8_t> elsewhere(data.begin(), data.end());
    compare(
        state,
        [&](std::ostream& os) { MessageBase::dumpData(os, elsewhere.begin(), elsewhere.end()); },
        plain);
}

void compareDumpOfWords(const StreamState& state, Script& script) {
    std::vector<uint16_t> words;
    while (!script.atEnd()) {
        words.push_back(static_cast<uint16_t>(number(script)));
    }
    compare(
        state, [&](std::ostream& os) { MessageBase::dumpData(os, words.begin(), words.end()); },
        [&](std::ostream& os) { plain::dump(os, words.begin(), words.end()); });
}

void compareInvalid(const StreamState& state, Script& script) {
    const std::string source = script.text();
    const std::string description = script.text();
    const std::string enumeration = script.text();
    const auto value = static_cast<uint16_t>(number(script));
    const auto cause = static_cast<invalidMessageCause_t>(script.byte() % 7);
    const byteVec_t record = script.rest();
    InvalidMessage message(record.data(), record.size());
    message.source = source;
    message.setDescription(description.c_str());
    message.setInvalidEnumValue(value, enumeration);
    message.setCause(cause);
    const auto plain = [&](std::ostream& os) { plain::invalidMessage(os, message); };
    compare(
        state, [&](std::ostream& os) { os << message; }, plain);
    compare(
        state, [&](std::ostream& os) { message.print(os); }, plain);
    std::ostringstream twin;
    plain(twin);
    require(message.toString() == twin.str(), "the string equals the plain twin's text");
}

void compareDirection(const StreamState& state, Script& script) {
    const int direction = static_cast<int>(script.byte() % 7) - 2;
    compare(
        state,
        [&](std::ostream& os) { os << static_cast<MessageBase::portDirection_t>(direction); },
        [&](std::ostream& os) { plain::portDirection(os, direction); });
}

void comparePrintable(const StreamState& state, Script& script) {
    const std::string text = script.restOfText();
    compare(
        state, [&](std::ostream& os) { MessageBase::printPrintable(os, text); },
        [&](std::ostream& os) { plain::printable(os, text); });
}

/// A number with so many digits, or as it is where these do not hold it.
std::string plainField(int64_t value, int digits) {
    const bool fits = value >= 0 && value < (digits == 4 ? 10000 : 100);
    char text[32];
    std::snprintf(text, sizeof text, "%0*" PRId64, fits ? digits : 0, value);
    return text;
}

void compareCalendar(const StreamState& state, Script& script) {
    tm t{};
    int* const fields[] = {&t.tm_year, &t.tm_mon, &t.tm_mday, &t.tm_hour, &t.tm_min, &t.tm_sec};
    for (int* const field : fields) {
        *field = static_cast<int>(static_cast<uint32_t>(number(script)));
    }
    const std::string expected = plainField(int64_t{t.tm_year} + 1900, 4) + '-' +
                                 plainField(int64_t{t.tm_mon} + 1, 2) + '-' +
                                 plainField(t.tm_mday, 2) + ' ' + plainField(t.tm_hour, 2) + ':' +
                                 plainField(t.tm_min, 2) + ':' + plainField(t.tm_sec, 2);
    compare(
        state, [&](std::ostream& os) { os << t; },
        [&](std::ostream& os) { os.write(expected.data(), std::streamsize(expected.size())); });
}

void compareUnknownEnum(const StreamState& state, Script& script) {
    const int value = static_cast<int>(static_cast<uint32_t>(number(script)));
    const std::string expected = "Unknown (" + std::to_string(value) + ')';
    compare(
        state, [&](std::ostream& os) { printUnknownEnum(os, value); },
        [&](std::ostream& os) {
            os.width(0);
            os.write(expected.data(), std::streamsize(expected.size()));
        });
}

constexpr void (*FORMS[])(const StreamState&, Script&) = {
    compareTimestamp, compareCommon,    compareDump,     compareDumpOfWords, compareInvalid,
    compareDirection, comparePrintable, compareCalendar, compareUnknownEnum};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool zoned = (setTimeZone(), true);
    static_cast<void>(zoned);
    Script script(data, size);
    const auto form = FORMS[script.byte() % std::size(FORMS)];
    const StreamState state = randomStreamState(script);
    form(state, script);
    return 0;
}
