// An identifier that joins the catalogue needs a name.
// error: enumeration value .?MSGID_NEWCOMER.? not handled in switch
#ifdef FAULT
#define MSGID_MARKER MSGID_NEWCOMER = 0x7fff, MSGID_MARKER
#endif
#include "libvektrace/messageID.h"
#undef MSGID_MARKER

#include "libvekstream/messageName.cpp"
