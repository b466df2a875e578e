// MessageBase is abstract: only a derived class is a message.
// error: abstract|MessageBase::MessageBase.* is protected
#include "libvektrace/SimpleMessage.h"

void caseOfItsOwn() {
#ifdef FAULT
    const MessageBase message(MSGID_START, 0);
#else
    const SimpleMessage<MSGID_START> message(0);
#endif
}
