// Only the library and message classes may end the process over a header version.
// error: reportInvalidVersion.* is (a )?protected
#include "libvektrace/MessageBase.h"

void caseOfAVersion() {
#ifdef FAULT
    MessageBase::reportInvalidVersion(2);
#else
    MessageBase::setVersion(2);
#endif
}
