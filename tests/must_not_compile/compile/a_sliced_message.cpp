// The base part of a message is neither copied out of it nor assigned over that of another one.
// error: abstract|MessageBase::MessageBase.* is protected
// error: operator=.* is (a )?protected
#include "libvektrace/SimpleMessage.h"

void caseOfSlicing(MessageBase& message, MessageBase& other) {
#ifdef FAULT
    MessageBase copy(message);
    other = message;
#else
    MessageBase* const copy = message.clone();
    other.source = copy->source;
    delete copy;
#endif
}
