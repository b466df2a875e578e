#include <iomanip>
#include <sstream>

#include "docs/Literals.h"
#include "libvektrace/SimpleMessage.h"
#include "support/Settings.h"
#include "support/hex.h"
#include "support/streams.h"

namespace {

constexpr timeStamp_t STAMP = 1234567890123456;
constexpr timeStamp_t SECOND = 1000000;

/// What `write` writes into a fresh stream.
template <class Write>
std::string textOf(Write write) {
    std::ostringstream os;
    write(os);
    return os.str();
}

/// Sets everything in which a text could depend on its stream.
std::ostream& disguise(std::ostream& os) {
    os.imbue(groupingLocale());
    return os << std::hex << std::uppercase << std::showbase << std::showpos << std::left
              << std::setfill('*') << std::setw(40);
}

// ---- Calendar text and unknown values ----------------------------------------------------------

tm calendar(int year, int month) {
    tm t{};
    t.tm_year = year - 1900;
    t.tm_mon = month - 1;
    t.tm_mday = 13;
    t.tm_hour = 23;
    t.tm_min = 31;
    t.tm_sec = 30;
    return t;
}

void addCalendarTexts(Literals& literals) {
    const auto text = [](const tm& t) { return textOf([&](std::ostream& os) { os << t; }); };
    literals.add("13 February 2009, 23:31:30", text(calendar(2009, 2)));
    literals.add("13 February 2009, 23:31:30, disguised stream",
                 textOf([](std::ostream& os) { disguise(os) << calendar(2009, 2); }));
    literals.add("year 7", text(calendar(7, 2)));
    literals.add("year 12009", text(calendar(12009, 2)));
    literals.add("year -1", text(calendar(-1, 2)));
    literals.add("month 0", text(calendar(2009, 0)));
    literals.add("month 100", text(calendar(2009, 100)));
    literals.add("month -3", text(calendar(2009, -3)));
}

void addUnknownValues(Literals& literals) {
    for (const int value : {42, -1}) {
        literals.add("value " + std::to_string(value),
                     textOf([&](std::ostream& os) { printUnknownEnum(os, value); }));
    }
    literals.add("value 42, disguised stream",
                 textOf([](std::ostream& os) { printUnknownEnum(disguise(os), 42); }));
}

// ---- Timestamps --------------------------------------------------------------------------------

/// The fixed form where time_t is a signed 32-bit type, also when it is wider here.
std::string fixedFormWith32BitTime(timeStamp_t stamp) {
    const auto seconds = time_t{static_cast<int32_t>(static_cast<uint32_t>(stamp / SECOND))};
    tm t{};
    gmtime_r(&seconds, &t);
    const std::string fraction = MessageBase::printTimestamp(stamp % SECOND).substr(19);
    return textOf([&](std::ostream& os) { os << t << fraction; });
}

void addTimestampsBeyond2038(Literals& literals) {
    constexpr bool WIDE = sizeof(time_t) > sizeof(int32_t);
    for (const timeStamp_t stamp : {SECOND << 31, (SECOND << 32) - 1, ~timeStamp_t{0}}) {
        const std::string here = MessageBase::printTimestamp(stamp);
        const std::string with32Bits = fixedFormWith32BitTime(stamp);
        literals.add(std::to_string(stamp) + ", 32-bit time_t", with32Bits);
        if (WIDE) {
            literals.add(std::to_string(stamp) + ", 64-bit time_t", here);
        } else {
            EXPECT_EQ(here, with32Bits);
            literals.addFromElsewhere(std::to_string(stamp) + ", 64-bit time_t");
        }
    }
}

std::string configurableForm(timeStamp_t stamp, bool utc, uint8_t precision) {
    return textOf(
        [&](std::ostream& os) { MessageBase::printTimeStamp(os, stamp, utc, precision); });
}

void addTimestamps(Literals& literals) {
    const auto number = [](timeStamp_t stamp) { return std::to_string(stamp); };
    for (const timeStamp_t stamp : {timeStamp_t{0}, SECOND - 1, SECOND, STAMP, SECOND << 32}) {
        literals.add(number(stamp), MessageBase::printTimestamp(stamp));
    }
    literals.add(number(STAMP) + ", disguised stream", textOf([](std::ostream& os) {
                     MessageBase::printTimestamp(disguise(os), STAMP);
                 }));
    for (uint8_t precision = 0; precision <= 7; ++precision) {
        literals.add("precision " + std::to_string(precision),
                     configurableForm(STAMP, true, precision));
    }
    literals.add("999999, precision 3", configurableForm(SECOND - 1, true, 3));
    const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    literals.add("local time, precision 3", configurableForm(STAMP, false, 3));
}

// ---- Messages ----------------------------------------------------------------------------------

void addCommonTexts(Literals& literals) {
    SimpleMessage<MSGID_STOP> message(STAMP);
    const auto common = [&] {
        return textOf([&](std::ostream& os) { os << static_cast<const MessageBase&>(message); });
    };
    literals.add("no source", common());
    message.source = "ECU 7";
    literals.add("source \"ECU 7\"", common());
    literals.add("source \"ECU 7\", disguised stream",
                 textOf([&](std::ostream& os) { disguise(os) << message; }));
    literals.add("source \"ECU 7\", print of a SimpleMessage",
                 textOf([&](std::ostream& os) { message.print(os); }));
    message.source = " ";
    literals.add("source of one blank", common());
}

template <msgid_t id>
void addSimpleMessage(Literals& literals, const char* name) {
    literals.add(name, SimpleMessage<id>(STAMP).toString());
}

void addSimpleMessages(Literals& literals) {
    addSimpleMessage<MSGID_STARTUP>(literals, "MSGID_STARTUP");
    addSimpleMessage<MSGID_DATALOGGINGSTARTED>(literals, "MSGID_DATALOGGINGSTARTED");
    addSimpleMessage<MSGID_DATALOGGINGSTOPPED>(literals, "MSGID_DATALOGGINGSTOPPED");
    addSimpleMessage<MSGID_GETVERSION>(literals, "MSGID_GETVERSION");
    addSimpleMessage<MSGID_GETTIME>(literals, "MSGID_GETTIME");
    addSimpleMessage<MSGID_TIMEJUMP>(literals, "MSGID_TIMEJUMP");
    addSimpleMessage<MSGID_START>(literals, "MSGID_START");
    addSimpleMessage<MSGID_STOP>(literals, "MSGID_STOP");
    addSimpleMessage<MSGID_TRIGGERCLEAR>(literals, "MSGID_TRIGGERCLEAR");
    addSimpleMessage<MSGID_CUSTOMER>(literals, "MSGID_CUSTOMER");
}

void addPortDirections(Literals& literals) {
    const auto add = [&](const char* what, int direction, auto prepare) {
        literals.add(what, textOf([&](std::ostream& os) {
                         prepare(os) << static_cast<MessageBase::portDirection_t>(direction);
                     }));
    };
    const auto plain = [](std::ostream& os) -> std::ostream& { return os; };
    const auto wide = [](std::ostream& os) -> std::ostream& {
        return os << std::setfill('*') << std::setw(20);
    };
    add("PORT_DIR_UNKNOWN", MessageBase::PORT_DIR_UNKNOWN, plain);
    add("PORT_DIR_IN", MessageBase::PORT_DIR_IN, plain);
    add("PORT_DIR_OUT", MessageBase::PORT_DIR_OUT, plain);
    add("PORT_DIR_NUM", MessageBase::PORT_DIR_NUM, plain);
    add("direction -1", -1, plain);
    add("PORT_DIR_IN, width 20, fill *", MessageBase::PORT_DIR_IN, wide);
    add("PORT_DIR_NUM, width 20, fill *", MessageBase::PORT_DIR_NUM, wide);
}

// ---- Bytes -------------------------------------------------------------------------------------

void addPrintable(Literals& literals) {
    const auto printable = [](const std::string& text) {
        return textOf([&](std::ostream& os) { MessageBase::printPrintable(os, text); });
    };
    literals.add("letters, digits, punctuation and blank", printable("Port 7: ok ~ \"a\""));
    literals.add("backslash", printable("a\\b"));
    literals.add("tab, line end, 0", printable(std::string("\t\n\0", 3)));
    literals.add("0x7F, 0x80, 0xFF", printable("\x7f\x80\xff"));
}

void addDumps(Literals& literals) {
    const auto add = [&](const char* what, auto prepare) {
        literals.add(what, textOf([&](std::ostream& os) {
                         const byteVec_t data = bytes("00 07 1F FF");
                         prepare(os);
                         MessageBase::dumpData(os, data.begin(), data.end());
                     }));
    };
    using std::setfill;
    add("as the stream is created", [](std::ostream&) {});
    add("hex, fill 0", [](std::ostream& os) { os << std::hex << setfill('0'); });
    add("hex", [](std::ostream& os) { os << std::hex; });
    add("hex, fill 0, uppercase",
        [](std::ostream& os) { os << std::hex << setfill('0') << std::uppercase; });
    add("hex, fill 0, showbase",
        [](std::ostream& os) { os << std::hex << setfill('0') << std::showbase; });
    add("hex, fill 0, left", [](std::ostream& os) { os << std::hex << setfill('0') << std::left; });
    add("oct, fill 0", [](std::ostream& os) { os << std::oct << setfill('0'); });
    add("oct, showbase", [](std::ostream& os) { os << std::oct << std::showbase; });
    add("left, fill *", [](std::ostream& os) { os << std::left << setfill('*'); });
    add("width 10, showpos, locale that groups digits", [](std::ostream& os) {
        os.imbue(groupingLocale());
        os << std::setw(10) << std::showpos;
    });

    const int elements[] = {5, 4660, -1, 65543};
    literals.add("the ints 5, 4660, -1, 65543 in hex, fill 0", textOf([&](std::ostream& os) {
                     os << std::hex << setfill('0');
                     MessageBase::dumpData(os, std::begin(elements), std::end(elements));
                 }));
}

// ---- Records that could not be decoded ---------------------------------------------------------

/// A record of reserved word 0 and the timestamp STAMP.
InvalidMessage invalid(const std::string& id, const byteVec_t& payload) {
    byteVec_t record = bytes("00 00 " + id + "00 00 00 04 62 D5 3C 8A BA C0");
    record.insert(record.end(), payload.begin(), payload.end());
    return {record.data(), record.size()};
}

void addInvalidMessages(Literals& literals) {
    const auto add = [&](const char* what, auto change) {
        InvalidMessage message = invalid("0A B5", bytes("01 FF"));
        change(message);
        literals.add(what, message.toString());
    };
    const auto cause = [](int value) {
        return
            [value](InvalidMessage& m) { m.setCause(static_cast<invalidMessageCause_t>(value)); };
    };
    add("IM_INVALID_MSGID", cause(IM_INVALID_MSGID));
    add("IM_INVALID_ENUM_VALUE, value 3, \"colour\"",
        [](InvalidMessage& m) { m.setInvalidEnumValue(3, "colour"); });
    add("IM_INVALID_LEN", cause(IM_INVALID_LEN));
    add("IM_INVALID_PARAMETER", cause(IM_INVALID_PARAMETER));
    add("IM_MISC", cause(IM_MISC));
    add("a decoder's own cause", cause(100));
    add("source \"ECU 7\", IM_INVALID_MSGID", [](InvalidMessage& m) { m.source = "ECU 7"; });
    add("title \"Bad frame\"", [](InvalidMessage& m) { m.setDescription("Bad frame"); });
    literals.add("identifier 5, no payload", invalid("00 05", {}).toString());
    literals.add("identifier 5, no payload, disguised stream",
                 textOf([](std::ostream& os) { disguise(os) << invalid("00 05", {}); }));
    const byteVec_t shortRecord = bytes("00 0C 80");
    literals.add("record of 3 bytes",
                 InvalidMessage(shortRecord.data(), shortRecord.size()).toString());
    const InvalidMessage base = invalid("00 05", {});
    literals.add("written as a MessageBase",
                 textOf([&](std::ostream& os) { os << static_cast<const MessageBase&>(base); }));

    const std::string cut = invalid("00 05", byteVec_t(65537)).toString();
    literals.add("payload of 65537 bytes, first 64 characters", cut.substr(0, 64));
    literals.add("payload of 65537 bytes, last 20 characters", cut.substr(cut.size() - 20));
    literals.add("payload of 65537 bytes, length of the text", std::to_string(cut.size()));
}

TEST(TextFormsDocument, HoldsTheTextsThatTheLibraryWrites) {
    Literals literals;
    addCalendarTexts(literals);
    addUnknownValues(literals);
    addTimestamps(literals);
    addTimestampsBeyond2038(literals);
    addCommonTexts(literals);
    addSimpleMessages(literals);
    addPortDirections(literals);
    addPrintable(literals);
    addDumps(literals);
    addInvalidMessages(literals);
    literals.expectIn(DOCUMENTS "/text-forms.md");
}

}  // namespace
