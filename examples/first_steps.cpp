#include <libvektrace/SimpleMessage.h>

#include <iostream>
#include <memory>

int main() {
    // At start-up, before other threads: what can be decoded, and what becomes of what cannot.
    MessageBase::registerMessages();
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);

    // A message becomes bytes: behind a sync marker, appended to what the vector holds.
    const SimpleMessage<MSGID_STARTUP> startup(1234567890123456);
    byteVec_t trace;
    startup.createByteArray(trace, true, true);

    // Bytes become a message: without the marker, through the creator of their identifier.
    uint8_t* const record = trace.data() + sizeof MessageBase::SYNC_MARKER;
    const size_t length = trace.size() - sizeof MessageBase::SYNC_MARKER;
    std::unique_ptr<MessageBase> message(MessageBase::readFromByteArray(record, length));
    message->print(std::cout) << '\n';

    // What cannot be decoded is not lost: it comes back with the reason and its bytes.
    record[MessageBase::MO_MSGID] = 0x12;
    message.reset(MessageBase::readFromByteArray(record, length));
    message->print(std::cout) << '\n';
}
