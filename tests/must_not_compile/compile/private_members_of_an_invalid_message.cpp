// An invalid message is measured and written as a MessageBase only: its rules differ from those of
// other messages, and nobody should lean on them by accident.
// error: getSize.* is (a )?private
// error: writeToByteArray.* is (a )?private
// error: readFromByteArray.* is (a )?private
#include "libvektrace/MessageBase.h"

void caseOfPrivateMembers(const InvalidMessage& message, uint8_t* bytes) {
#ifdef FAULT
    message.getSize();
    message.writeToByteArray(bytes, 14, false);
    InvalidMessage::readFromByteArray(bytes, 14);
#else
    const MessageBase& base = message;
    base.getSize();
    base.writeToByteArray(bytes, 14, false);
    MessageBase::readFromByteArray(bytes, 14);
#endif
}
