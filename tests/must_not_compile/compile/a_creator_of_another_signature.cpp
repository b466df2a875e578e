// A creator takes constant bytes and their number, and returns a MessageBase.
// error: (invalid conversion|cannot initialize|no known conversion|no matching function)
#include "libvektrace/MessageBase.h"

#ifdef FAULT
MessageBase* create(uint8_t*, size_t) { return nullptr; }
#else
MessageBase* create(const uint8_t*, size_t) { return nullptr; }
#endif

void caseOfACreator() { MessageBase::registerMessage(MSGID_START, create); }
