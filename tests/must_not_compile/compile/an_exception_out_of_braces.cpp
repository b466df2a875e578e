// An exception is always written with its name: braces alone do not become one.
// error: explicit
#include "libvektrace/InvalidMessageException.h"

InvalidMessageException exceptionWithText() {
#ifdef FAULT
    return {IM_INVALID_LEN, "too short"};
#else
    return InvalidMessageException{IM_INVALID_LEN, "too short"};
#endif
}
