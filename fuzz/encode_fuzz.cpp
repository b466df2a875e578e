// Messages that are set up, encoded and changed in any order: every form of createByteArray and
// writeToByteArray gives what a plain encoder gives, byte by byte, and writes nowhere else.

#include <iostream>
#include <memory>
#include <sstream>

#include "examples/ethernet/EthernetMessage.h"
#include "fuzz/support/Script.h"
#include "libvektrace/SimpleMessage.h"
#include "support/TestMessage.h"

namespace {

// ---- The plain encoder -------------------------------------------------------------------------

/// What a message is made of, and what its encoder answers.
struct Model {
    unsigned id = 0;
    uint64_t reserved = 0;
    uint64_t time = 0;
    byteVec_t payload;  ///< what the class writes behind the header
    size_t size = 0;    ///< what getSize() returns
    bool needsMarkerRoom = false;
    bool writesAlways = false;  ///< an InvalidMessage, which answers its size
};

void put(byteVec_t& bytes, uint64_t value, size_t width) {
    for (size_t i = width; i > 0; --i) {
        bytes.push_back(static_cast<uint8_t>(value >> (8 * (i - 1))));
    }
}

byteVec_t plainRecord(const Model& model, bool sync) {
    byteVec_t bytes;
    bytes.reserve(16 + model.payload.size());  // memory is dear below AddressSanitizer
    if (sync) {
        put(bytes, 0x55AA, 2);
    }
    put(bytes, model.size % 0x10000, 2);
    put(bytes, model.id, 2);
    put(bytes, model.reserved, 2);
    put(bytes, model.time, 8);
    bytes.insert(bytes.end(), model.payload.begin(), model.payload.end());
    return bytes;
}

/// Whether writeToByteArray finds the room sufficient.
bool suffices(const Model& model, size_t room, bool sync) {
    return model.size % 0x10000 + 2 + (model.needsMarkerRoom && sync ? 2 : 0) <= room;
}

struct PlainResult {
    size_t result = 0;
    std::string error;
};

/// createByteArray.
PlainResult plainCreate(const Model& model, byteVec_t& buffer, bool sync, bool append) {
    if (model.size > 65540) {
        return {0, "[ERROR] Message size too big\n"};
    }
    const size_t length = 2 + model.size + (sync ? 2 : 0);
    if (length < 12) {
        return {0, "[ERROR] Message size too small\n"};
    }
    if (!append) {
        buffer.clear();
    }
    byteVec_t record;
    if (suffices(model, length, sync)) {
        record = plainRecord(model, sync);
    }
    const size_t written = model.writesAlways ? model.size : record.size();
    record.resize(length);
    buffer.insert(buffer.end(), record.begin(), record.end());
    return {written, ""};
}

// ---- Messages beside their models --------------------------------------------------------------

struct Subject {
    std::unique_ptr<MessageBase> message;
    Model model;
};

msgid_t anyId(Script& script) { return static_cast<msgid_t>(script.number(2)); }

Subject makeTest(Script& script) {
    Subject subject;
    subject.model.id = anyId(script);
    subject.model.time = script.number(8);
    subject.model.payload = script.bytes(script.byte());
    subject.model.size = 12 + subject.model.payload.size();
    subject.message = std::make_unique<TestMessage>(static_cast<msgid_t>(subject.model.id),
                                                    subject.model.time, subject.model.payload);
    return subject;
}

class CopiedSize : public SizedMessage {
public:
    using SizedMessage::SizedMessage;
    CopiedSize* clone() const override { return new CopiedSize(*this); }
};

/// Answers any size from nothing to beyond all limits.
Subject makeSized(Script& script) {
    constexpr size_t FAR[] = {65530, 65540, 131080};
    const uint8_t choice = script.byte();
    Subject subject;
    subject.model.id = MSGID_START;
    subject.model.size = choice % 64 + (choice < 192 ? 0 : FAR[choice / 16 % 3]);
    auto message = std::make_unique<CopiedSize>(subject.model.size);
    subject.model.time = message->MessageBase::getTimeStamp();
    subject.message = std::move(message);
    return subject;
}

Subject makeSimple(Script& script) {
    Subject subject;
    subject.model.id = MSGID_TIMEJUMP;
    subject.model.time = script.number(8);
    subject.model.size = 12;
    subject.message = std::make_unique<SimpleMessage<MSGID_TIMEJUMP>>(subject.model.time);
    return subject;
}

Subject makeEthernet(Script& script) {
    Subject subject;
    const uint8_t channel = script.byte();
    const uint8_t direction = script.byte() % 3;
    const auto more = static_cast<uint32_t>(script.number(2));
    subject.model.time = script.number(8);
    const byteVec_t frame = script.bytes(script.byte());
    const auto original = static_cast<uint32_t>(frame.size()) + more;
    put(subject.model.payload, channel, 1);
    put(subject.model.payload, direction, 1);
    put(subject.model.payload, original, 4);
    subject.model.payload.insert(subject.model.payload.end(), frame.begin(), frame.end());
    subject.model.id = 0x0004;
    subject.model.size = 12 + subject.model.payload.size();
    subject.model.needsMarkerRoom = true;
    subject.message = std::make_unique<EthernetMessage>(
        subject.model.time, channel, static_cast<MessageBase::portDirection_t>(direction), original,
        frame);
    return subject;
}

Subject makeInvalid(Script& script) {
    Subject subject;
    const byteVec_t record = script.bytes(script.byte());
    auto message = std::make_unique<InvalidMessage>(record.data(), record.size());
    for (size_t i = 6; i < 14; ++i) {
        subject.model.time = subject.model.time << 8 | (i < record.size() ? record[i] : 0);
    }
    subject.model.id = 0xFFFF;
    subject.model.size = 14 + (record.size() > 14 ? record.size() - 14 : 0);
    subject.model.writesAlways = true;
    // As much raw data as the record has room for.
    subject.model.payload = script.bytes(std::min<size_t>(subject.model.size - 14, script.byte()));
    message->rawData = subject.model.payload;
    subject.message = std::move(message);
    return subject;
}

constexpr Subject (*MAKERS[])(Script&) = {makeTest, makeSized, makeSimple, makeEthernet,
                                          makeInvalid};

// ---- Operations --------------------------------------------------------------------------------

/// Keeps what the library says on the standard error stream.
class Errors {
public:
    Errors() { std::cerr.rdbuf(text.rdbuf()); }
    std::string take() {
        std::string taken = text.str();
        if (!taken.empty()) {
            text.str({});
        }
        return taken;
    }

private:
    std::ostringstream text;
};

class Session {
public:
    Session(Script& _script, Errors& _errors) : script(_script), errors(_errors) {
        subject = MAKERS[script.byte() % std::size(MAKERS)](script);
    }

    void run() {
        // Long records take long.
        const int most = subject.model.size > 1000 ? 3 : 16;
        for (int steps = 0; steps < most && !script.atEnd(); ++steps) {
            step(script.byte());
            require(buffer == expected, "the bytes are those of the plain encoder");
        }
    }

private:
    void step(uint8_t choice) {
        const bool sync = (choice & 0x40) != 0;
        const bool append = (choice & 0x80) != 0;
        switch (choice % 8) {
            case 0:
                subject.model.time = script.number(8);
                subject.message->setTimeStamp(subject.model.time);
                break;
            case 1:
                subject.model.reserved = script.number(2);
                subject.message->setHeaderReserved(static_cast<uint16_t>(subject.model.reserved));
                break;
            case 2:
                writeDirectly(sync, script.byte());
                break;
            case 3:
                createInScratch(sync, append);
                break;
            case 4:
                stampRecord();
                break;
            case 5:
                subject.message.reset(subject.message->clone());
                break;
            case 6:
                createInOwnRawData(sync, append);
                break;
            default:
                createInBuffer(sync, append);
                break;
        }
    }

    void createInBuffer(bool sync, bool append) {
        const PlainResult plain = plainCreate(subject.model, expected, sync, append);
        require(subject.message->createByteArray(buffer, sync, append) == plain.result,
                "the result is that of the plain encoder");
        require(errors.take() == plain.error, "so is the error line");
    }

    void createInScratch(bool sync, bool append) {
        byteVec_t scratch;
        const PlainResult plain = plainCreate(subject.model, scratch, sync, append);
        const MessageBase& message = *subject.message;
        require(message.createByteArray(sync, append) == plain.result,
                "the form without a buffer has the same result");
        require(errors.take() == plain.error, "and the same error line");
    }

    void createInOwnRawData(bool sync, bool append) {
        byteVec_t& raw = subject.message->rawData;
        const byteVec_t before = raw;
        byteVec_t plainRaw = before;
        const PlainResult plain = plainCreate(subject.model, plainRaw, sync, append);
        require(subject.message->createByteArray(raw, sync, append) == plain.result,
                "into its own raw data the result is the same");
        require(errors.take() == plain.error, "and so is the error line");
        require(raw == plainRaw, "and so are the bytes");
        raw = before;
    }

    /// Into memory that ends where the room ends; the base writes a marker beyond what it tests, so
    /// these two bytes are provided.
    void writeDirectly(bool sync, size_t room) {
        const Model& model = subject.model;
        if (model.writesAlways || model.size % 0x10000 < 12) {
            return;  // these write without room
        }
        byteVec_t memory(room + (sync && !model.needsMarkerRoom ? 2 : 0), 0xEE);
        byteVec_t plain = memory;
        size_t length = 0;
        if (suffices(model, room, sync)) {
            const byteVec_t record = plainRecord(model, sync);
            length = record.size();
            std::copy(record.begin(), record.end(), plain.begin());
        }
        uint8_t* position = memory.data();
        require(subject.message->writeToByteArray(position, room, sync) == length,
                "it returns what it has written");
        require(position == memory.data() + length, "and moves by that");
        require(memory == plain, "and writes nothing else");
    }

    /// Changes the time in the first record that the buffer holds.
    void stampRecord() {
        const size_t marker = buffer.size() >= 2 && buffer[0] == 0x55 && buffer[1] == 0xAA ? 2 : 0;
        const uint64_t time = script.number(8);
        if (buffer.size() < marker + 14) {
            return;
        }
        MessageBase::setTimeStamp(buffer.data() + marker, time);
        require(MessageBase::getTimeStamp(buffer.data() + marker) == time, "it reads as written");
        for (size_t i = 0; i < 8; ++i) {
            expected[marker + 6 + i] = static_cast<uint8_t>(time >> (8 * (7 - i)));
        }
    }

    Script& script;
    Errors& errors;
    Subject subject;
    byteVec_t buffer;
    byteVec_t expected;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Never destroyed: the standard error stream has its memory to the end.
    static Errors& errors = *new Errors;
    Script script(data, size);
    Session(script, errors).run();
    return 0;
}
