// Text is collected in a small buffer and passed on in pieces. Every part of a text is brought to
// every place of that buffer: none may run over its end, and none may get lost.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <sstream>
#include <streambuf>

#include "libvektrace/MessageBase.h"
#include "libvektrace/detail/TextBuffer.h"
#include "support/PlainText.h"
#include "support/TestMessage.h"
#include "support/hex.h"

namespace {

constexpr size_t CAPACITY = vek::detail::TextBuffer<std::ostream>::CAPACITY;

/// Keeps the text and the length of its longest piece.
class Pieces : public std::streambuf {
public:
    std::string text;
    size_t longest = 0;

protected:
    std::streamsize xsputn(const char* piece, std::streamsize length) override {
        text.append(piece, static_cast<size_t>(length));
        longest = std::max(longest, static_cast<size_t>(length));
        return length;
    }
};

using Writer = std::function<void(std::ostream&)>;

void expectWholeButInPieces(const Writer& ours, const Writer& plain) {
    Pieces pieces;
    std::ostream os(&pieces);
    ours(os);
    std::ostringstream expected;
    plain(expected);
    ASSERT_EQ(pieces.text, expected.str());
    ASSERT_LE(pieces.longest, CAPACITY);
}

TEST(Pieces, EveryEscapeAtEveryPlaceOfTheBuffer) {
    for (const char* const escaped : {"\n", "\\", "a"}) {
        for (size_t length = 0; length < 2 * CAPACITY + 8; ++length) {
            const std::string text = std::string(length, '.') + escaped + escaped;
            ASSERT_NO_FATAL_FAILURE(expectWholeButInPieces(
                [&](std::ostream& os) { MessageBase::printPrintable(os, text); },
                [&](std::ostream& os) { plain::printable(os, text); }))
                << length;
        }
    }
}

TEST(Pieces, EveryPartOfAMessageAtEveryPlaceOfTheBuffer) {
    for (const auto cause : {IM_INVALID_ENUM_VALUE, IM_INVALID_LEN, IM_MISC}) {
        for (size_t length = 1; length <= CAPACITY; ++length) {
            InvalidMessage message(bytes("00 00 AB CD 00 00 01 02 03 04 05 06 07 08 09 0A").data(),
                                   16);
            message.source.assign(length, 's');
            message.setInvalidEnumValue(0xABCD, "colour");
            message.setCause(cause);
            ASSERT_NO_FATAL_FAILURE(expectWholeButInPieces(
                [&](std::ostream& os) { os << message; },
                [&](std::ostream& os) { plain::invalidMessage(os, message); }))
                << length;
            ASSERT_NO_FATAL_FAILURE(expectWholeButInPieces(
                [&](std::ostream& os) { os << static_cast<const MessageBase&>(message); },
                [&](std::ostream& os) { plain::common(os, message); }))
                << length;
        }
    }
}

TEST(Pieces, TheEndOfALongDumpAtEveryPlaceOfTheBuffer) {
    byteVec_t record(14 + 65536 + 1, 0xAB);
    for (size_t length = CAPACITY - 40; length <= CAPACITY; ++length) {
        InvalidMessage message(record.data(), record.size());
        message.source.assign(length, 's');
        ASSERT_NO_FATAL_FAILURE(
            expectWholeButInPieces([&](std::ostream& os) { os << message; },
                                   [&](std::ostream& os) { plain::invalidMessage(os, message); }))
            << length;
    }
}

TEST(Pieces, EveryLengthOfADump) {
    const byteVec_t data(CAPACITY, 0xAB);
    for (size_t length = 0; length <= data.size(); ++length) {
        ASSERT_NO_FATAL_FAILURE(expectWholeButInPieces(
            [&](std::ostream& os) {
                const plain::Format format(os, std::ios_base::hex);
                MessageBase::dumpData(os, data.data(), length);
            },
            [&](std::ostream& os) {
                const plain::Format format(os, std::ios_base::hex);
                plain::dump(os, data.begin(), data.begin() + static_cast<ptrdiff_t>(length));
            }))
            << length;
    }
}

TEST(Pieces, ATextLongerThanTheBufferIsPassedOnAsItIs) {
    for (const size_t length : {CAPACITY, CAPACITY + 1, 5 * CAPACITY}) {
        TestMessage message;
        message.source.assign(length, 's');
        Pieces pieces;
        std::ostream os(&pieces);
        os << message;
        EXPECT_EQ(pieces.text, message.source + ": 1970-01-01 00:00:00.000000");
        EXPECT_EQ(pieces.longest, length);
    }
}

}  // namespace
