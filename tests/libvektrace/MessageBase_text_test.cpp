// The text of messages, port directions, payload bytes and printable strings.

#include <gtest/gtest.h>

#include <iterator>
#include <list>
#include <random>
#include <sstream>

#include "libvektrace/MessageBase.h"
#include "support/GuardedBuffer.h"
#include "support/PlainText.h"
#include "support/TestMessage.h"
#include "support/hex.h"
#include "support/streams.h"

namespace {

template <class T>
std::string text(const T& value) {
    std::ostringstream os;
    os << value;
    return os.str();
}

// ---- The common text ---------------------------------------------------------------------------

TEST(CommonText, WithoutASourceIsTheTimestampAlone) {
    EXPECT_EQ(text(static_cast<const MessageBase&>(TestMessage(MSGID_CAN, 1234567890123456))),
              "2009-02-13 23:31:30.123456");
    EXPECT_EQ(text(static_cast<const MessageBase&>(TestMessage())), "1970-01-01 00:00:00.000000");
}

TEST(CommonText, ASourceStandsInFrontWithColonAndBlank) {
    TestMessage message(MSGID_CAN, 0);
    message.source = "logger 1";
    EXPECT_EQ(text(message), "logger 1: 1970-01-01 00:00:00.000000");
}

TEST(CommonText, ASourceOfOneBlankIsASource) {
    TestMessage message;
    message.source = " ";
    EXPECT_EQ(text(message), " : 1970-01-01 00:00:00.000000");
}

TEST(CommonText, TheSourceIsWrittenWholeWithZeroBytes) {
    TestMessage message;
    message.source = std::string("a\0b\n\xFF", 5);
    EXPECT_EQ(text(message), message.source + ": 1970-01-01 00:00:00.000000");
    EXPECT_EQ(message.toString(), text(message));
}

TEST(CommonText, ALongSourceIsWrittenWhole) {
    for (const size_t length : {996u, 997u, 998u, 999u, 1021u, 1022u, 1023u, 1024u, 1025u, 5000u}) {
        TestMessage message;
        message.source = std::string(length, 'x');
        EXPECT_EQ(text(message), message.source + ": 1970-01-01 00:00:00.000000");
        EXPECT_EQ(message.toString(), text(message));
    }
}

TEST(CommonText, TheOperatorNeverShowsMoreThanTheCommonText) {
    const InvalidMessage message(nullptr, 0);
    EXPECT_EQ(text(static_cast<const MessageBase&>(message)), "1970-01-01 00:00:00.000000");
}

TEST(CommonText, ToStringIsWhatTheOperatorWritesWithoutALineEnd) {
    TestMessage message(MSGID_CAN, 1234567890123456);
    message.source = "logger 1";
    EXPECT_EQ(message.toString(), "logger 1: 2009-02-13 23:31:30.123456");
    EXPECT_EQ(message.toString(), text(message));
}

TEST(CommonText, AStreamInHexWithStarsIsBackInHexWithStars) {
    std::ostringstream os;
    os << std::hex;
    os.fill('*');
    os << TestMessage(MSGID_CAN, 31) << ' ' << 255;
    EXPECT_EQ(os.str(), "1970-01-01 00:00:00.000031 ff");
    EXPECT_EQ(os.fill(), '*');
}

// ---- Port directions ---------------------------------------------------------------------------

TEST(PortDirection, HasItsWord) {
    EXPECT_EQ(text(MessageBase::PORT_DIR_UNKNOWN), "PortDirUnknown");
    EXPECT_EQ(text(MessageBase::PORT_DIR_IN), "In ");
    EXPECT_EQ(text(MessageBase::PORT_DIR_OUT), "Out");
}

TEST(PortDirection, AnyOtherValueIsUnknownWithItsNumber) {
    EXPECT_EQ(text(MessageBase::PORT_DIR_NUM), "Unknown (3)");
    EXPECT_EQ(text(static_cast<MessageBase::portDirection_t>(255)), "Unknown (255)");
    EXPECT_EQ(text(static_cast<MessageBase::portDirection_t>(-1)), "Unknown (-1)");
}

TEST(PortDirection, AnUnknownValueIsDecimalWhateverTheStreamsBase) {
    std::ostringstream os;
    os << std::hex << std::showbase << static_cast<MessageBase::portDirection_t>(255);
    EXPECT_EQ(os.str(), "Unknown (255)");
}

TEST(PortDirection, AWordIsAnOrdinaryTextInsertion) {
    std::ostringstream os;
    os.width(5);
    os << MessageBase::PORT_DIR_OUT << '|' << std::left;
    os.width(5);
    os << MessageBase::PORT_DIR_IN << '|';
    EXPECT_EQ(os.str(), "  Out|In   |");
}

// ---- Dump of bytes -----------------------------------------------------------------------------

std::string hexDump(const byteVec_t& data) {
    std::ostringstream os;
    os << std::hex;
    os.fill('0');
    MessageBase::dumpData(os, data.begin(), data.end());
    return os.str();
}

TEST(Dump, OfAnEmptyRangeIsNothingAndKeepsTheWidth) {
    std::ostringstream os;
    os.width(7);
    const byteVec_t none;
    MessageBase::dumpData(os, none.begin(), none.end());
    MessageBase::dumpData(os, none.data(), 0);
    MessageBase::dumpData(os, nullptr, 0);
    MessageBase::dumpData<const uint8_t*>(os, nullptr, nullptr);
    EXPECT_EQ(os.str(), "");
    EXPECT_EQ(os.width(), 7);
}

TEST(Dump, NeverDereferencesAnEmptyRange) {
    const GuardedBuffer empty(0);
    std::ostringstream os;
    MessageBase::dumpData(os, empty.data(), 0);
    MessageBase::dumpData(os, empty.data(), empty.data());
    EXPECT_EQ(os.str(), "");
}

TEST(Dump, OfOneByteHasNoSeparator) { EXPECT_EQ(hexDump({0x7}), "07"); }

TEST(Dump, InHexWithZeroFillHasTwoLowercaseDigitsPerByte) {
    EXPECT_EQ(hexDump({0x0a, 0x1f, 0xff}), "0a 1f ff");
}

TEST(Dump, InDecimalWithBlankFillIsAlignedToTheRight) {
    std::ostringstream os;
    const byteVec_t data = {1, 22, 255, 0};
    MessageBase::dumpData(os, data.begin(), data.end());
    EXPECT_EQ(os.str(), " 1 22 255  0");
}

TEST(Dump, Of40BytesIsOneLineOf40GroupsAnd39Blanks) {
    const std::string dump = hexDump(byteVec_t(40, 0xAB));
    EXPECT_EQ(dump.size(), 40u * 2 + 39);
    EXPECT_EQ(std::count(dump.begin(), dump.end(), ' '), 39);
    EXPECT_EQ(dump.find('\n'), std::string::npos);
}

TEST(Dump, ConsumesTheWidthAndKeepsBaseAndFill) {
    std::ostringstream os;
    os << std::oct;
    os.fill('#');
    os.width(30);
    const byteVec_t data = {7, 8};
    MessageBase::dumpData(os, data.begin(), data.end());
    EXPECT_EQ(os.str(), "#7 10");
    EXPECT_EQ(os.width(), 0);
    EXPECT_EQ(os.fill(), '#');
    EXPECT_EQ(os.flags() & std::ios_base::basefield, std::ios_base::oct);
}

TEST(Dump, PrintsUnsigned16BitNumbers) {
    std::ostringstream os;
    os << std::showpos;
    const std::vector<int> numbers = {1, 65535, 65536, -1};
    MessageBase::dumpData(os, numbers.begin(), numbers.end());
    EXPECT_EQ(os.str(), " 1 65535  0 65535");
    os.str("");
    os << std::hex;
    const signed char characters[] = {-1, 10};
    MessageBase::dumpData(os, std::begin(characters), std::end(characters));
    EXPECT_EQ(os.str(), "ffff  a");
}

/// Shows the lower half of each byte.
struct LowHalf : byteVec_t::const_iterator {
    explicit LowHalf(byteVec_t::const_iterator at) : byteVec_t::const_iterator(at) {}
    unsigned operator*() const { return byteVec_t::const_iterator::operator*() & 0x0fu; }
};

TEST(Dump, TakesWhatTheIteratorGivesAlsoWhereItIsBuiltOnTheVectors) {
    const byteVec_t data = {0x12, 0x34, 0xff};
    std::ostringstream os;
    os << std::hex;
    MessageBase::dumpData(os, LowHalf(data.begin()), LowHalf(data.end()));
    EXPECT_EQ(os.str(), " 2  4  f");
}

TEST(Dump, WorksWithSinglePassIterators) {
    std::istringstream in("1 2 255");
    std::ostringstream os;
    MessageBase::dumpData(os, std::istream_iterator<int>(in), std::istream_iterator<int>());
    EXPECT_EQ(os.str(), " 1  2 255");
}

TEST(Dump, EveryFormGivesTheSameText) {
    byteVec_t data = {1, 2, 0xAB};
    const std::list<uint8_t> list(data.begin(), data.end());
    std::ostringstream os;
    os << std::hex << std::setfill('0');
    MessageBase::dumpData(os, data.cbegin(), data.cend());
    os << '|';
    MessageBase::dumpData(os, data.begin(), data.end());
    os << '|';
    MessageBase::dumpData(os, data.data(), data.size());
    os << '|';
    MessageBase::dumpData<const uint8_t*>(os, data.data(), data.data() + 3);
    os << '|';
    MessageBase::dumpData(os, data.data(), data.data() + 3);
    os << '|';
    MessageBase::dumpData(os, list.begin(), list.end());
    os << '|';
    const byteVec_t& constant = data;
    MessageBase::dumpData(os, constant.data(), constant.data() + 3);
    EXPECT_EQ(os.str(), "01 02 ab|01 02 ab|01 02 ab|01 02 ab|01 02 ab|01 02 ab|01 02 ab");
}

TEST(Dump, ReadsNothingBehindTheRange) {
    for (const size_t length : {1u, 15u, 16u, 17u, 31u, 64u, 340u, 341u, 342u, 343u, 4096u}) {
        const GuardedBuffer data(length);
        std::ostringstream os;
        os << std::hex << std::setfill('0');
        MessageBase::dumpData(os, data.data(), length);
        EXPECT_EQ(os.str().size(), 3 * length - 1);
    }
}

TEST(Dump, EqualsThePlainDumpForEveryByteInEveryStyleOfStream) {
    using Ios = std::ios_base;
    byteVec_t data(256);
    for (size_t i = 0; i < 256; ++i) {
        data[i] = static_cast<uint8_t>(i);
    }
    for (const auto base : {Ios::dec, Ios::hex, Ios::oct, Ios::fmtflags{}, Ios::basefield}) {
        for (const auto side : {Ios::left, Ios::right, Ios::internal, Ios::fmtflags{}}) {
            for (const auto style : {Ios::fmtflags{}, Ios::showbase, Ios::uppercase, Ios::showpos,
                                     Ios::showbase | Ios::uppercase}) {
                for (const char fill : {'0', ' ', '*'}) {
                    const StreamState state{base | side | style, fill, 0, 6, false};
                    std::ostringstream ours;
                    std::ostringstream theirs;
                    state.applyTo(ours);
                    state.applyTo(theirs);
                    MessageBase::dumpData(ours, data.begin(), data.end());
                    plain::dump(theirs, data.begin(), data.end());
                    ASSERT_EQ(ours.str(), theirs.str()) << state;
                }
            }
        }
    }
}

TEST(Dump, EqualsThePlainDumpForEvery16BitNumber) {
    using Ios = std::ios_base;
    std::vector<uint16_t> numbers(65536);
    for (size_t i = 0; i < numbers.size(); ++i) {
        numbers[i] = static_cast<uint16_t>(i);
    }
    for (const auto flags : {Ios::dec, Ios::hex, Ios::oct, Ios::hex | Ios::showbase,
                             Ios::oct | Ios::showbase, Ios::hex | Ios::uppercase}) {
        std::ostringstream ours;
        std::ostringstream theirs;
        ours.flags(flags);
        theirs.flags(flags);
        MessageBase::dumpData(ours, numbers.begin(), numbers.end());
        plain::dump(theirs, numbers.begin(), numbers.end());
        ASSERT_TRUE(ours.str() == theirs.str()) << "flags " << flags;
    }
}

// ---- Printable text ----------------------------------------------------------------------------

std::string printable(const std::string& raw) {
    std::ostringstream os;
    MessageBase::printPrintable(os, raw);
    return os.str();
}

TEST(Printable, KeepsPrintableAsciiDoublesTheBackslashAndEscapesTheRest) {
    EXPECT_EQ(printable("VIN 1234~!"), "VIN 1234~!");
    EXPECT_EQ(printable("a\\b"), "a\\\\b");
    EXPECT_EQ(printable("a\nb\t"), "a\\x0ab\\x09");
    EXPECT_EQ(printable(std::string("\0\x7f\x80\xff", 4)), "\\x00\\x7f\\x80\\xff");
    EXPECT_EQ(printable(""), "");
}

TEST(Printable, EqualsThePlainTextForEveryByteAndLongTexts) {
    std::string every;
    for (int c = 0; c < 256; ++c) {
        every += static_cast<char>(c);
    }
    for (const std::string& raw : {every, every + every + every + every}) {
        std::ostringstream os;
        plain::printable(os, raw);
        EXPECT_EQ(printable(raw), os.str());
    }
}

TEST(Printable, DependsOnNoStreamStateAndReturnsTheStream) {
    std::mt19937 random(11);
    for (int i = 0; i < 1000; ++i) {
        const StreamState state = randomStreamState(random);
        std::ostringstream os;
        state.applyTo(os);
        ASSERT_EQ(&MessageBase::printPrintable(os, "a\n1000"), &os);
        ASSERT_EQ(os.str(), "a\\x0a1000") << state;
        ASSERT_EQ(StreamState::of(os), state);
    }
}

}  // namespace
