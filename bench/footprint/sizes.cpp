/// @file
/// Only compiled, never run: the size of every symbol is that of the type in its name.

#include "libvektrace/SimpleMessage.h"
#include "support/PayloadMessage.h"

extern "C" {
char sizeof_InvalidMessage[sizeof(InvalidMessage)];
char sizeof_InvalidMessageException[sizeof(InvalidMessageException)];
char sizeof_PayloadMessage[sizeof(bench::PayloadMessage)];
char sizeof_SimpleMessage[sizeof(SimpleMessage<MSGID_START>)];
}
