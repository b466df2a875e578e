// The fields of the header are a derived class's own; others use the accessors.
// error: msgid.* is (a )?protected
// error: timeStamp.* is (a )?protected
// error: headerReserved.* is (a )?protected
// error: sourceChannelIDMbnr.* is (a )?protected
#include "libvektrace/MessageBase.h"

uint64_t sumOfFields(const MessageBase& message) {
#ifdef FAULT
    return message.msgid + message.timeStamp + message.headerReserved + message.sourceChannelIDMbnr;
#else
    return message.getMessageId() + message.getTimeStamp() + message.getHeaderReserved() +
           message.getSourceChannelIDMbnr();
#endif
}
