#include "tools/vektrace/program/MessageText.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <iostream>
#include <locale>
#include <new>
#include <stdexcept>
#include <string>

#include "libvektrace/SimpleMessage.h"

namespace vek::program {
namespace {

/// A message whose print does what the test says.
class Printer : public MessageBase {
public:
    using print_t = void (*)(std::ostream& os);

    explicit Printer(print_t _write) : MessageBase(MSGID_CAN, 0), write(_write) {}
    MessageBase* clone() const override { return new Printer(*this); }
    bool operator==(const MessageBase&) const override { return false; }
    std::ostream& print(std::ostream& os) const override {
        write(os);
        return os;
    }

private:
    print_t write;
};

/// Numbers as no message wants them.
class Grouping : public std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
    char do_decimal_point() const override { return ','; }
};

std::string render(MessageText& text, Printer::print_t write) {
    return std::string(text.render(Printer(write)));
}

TEST(MessageText, IsWhatPrintWrites) {
    MessageText text;
    const SimpleMessage<MSGID_STOP> message(0);
    EXPECT_EQ(text.render(message), message.toString());
}

TEST(MessageText, HoldsTextsOfAnyLengthOneAfterTheOther) {
    MessageText text;
    const auto writeLong = [](std::ostream& os) {
        for (int i = 0; i < 100000; ++i) {
            os << static_cast<char>('a' + i % 26);
        }
        os << std::string(100000, '!');
    };
    const std::string whole = render(text, writeLong);
    ASSERT_EQ(whole.size(), 200000U);
    EXPECT_EQ(whole.substr(0, 27), "abcdefghijklmnopqrstuvwxyza");
    EXPECT_EQ(whole.substr(100000), std::string(100000, '!'));
    EXPECT_EQ(render(text, [](std::ostream& os) { os << "short"; }), "short");
    EXPECT_EQ(render(text, [](std::ostream&) {}), "");
}

TEST(MessageText, DoesNotPassTheStateThatAClassLeavesToTheNext) {
    MessageText text;
    render(text, [](std::ostream& os) {
        os << std::hex << std::showbase << std::setfill('*') << std::setprecision(1);
        os.width(9);
        os.imbue(std::locale(std::locale::classic(), new Grouping));
        os.tie(&std::cerr);
        os.iword(0) = 1;
        os.setstate(std::ios::badbit);
        os.rdbuf(nullptr);
    });
    EXPECT_EQ(render(text,
                     [](std::ostream& os) {
                         os << 2550 << ' ' << 1.25 << ' ' << (os.tie() == nullptr) << os.iword(0);
                     }),
              "2550 1.25 10");
}

/// Behind a message of the library the stream is not made anew.
TEST(MessageText, HasTheStreamAsItWasAroundMessagesOfTheLibrary) {
    const byteVec_t bytes = {0, 12, 0x12, 0x34, 0xab};
    const InvalidMessage invalid(bytes.data(), bytes.size());
    const auto spoil = [](std::ostream& os) {
        os << std::hex << std::setfill('*') << std::setw(9);
        os.imbue(std::locale(std::locale::classic(), new Grouping));
    };
    const auto write = [](std::ostream& os) { os << 2550 << ' ' << std::setw(3) << 7; };
    MessageText text;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(render(text, write), "2550   7");
        EXPECT_EQ(text.render(invalid), invalid.toString());
        EXPECT_EQ(text.render(invalid), invalid.toString());
        EXPECT_EQ(render(text, write), "2550   7");
        render(text, spoil);
        EXPECT_EQ(text.render(invalid), invalid.toString());
    }
}

TEST(MessageText, DoesNotPassTheExceptionsThatAClassAsksForToTheNext) {
    MessageText text;
    EXPECT_EQ(render(text,
                     [](std::ostream& os) {
                         os << "begin";
                         os.exceptions(std::ios::failbit);
                         os.setstate(std::ios::failbit);
                     })
                  .substr(0, 25),
              "begin [its text failed: b");
    EXPECT_EQ(render(text,
                     [](std::ostream& os) {
                         os.setstate(std::ios::failbit);
                         os << "more";
                     }),
              "");
    EXPECT_EQ(render(text, [](std::ostream& os) { os << "next"; }), "next");
}

TEST(MessageText, KeepsWhatAClassWroteBeforeItSpoiltTheStream) {
    MessageText text;
    EXPECT_EQ(render(text,
                     [](std::ostream& os) {
                         os << "begin";
                         os.setstate(std::ios::failbit);
                     }),
              "begin");
    EXPECT_EQ(render(text,
                     [](std::ostream& os) {
                         os << "begin";
                         os.setstate(std::ios::badbit);
                         throw std::runtime_error("odd");
                     }),
              "begin [its text failed: odd]");
}

TEST(MessageText, SaysThatAClassCouldNotWriteIt) {
    MessageText text;
    EXPECT_EQ(render(text,
                     [](std::ostream& os) {
                         os << "begin";
                         throw std::runtime_error("odd");
                     }),
              "begin [its text failed: odd]");
    EXPECT_EQ(render(text, [](std::ostream&) { throw 7; }), " [its text failed]");
    EXPECT_THROW(render(text, [](std::ostream&) { throw std::bad_alloc(); }), std::bad_alloc);
}

}  // namespace
}  // namespace vek::program
