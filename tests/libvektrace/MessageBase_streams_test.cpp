// Every text form against its plain twin, on streams in any state and on streams that fail.

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <sstream>

#include "libvektrace/MessageBase.h"
#include "libvektrace/SimpleMessage.h"
#include "support/PlainText.h"
#include "support/TestMessage.h"
#include "support/streams.h"

namespace {

using Writer = std::function<void(std::ostream&)>;

/// One text form with random content: as the library writes it, and as its twin does.
struct TextForm {
    Writer ours;
    Writer plain;
};

template <class Random>
std::string randomText(Random& random) {
    std::string text;
    for (auto length = random() % 4 == 0 ? random() % 30 : 0; length > 0; --length) {
        text += static_cast<char>(random());
    }
    return text;
}

template <class Random>
TextForm timestampForm(Random& random) {
    const timeStamp_t stamp = random() >> random() % 64;
    const auto precision = static_cast<uint8_t>(random() % 7);
    return {[=](std::ostream& os) { MessageBase::printTimeStamp(os, stamp, true, precision); },
            [=](std::ostream& os) { plain::timestamp(os, stamp, true, precision); }};
}

template <class Random>
TextForm commonForm(Random& random) {
    TestMessage message(MSGID_CAN, random() >> random() % 64);
    message.source = randomText(random);
    return {[=](std::ostream& os) { os << message; },
            [=](std::ostream& os) { plain::common(os, message); }};
}

template <class Random>
byteVec_t randomBytes(Random& random, size_t most) {
    byteVec_t result(static_cast<size_t>(random() % (most + 1)));
    for (uint8_t& byte : result) {
        byte = static_cast<uint8_t>(random());
    }
    return result;
}

template <class Random>
TextForm dumpForm(Random& random) {
    const byteVec_t data = randomBytes(random, random() % 50 == 0 ? 800 : 20);
    return {[=](std::ostream& os) { MessageBase::dumpData(os, data.data(), data.size()); },
            [=](std::ostream& os) { plain::dump(os, data.begin(), data.end()); }};
}

template <class Random>
TextForm invalidForm(Random& random) {
    const byteVec_t record = randomBytes(random, random() % 50 == 0 ? 800 : 40);
    InvalidMessage message(record.data(), record.size());
    message.source = randomText(random);
    message.setInvalidEnumValue(static_cast<uint16_t>(random()), randomText(random));
    message.setCause(static_cast<invalidMessageCause_t>(random() % 7));
    return {[=](std::ostream& os) { os << message; },
            [=](std::ostream& os) { plain::invalidMessage(os, message); }};
}

template <class Random>
TextForm directionForm(Random& random) {
    const int direction = static_cast<int>(random() % 7) - 2;
    return {[=](std::ostream& os) { os << static_cast<MessageBase::portDirection_t>(direction); },
            [=](std::ostream& os) { plain::portDirection(os, direction); }};
}

template <class Random>
TextForm printableForm(Random& random) {
    const std::string text = randomText(random);
    return {[=](std::ostream& os) { MessageBase::printPrintable(os, text); },
            [=](std::ostream& os) { plain::printable(os, text); }};
}

template <class Random>
TextForm randomForm(Random& random) {
    switch (random() % 6) {
        case 0:
            return timestampForm(random);
        case 1:
            return commonForm(random);
        case 2:
            return dumpForm(random);
        case 3:
            return invalidForm(random);
        case 4:
            return directionForm(random);
        default:
            return printableForm(random);
    }
}

TEST(TextForms, EqualTheirPlainTwinsOnHundredThousandRandomStreams) {
    std::mt19937_64 random(12);
    for (int i = 0; i < 100000; ++i) {
        const TextForm form = randomForm(random);
        const StreamState state = randomStreamState(random);
        std::ostringstream ours;
        std::ostringstream plain;
        state.applyTo(ours);
        state.applyTo(plain);
        form.ours(ours);
        form.plain(plain);
        ASSERT_EQ(ours.str(), plain.str()) << state << ", case " << i;
        ASSERT_EQ(StreamState::of(ours), StreamState::of(plain)) << "case " << i;
    }
}

/// What a form writes to a stream that takes `room` characters, and the state it leaves behind.
struct Outcome {
    std::string text;
    std::ios_base::fmtflags flags;
    char fill;
    std::ios_base::iostate state;
    bool threw;
};

Outcome write(const Writer& writer, const StreamState& state, size_t room, LimitedBuffer::end_t end,
              bool throwing) {
    LimitedBuffer buffer(room, end);
    std::ostream os(&buffer);
    state.applyTo(os);
    if (throwing) {
        os.exceptions(std::ios_base::badbit);
    }
    bool threw = false;
    try {
        writer(os);
    } catch (const std::exception&) {
        threw = true;
    }
    return {buffer.text(), os.flags(), os.fill(), os.rdstate(), threw};
}

TEST(TextForms, AStreamThatFailsInTheMiddleGetsTheSameTextAndKeepsFlagsAndFill) {
    std::mt19937_64 random(13);
    for (int i = 0; i < 5000; ++i) {
        const TextForm form = i % 2 == 0 ? commonForm(random) : invalidForm(random);
        const StreamState state = randomStreamState(random);
        const auto end = random() % 2 == 0 ? LimitedBuffer::FAILS : LimitedBuffer::THROWS;
        const bool throwing = random() % 2 == 0;
        const auto room = static_cast<size_t>(random() % 90);
        const Outcome ours = write(form.ours, state, room, end, throwing);
        ASSERT_EQ(ours.text, write(form.plain, state, room, end, throwing).text) << i;
        ASSERT_EQ(ours.flags, state.flags);
        ASSERT_EQ(ours.fill, state.fill);
        ASSERT_EQ(ours.threw, throwing && (ours.state & std::ios_base::badbit) != 0) << i;
    }
}

TEST(TextForms, NoStreamIsEverFlushed) {
    FlushCounter buffer;
    std::ostream os(&buffer);
    std::mt19937_64 random(15);
    for (int i = 0; i < 600; ++i) {
        StreamState state = randomStreamState(random);
        state.flags &= ~std::ios_base::unitbuf;
        state.applyTo(os);
        randomForm(random).ours(os);
        SimpleMessage<MSGID_STOP>(5).print(os);
        os << tm{};
        printUnknownEnum(os, i);
    }
    EXPECT_EQ(buffer.count, 0);
}

TEST(TextForms, AStreamThatHasFailedGetsNothingAndKeepsItsSettings) {
    std::mt19937_64 random(14);
    for (int i = 0; i < 600; ++i) {
        const TextForm form = randomForm(random);
        const StreamState state = randomStreamState(random);
        std::ostringstream os;
        state.applyTo(os);
        os.setstate(std::ios_base::failbit);
        form.ours(os);
        ASSERT_EQ(os.str(), "");
        ASSERT_EQ(os.flags(), state.flags);
        ASSERT_EQ(os.fill(), state.fill);
    }
}

}  // namespace
