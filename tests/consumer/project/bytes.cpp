// Uses the utility library alone.
#include <sstream>

#include "check.h"
#include "libvekutil/datablock.h"
#include "libvekutil/utility.h"

int main() {
    byteVec_t bytes(8);
    uint64ToByteArray(bytes.data(), 0x0102030405060708);
    CHECK_EQUAL(bytes, (byteVec_t{1, 2, 3, 4, 5, 6, 7, 8}));
    CHECK_EQUAL(byteArrayToUint16(bytes.data() + 1), 0x0203);

    std::ostringstream os;
    printUnknownEnum(os, 42);
    CHECK_EQUAL(os.str(), "Unknown (42)");

    tm date{};
    date.tm_year = 109;
    date.tm_mon = 1;
    date.tm_mday = 13;
    os.str("");
    os << date;
    CHECK_EQUAL(os.str(), "2009-02-13 00:00:00");
    return consumer::result();
}
