// An exception is always written with its name: braces alone do not become one.
// error: explicit
#include "libvektrace/InvalidMessageException.h"

InvalidMessageException exceptionWithValue() {
#ifdef FAULT
    return {IM_INVALID_ENUM_VALUE, "colour", 7};
#else
    return InvalidMessageException{IM_INVALID_ENUM_VALUE, "colour", 7};
#endif
}
