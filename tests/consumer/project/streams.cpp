// Writes a trace into the file that is its argument, and reads it again.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "check.h"
#include "libvekstream/TraceReader.h"
#include "libvekstream/TraceWriter.h"
#include "libvekstream/decodeRecord.h"
#include "libvekstream/messageName.h"
#include "libvektrace/SimpleMessage.h"

namespace {

constexpr timeStamp_t STAMP = 1234567890123456;

void aTraceIsWritten(const char* path) {
    TraceWriter writer(path, TraceWriter::EXISTING_REPLACE);
    byteVec_t record;
    SimpleMessage<MSGID_START>(STAMP).createByteArray(record, true, false);
    writer.write(record);
    SimpleMessage<MSGID_STOP>(STAMP + 1).createByteArray(record, true, false);
    writer.write(record);
    writer.commit();
    CHECK_EQUAL(writer.size(), 32U);
}

void itsRecordsAreRead(const char* path) {
    MessageBase::registerMessages();
    const int fd = ::open(path, O_RDONLY);
    TraceReader reader(fd);
    TraceSpan span;
    for (const char* name : {"START", "STOP"}) {
        CHECK_EQUAL(reader.next(span), true);
        const auto message = decodeRecord(span);
        CHECK_EQUAL(message != nullptr, true);
        CHECK_EQUAL(std::string(messageName(message->getMessageId())), name);
    }
    CHECK_EQUAL(reader.next(span), false);
    ::close(fd);
}

void anExceptionIsCaught() {
    try {
        TraceWriter writer("/");
        CHECK_EQUAL("written", "refused");
    } catch (const TraceException& exception) {
        CHECK_EQUAL(exception.error(), EISDIR);
    }
}

/// Also what the library leaves to others is linked.
void compressedInputIsRecognised() {
    int ends[2];
    CHECK_EQUAL(::pipe(ends), 0);
    const uint8_t cut[] = {0x1f, 0x8b, 0x08, 0x00};
    CHECK_EQUAL(::write(ends[1], cut, sizeof cut), 4);
    ::close(ends[1]);
    try {
        TraceReader reader(ends[0]);
        TraceSpan span;
        CHECK_EQUAL(reader.next(span), true);
    } catch (const TraceException& exception) {
        CHECK_EQUAL(std::string(exception.what()).substr(0, 11), "gzip input:");
    }
    ::close(ends[0]);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    aTraceIsWritten(argv[1]);
    itsRecordsAreRead(argv[1]);
    anExceptionIsCaught();
    compressedInputIsRecognised();
    return consumer::result();
}
