// Some systems have function-like macros of these names. Ours are functions, which such a macro
// must neither break where the headers declare and call them nor hide from a call in parentheses.
#define ntohll(x) a macro that must not be expanded((x))
#define htonll(x) a macro that must not be expanded((x))

#include "libvektrace/SimpleMessage.h"
#include "libvekutil/datablock.h"
#include "libvekutil/utility.h"

uint64_t thereAndBack(uint64_t n);

uint64_t thereAndBack(uint64_t n) {
    uint8_t bytes[sizeof n];
    uint64ToByteArray(bytes, (htonll)(n));
    return (ntohll)(byteArrayToUint64(bytes));
}
