#include "libvekutil/utility.h"

#include <ostream>

#include "libvekutil/detail/calendar.h"
#include "libvekutil/detail/digits.h"

// Text is put together in memory and written unformatted: the stream's flags, fill, width and
// locale have no part in it.

std::ostream& operator<<(std::ostream& os, const tm& t) {
    char text[vek::detail::CALENDAR_ROOM];
    const char* const end = vek::detail::writeCalendar(text, t);
    return os.write(text, end - text);
}

void printUnknownEnum(std::ostream& os, int value) {
    static constexpr char HEAD[] = "Unknown (";
    constexpr size_t HEAD_LENGTH = sizeof HEAD - 1;
    char text[HEAD_LENGTH + vek::detail::DECIMAL_ROOM + 1];
    std::memcpy(text, HEAD, HEAD_LENGTH);
    char* end = vek::detail::writeDecimal(text + HEAD_LENGTH, value);
    *end++ = ')';
    os.width(0);
    os.write(text, end - text);
}
