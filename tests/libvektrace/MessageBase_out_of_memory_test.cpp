// Every operation run out of memory at each of its allocations: what surfaces, what is left.

#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <numeric>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

#include "libvektrace/MessageBase.h"
#include "libvektrace/SimpleMessage.h"
#include "support/FailingAllocation.h"
#include "support/PlainText.h"
#include "support/Settings.h"
#include "support/TestMessage.h"
#include "support/hex.h"

namespace {

using LoggingStarted = SimpleMessage<MSGID_DATALOGGINGSTARTED>;

const char* const LONG_TEXT = "a description that is longer than any small string holds";

const byteVec_t SIMPLE = bytes("00 0C 00 84 BE EF 01 02 03 04 05 06 07 08");
const byteVec_t WRONG_SIZE = bytes("00 0D 00 84 BE EF 01 02 03 04 05 06 07 08 AA");
const byteVec_t PAYLOAD = bytes("00 0E 00 01 BE EF 01 02 03 04 05 06 07 08 AA BB");
const byteVec_t BAD_ENUM = bytes("00 0E 00 06 BE EF 01 02 03 04 05 06 07 08 AA BB");
const byteVec_t UNKNOWN = bytes("00 0E 12 34 BE EF 01 02 03 04 05 06 07 08 AA BB");
const byteVec_t SHORT = bytes("00 0E 12");

MessageBase* badEnumCreator(const uint8_t*, size_t) {
    throw InvalidMessageException(IM_INVALID_ENUM_VALUE, LONG_TEXT, 7);
}

/// Keeps the library's settings, with three creators and the policy that returns a message.
class OutOfMemory : public testing::Test {
protected:
    OutOfMemory() {
        MessageBase::registerMessages();
        MessageBase::registerMessage(MSGID_CAN, TestMessage::readFromByteArray);
        MessageBase::registerMessage(MSGID_LIN, badEnumCreator);
        MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
        message.source = LONG_TEXT;
        message.rawData = PAYLOAD;
        simple.source = LONG_TEXT;
        simple.rawData = PAYLOAD;
        invalid.source = LONG_TEXT;
        invalid.rawData = PAYLOAD;
        invalid.setDescription(LONG_TEXT);
        invalid.setInvalidEnumValue(7, LONG_TEXT);
    }

    TestMessage message{MSGID_CAN, 5, byteVec_t(100, 0xAB)};
    LoggingStarted simple{5};
    InvalidMessage invalid{UNKNOWN.data(), UNKNOWN.size()};

private:
    LibrarySettings settings;
};

void decode(const byteVec_t& record) {
    delete MessageBase::readFromByteArray(record.data(), record.size());
}

// ---- What cannot be made -----------------------------------------------------------------------

struct Operation {
    const char* what;
    long allocations;
    std::function<void()> run;
};

void expectBadAllocOfEach(const std::vector<Operation>& operations) {
    for (const Operation& operation : operations) {
        SCOPED_TRACE(operation.what);
        EXPECT_EQ(expectBadAlloc(operation.run), operation.allocations);
    }
}

TEST_F(OutOfMemory, ADecoderThrowsAndLeavesNothing) {
    expectBadAllocOfEach({
        {"the object", 1, [] { decode(SIMPLE); }},
        {"the creator's payload, twice, and its object", 2, [] { decode(PAYLOAD); }},
        {"an unknown record's stand-in and payload", 2, [] { decode(UNKNOWN); }},
        {"a short record's stand-in", 1, [] { decode(SHORT); }},
        {"the exception's text, the stand-in and its payload", 3, [] { decode(WRONG_SIZE); }},
        {"these and the enumeration's name", 4, [] { decode(BAD_ENUM); }},
    });
}

TEST_F(OutOfMemory, ADecoderThrowsUnderTheNullPolicyTooWhereTheExceptionHasNoMemory) {
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_NULL);
    expectBadAllocOfEach({
        {"the exception's text", 1, [] { decode(WRONG_SIZE); }},
        {"nothing", 0, [] { decode(UNKNOWN); }},
        {"nothing", 0, [] { decode(SHORT); }},
    });
}

TEST_F(OutOfMemory, AMessageThatCannotBeBuiltOrCopiedLeavesNothing) {
    expectBadAllocOfEach({
        {"payload", 1, [] { InvalidMessage(UNKNOWN.data(), UNKNOWN.size()); }},
        {"nothing", 0, [] { InvalidMessage(SHORT.data(), SHORT.size()); }},
        {"source and rawData", 2, [&] { LoggingStarted copy(simple); }},
        {"these and the object", 3, [&] { delete simple.clone(); }},
        {"source, rawData, payload and two texts", 5, [&] { InvalidMessage copy(invalid); }},
        {"these and the object", 6, [&] { delete invalid.clone(); }},
        {"these through the base", 6,
         [&] { delete static_cast<const MessageBase&>(invalid).clone(); }},
    });
}

TEST_F(OutOfMemory, AnExceptionThatHasNoMemoryIsReplacedByBadAlloc) {
    const InvalidMessageException original(IM_MISC, LONG_TEXT, 7);
    expectBadAllocOfEach({
        {"nothing", 0, [] { InvalidMessageException(); }},
        {"its text", 1, [] { InvalidMessageException(IM_MISC, LONG_TEXT); }},
        {"its text", 1, [] { InvalidMessageException(IM_MISC, LONG_TEXT, 7); }},
        {"the copy's text", 1, [&] { InvalidMessageException copy(original); }},
        {"the text of what is thrown", 1,
         [&] {
             try {
                 throw InvalidMessageException(original);
             } catch (const InvalidMessageException&) {}
         }},
    });
    EXPECT_STREQ(original.what(), LONG_TEXT);
}

TEST_F(OutOfMemory, TextAsAStringThrows) {
    expectBadAllocOfEach({
        {"the string", 1, [] { MessageBase::printTimestamp(5); }},
        {"the string", 1, [&] { message.printTimestamp(); }},
        {"the string", 1, [&] { message.MessageBase::toString(); }},
        {"the string, which grows", 2, [&] { EXPECT_NE(simple.toString(), ""); }},
        {"the string", 1, [&] { EXPECT_NE(invalid.toString(), ""); }},
    });
}

// ---- What the caller holds ---------------------------------------------------------------------

TEST_F(OutOfMemory, AVectorKeepsWhatItHeldOrWithoutAppendMayBeEmpty) {
    for (const size_t size : {size_t{8}, size_t{12}, size_t{200}, size_t{65540}}) {
        for (const bool append : {false, true}) {
            SCOPED_TRACE(std::to_string(size) + (append ? " behind others" : ""));
            const SizedMessage sized(size);
            byteVec_t buffer;
            const auto begin = [&buffer] {
                byteVec_t(PAYLOAD).swap(buffer);
                buffer.shrink_to_fit();
            };
            begin();
            const long count = expectBadAlloc(
                [&] { sized.createByteArray(buffer, true, append); },
                [&](bool failed) {
                    if (failed) {
                        EXPECT_TRUE(buffer == PAYLOAD || (!append && buffer.empty()));
                    } else {
                        EXPECT_EQ(buffer.size(), (append ? PAYLOAD.size() : 0) + size + 4);
                    }
                    begin();
                });
            EXPECT_EQ(count, size > 12 || append ? 1 : 0);
        }
    }
}

TEST_F(OutOfMemory, TheFormWithTwoFlagsThrowsAndLeavesNothing) {
    for (const bool sync : {false, true}) {
        EXPECT_EQ(expectBadAlloc([&] { message.createByteArray(sync, false); }), 1);
        EXPECT_EQ(expectBadAlloc([&] { simple.createByteArray(sync, true); }), 1);
    }
}

TEST_F(OutOfMemory, ATitleThatCannotBeReplacedStays) {
    std::optional<InvalidMessage> changed(std::in_place, SHORT.data(), SHORT.size());
    const long count = expectBadAlloc([&] { changed->setDescription(LONG_TEXT); },
                                      [&](bool failed) {
                                          EXPECT_EQ(changed->getDescription(),
                                                    failed ? "Invalid Message" : LONG_TEXT);
                                          changed.emplace(SHORT.data(), SHORT.size());
                                      });
    EXPECT_EQ(count, 1);
}

TEST_F(OutOfMemory, OfAnEnumerationValueOnlyTheNumberIsTakenOver) {
    std::optional<InvalidMessage> changed(std::in_place, SHORT.data(), SHORT.size());
    const long count = expectBadAlloc(
        [&] { changed->setInvalidEnumValue(7, LONG_TEXT); },
        [&](bool failed) {
            EXPECT_EQ(changed->getInvalidEnumValue(), 7);
            EXPECT_EQ(changed->getInvalidEnumDescription(), failed ? "" : LONG_TEXT);
            EXPECT_EQ(changed->getCause(), failed ? IM_INVALID_MSGID : IM_INVALID_ENUM_VALUE);
            changed.emplace(SHORT.data(), SHORT.size());
        });
    EXPECT_EQ(count, 1);
}

// ---- The registry ------------------------------------------------------------------------------

TEST_F(OutOfMemory, ARegistrationThatFailsChangesNothing) {
    const MessageBase::creators_t before = MessageBase::creators;
    // Over several of the sizes at which the registry is laid out anew.
    for (unsigned count = 0; count < 200; ++count) {
        const auto id = static_cast<msgid_t>(0x1000 + count);
        const size_t size = MessageBase::creators.size();
        for (long failures = 0, failed = 1; failed != 0; ++failures) {
            bool thrown = false;
            {
                const FailingAllocation memory(failures, FailingAllocation::ONCE);
                try {
                    EXPECT_TRUE(MessageBase::registerMessage(id, badEnumCreator));
                } catch (const std::bad_alloc&) {
                    thrown = true;
                }
                failed = memory.hasFailed() ? 1 : 0;
            }
            ASSERT_EQ(thrown, failed != 0);
            ASSERT_EQ(MessageBase::creators.size(), size + (thrown ? 0 : 1));
            ASSERT_EQ(MessageBase::creators.count(id), thrown ? 0u : 1u);
        }
    }
    for (const auto& [id, creator] : before) {
        EXPECT_EQ(MessageBase::creators.at(id), creator);
    }
}

TEST_F(OutOfMemory, RegisteringTheTenTypesCanBeTakenUpAgain) {
    const MessageBase::creators_t before = MessageBase::creators;
    MessageBase::creators_t().swap(MessageBase::creators);
    MessageBase::registerMessages();
    const MessageBase::creators_t ten = MessageBase::creators;
    MessageBase::creators_t().swap(MessageBase::creators);
    const long count = expectBadAlloc([] { MessageBase::registerMessages(); },
                                      [&](bool failed) {
                                          EXPECT_EQ(MessageBase::creators.size() == 10, !failed);
                                          MessageBase::registerMessages();
                                          EXPECT_EQ(MessageBase::creators, ten);
                                          MessageBase::creators_t().swap(MessageBase::creators);
                                      });
    EXPECT_GE(count, 10);
}

// ---- Streams -----------------------------------------------------------------------------------

struct Text {
    const char* what;
    std::function<void(std::ostream&)> write;
};

class OutOfMemoryInAStream : public OutOfMemory {
protected:
    OutOfMemoryInAStream() { std::iota(data.begin(), data.end(), uint8_t{0}); }

    byteVec_t data = byteVec_t(1000);
    const std::list<uint16_t> numbers = std::list<uint16_t>(300, 0x1234);
    const std::string unprintable = std::string(3000, '\n');
    tm calendar{};

    const std::vector<Text> texts = {
        {"printTimestamp", [](std::ostream& os) { MessageBase::printTimestamp(os, 5); }},
        {"printTimestamp of a message", [this](std::ostream& os) { message.printTimestamp(os); }},
        {"printTimeStamp", [](std::ostream& os) { MessageBase::printTimeStamp(os, 5, false, 3); }},
        {"printPrintable",
         [this](std::ostream& os) { MessageBase::printPrintable(os, unprintable); }},
        {"dumpData of a vector",
         [this](std::ostream& os) { MessageBase::dumpData(os, data.begin(), data.end()); }},
        {"dumpData of a buffer, in pieces",
         [this](std::ostream& os) {
             const plain::Format format(os, std::ios_base::hex);
             MessageBase::dumpData(os, data.data(), data.size());
         }},
        {"dumpData of numbers",
         [this](std::ostream& os) { MessageBase::dumpData(os, numbers.begin(), numbers.end()); }},
        {"the common text",
         [this](std::ostream& os) { os << static_cast<const MessageBase&>(message); }},
        {"a direction", [](std::ostream& os) { os << MessageBase::PORT_DIR_UNKNOWN; }},
        {"no direction", [](std::ostream& os) { os << MessageBase::PORT_DIR_NUM; }},
        {"an unknown value", [](std::ostream& os) { printUnknownEnum(os, 4711); }},
        {"a calendar time", [this](std::ostream& os) { os << calendar; }},
        {"an invalid message", [this](std::ostream& os) { os << invalid; }},
        {"print of a header-only message", [this](std::ostream& os) { simple.print(os); }},
        {"print of an invalid message", [this](std::ostream& os) { invalid.print(os); }},
    };
};

/// What comes of writing a text behind what a string stream already holds, an allocation failing.
struct Writing {
    bool failed = false;
    bool thrown = false;
    bool bad = false;
    bool formatKept = false;
    std::string content;

    Writing(const Text& text, const std::string& held, long successes,
            FailingAllocation::mode_t mode, bool throwing) {
        std::ostringstream os;
        os << held << std::showbase << std::left;
        os.fill('*');
        const auto flags = os.flags();
        os.exceptions(throwing ? std::ios_base::badbit : std::ios_base::goodbit);
        {
            const FailingAllocation memory(successes, mode);
            try {
                text.write(os);
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            failed = memory.hasFailed();
        }
        bad = os.bad();
        formatKept = os.flags() == flags && os.fill() == '*';
        content = os.str();
    }
};

/// Compares one writing with the whole text; returns whether an allocation failed.
bool writeOnce(const Text& text, const std::string& held, long successes,
               FailingAllocation::mode_t mode, bool throwing) {
    const Writing whole(text, held, -1, mode, throwing);
    const Writing writing(text, held, successes, mode, throwing);
    EXPECT_EQ(writing.bad, writing.failed);
    EXPECT_EQ(writing.thrown, writing.failed && throwing);
    EXPECT_TRUE(writing.formatKept);
    EXPECT_EQ(writing.content, whole.content.substr(0, writing.content.size()));
    EXPECT_GE(writing.content.size(), writing.failed ? held.size() : whole.content.size());
    return writing.failed;
}

/// Fails each allocation in turn, in both modes; returns how many failures there were.
long writeUntilSuccess(const Text& text, const std::string& held, bool throwing) {
    long failures = 0;
    for (const auto mode : {FailingAllocation::ONCE, FailingAllocation::FROM_THEN_ON}) {
        const long alive = allocations::alive;
        for (long successes = 0; writeOnce(text, held, successes, mode, throwing); ++successes) {
            ++failures;
        }
        EXPECT_EQ(allocations::alive, alive);
    }
    return failures;
}

TEST_F(OutOfMemoryInAStream, SetsBadbitKeepsTheFormatAndThrowsOnlyWhereTheStreamDoes) {
    for (const Text& text : texts) {
        for (const bool throwing : {false, true}) {
            SCOPED_TRACE(std::string(text.what) + (throwing ? ", throwing" : ""));
            // As much as string streams hold without memory, or fill once they have some.
            EXPECT_GE(writeUntilSuccess(text, "fifteen letters", throwing), 2);
            EXPECT_GE(writeUntilSuccess(text, std::string(511, '.'), throwing), 2);
        }
    }
}

// ---- What needs no memory ----------------------------------------------------------------------

/// A stream that takes any text without keeping it.
struct Swallow : std::streambuf {
    std::streamsize xsputn(const char*, std::streamsize length) override { return length; }
};

TEST_F(OutOfMemoryInAStream, NoTextNeedsMemoryOfItsOwn) {
    Swallow buffer;
    std::ostream os(&buffer);
    for (const Text& text : texts) {
        SCOPED_TRACE(text.what);
        EXPECT_EQ(expectBadAlloc([&] { text.write(os); }), 0);
        EXPECT_TRUE(os.good());
    }
}

TEST_F(OutOfMemory, TheSettingsNeedNone) {
    expectBadAllocOfEach({
        {"an identifier that has a creator", 0,
         [] { EXPECT_FALSE(MessageBase::registerMessage(MSGID_CAN, badEnumCreator)); }},
        {"all that are registered", 0, [] { MessageBase::registerMessages(); }},
        {"no creator", 0, [] { EXPECT_FALSE(MessageBase::registerMessage(MSGID_PING, nullptr)); }},
        {"the policy", 0,
         [] { MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE); }},
        {"the version", 0, [] { MessageBase::setVersion(MessageBase::getVersion()); }},
    });
    bool removed = false;
    {
        const FailingAllocation memory(0, FailingAllocation::FROM_THEN_ON);
        removed = MessageBase::registerMessage(MSGID_CAN, nullptr);
    }
    EXPECT_TRUE(removed);
}

TEST_F(OutOfMemory, WhatAMessageHoldsIsReachedComparedMovedAndEncodedWithoutAny) {
    byteVec_t buffer;
    buffer.reserve(1000);
    expectBadAllocOfEach({
        {"its fields", 0,
         [&] {
             simple.setHeaderReserved(simple.getHeaderReserved());
             simple.setTimeStamp(simple.getTimeStamp());
             simple.cascadeChannel(1);
             EXPECT_EQ(simple.getSourceChannelID(), ~uint64_t{0});
             EXPECT_EQ(simple.getSourceChannel().size(), 13u);
         }},
        {"comparing", 0,
         [&] {
             EXPECT_FALSE(simple == invalid);
             EXPECT_TRUE(invalid != invalid);
             EXPECT_TRUE(simple == simple);
         }},
        {"moving there and back", 0,
         [&] {
             InvalidMessage moved(std::move(invalid));
             invalid = std::move(moved);
         }},
        {"encoding where there is room", 0,
         [&] {
             EXPECT_EQ(message.createByteArray(buffer, true, false), 116u);
             EXPECT_EQ(simple.createByteArray(buffer, true, true), 16u);
         }},
    });
    EXPECT_EQ(invalid.getDescription(), LONG_TEXT);
    EXPECT_EQ(hex(invalid.getRawData()), "AA BB");
}

}  // namespace
