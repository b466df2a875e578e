// Text is collected in a small buffer and passed on in pieces. Every part of a text is brought to
// every place of that buffer: none may run over its end, and none may get lost.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <sstream>
#include <streambuf>
#include <vector>

#include "libvektrace/MessageBase.h"
#include "libvektrace/detail/TextBuffer.h"
#include "support/PlainText.h"
#include "support/TestMessage.h"
#include "support/hex.h"

namespace {

constexpr size_t CAPACITY = vek::detail::TextBuffer<std::ostream>::CAPACITY;

/// Keeps the text and the length of each of its pieces.
class Pieces : public std::streambuf {
public:
    std::string text;
    std::vector<size_t> lengths;

    size_t longest() const {
        return lengths.empty() ? 0 : *std::max_element(lengths.begin(), lengths.end());
    }

protected:
    std::streamsize xsputn(const char* piece, std::streamsize length) override {
        text.append(piece, static_cast<size_t>(length));
        lengths.push_back(static_cast<size_t>(length));
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
    ASSERT_LE(pieces.longest(), CAPACITY);
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

// ---- As few as possible ------------------------------------------------------------------------

TEST(Pieces, ADumpFillsTheBufferBetweenItsFirstByteAndItsEnd) {
    constexpr size_t FITTING = (CAPACITY - 1) / 3;  // a blank and two digits each, and one more
    const byteVec_t data(1 + 3 * FITTING + 1, 0xAB);
    Pieces pieces;
    std::ostream os(&pieces);
    os << std::hex;
    os.fill('0');
    MessageBase::dumpData(os, data.data(), data.size());
    const std::vector<size_t> expected = {2, 3 * FITTING, 3 * FITTING, 3 * FITTING, 3};
    EXPECT_EQ(pieces.lengths, expected);
}

TEST(Pieces, EscapesFillTheBuffer) {
    static_assert(CAPACITY % 4 == 0);
    Pieces pieces;
    std::ostream os(&pieces);
    MessageBase::printPrintable(os, std::string(CAPACITY / 2, '\n'));
    EXPECT_EQ(pieces.lengths, (std::vector<size_t>{CAPACITY, CAPACITY}));
}

/// The pieces of an invalid message whose description is as long as it takes to have the text up to
/// `end` fill the buffer but for `left` characters.
std::vector<size_t> piecesWhenFullAt(const std::string& end, size_t left) {
    const byteVec_t record(14 + 50, 0xAB);
    InvalidMessage message(record.data(), record.size());
    message.setInvalidEnumValue(0x1234, "colour");
    std::string description = "d";
    message.setDescription(description.c_str());
    const size_t length = message.toString().rfind(end) + end.size();
    description.append(CAPACITY - left - length, 'd');
    message.setDescription(description.c_str());
    Pieces pieces;
    std::ostream os(&pieces);
    os << message;
    EXPECT_EQ(pieces.text, message.toString());
    return pieces.lengths;
}

TEST(Pieces, WhatJustFitsIsNotLeftToTheNextPiece) {
    EXPECT_EQ(piecesWhenFullAt("Id=0xabab", 0).at(0), CAPACITY);
    EXPECT_EQ(piecesWhenFullAt("'=0x1234", 0).at(0), CAPACITY);
    // The last bytes take a character more than they have.
    EXPECT_EQ(piecesWhenFullAt(" ab", 1), std::vector<size_t>{CAPACITY - 1});
}

TEST(Pieces, ATextLongerThanTheBufferIsPassedOnAsItIs) {
    for (const size_t length : {CAPACITY, CAPACITY + 1, 5 * CAPACITY}) {
        TestMessage message;
        message.source.assign(length, 's');
        Pieces pieces;
        std::ostream os(&pieces);
        os << message;
        EXPECT_EQ(pieces.text, message.source + ": 1970-01-01 00:00:00.000000");
        EXPECT_EQ(pieces.longest(), length);
    }
}

}  // namespace
