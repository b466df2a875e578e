/// @file
/// The text forms once more, in the slowest and clearest way: one stream insertion after the other.
/// The library's own text must equal these character by character.
#pragma once

#include <iomanip>
#include <ostream>

#include "libvektrace/MessageBase.h"

namespace plain {

/// Gives a stream the classic locale and no width, and puts the locale back.
class Classic {
public:
    explicit Classic(std::ostream& _os) : os(_os), locale(os.imbue(std::locale::classic())) {
        os.width(0);
    }
    ~Classic() { os.imbue(locale); }
    Classic(const Classic&) = delete;
    Classic& operator=(const Classic&) = delete;

private:
    std::ostream& os;
    std::locale locale;
};

/// Sets flags and fill, and restores the flags first, then the fill.
class Format {
public:
    Format(std::ostream& _os, std::ios_base::fmtflags flags)
        : os(_os), oldflags(os.flags(flags)), oldfill(os.fill('0')) {}
    ~Format() {
        os.flags(oldflags);
        os.fill(oldfill);
    }
    Format(const Format&) = delete;
    Format& operator=(const Format&) = delete;

private:
    std::ostream& os;
    std::ios_base::fmtflags oldflags;
    char oldfill;
};

inline void calendar(std::ostream& os, const tm& t) {
    os << std::setw(4) << 1900 + t.tm_year << '-' << std::setw(2) << 1 + t.tm_mon << '-'
       << std::setw(2) << t.tm_mday << ' ' << std::setw(2) << t.tm_hour << ':' << std::setw(2)
       << t.tm_min << ':' << std::setw(2) << t.tm_sec;
}

inline void timestamp(std::ostream& os, timeStamp_t stamp, bool utc, unsigned precision) {
    const std::streamsize width = os.width();
    const Classic classic(os);
    const Format format(os, std::ios_base::fixed);
    const auto seconds = static_cast<time_t>(static_cast<uint32_t>(stamp / 1000000));
    tm t{};
    utc ? gmtime_r(&seconds, &t) : localtime_r(&seconds, &t);
    calendar(os, t);
    if (precision == 0) {
        os.width(width);
        return;
    }
    auto digits = static_cast<uint32_t>(stamp % 1000000);
    for (unsigned cut = precision; cut < 6; ++cut) {
        digits /= 10;
    }
    os << '.' << std::setw(static_cast<int>(precision)) << digits;
}

inline void common(std::ostream& os, const MessageBase& m) {
    os.width(0);
    if (!m.source.empty()) {
        os << m.source << ": ";
    }
    timestamp(os, m.getTimeStamp(), true, 6);
}

template <class Iterator>
void dump(std::ostream& os, Iterator from, Iterator to) {
    if (from == to) {
        return;
    }
    const Classic classic(os);
    os << std::setw(2) << static_cast<uint16_t>(*from);
    for (++from; from != to; ++from) {
        os << ' ' << std::setw(2) << static_cast<uint16_t>(*from);
    }
}

inline void invalidMessage(std::ostream& os, const InvalidMessage& im) {
    const Classic classic(os);
    const Format format(os, std::ios_base::hex | std::ios_base::fixed);
    common(os, im);
    os << "  " << im.getDescription() << ": Id=0x" << std::setw(2) << im.getOriginalMsgId();
    if (im.getCause() == IM_INVALID_ENUM_VALUE) {
        os << ", Invalid enum value '" << im.getInvalidEnumDescription() << "'=0x" << std::setw(2)
           << im.getInvalidEnumValue();
    } else if (im.getCause() == IM_INVALID_LEN) {
        os << "Invalid message length";
    }
    os << std::dec << ", n=" << im.getRawData().size() << ' ' << std::hex;
    dump(os, im.getRawData().begin(), im.getRawData().end());
    if (im.isOverflow()) {
        os << " *** OVERRFLOW";
    }
}

inline void portDirection(std::ostream& os, int direction) {
    switch (direction) {
        case 0:
            os << "PortDirUnknown";
            return;
        case 1:
            os << "In ";
            return;
        case 2:
            os << "Out";
            return;
        default:
            break;
    }
    const Classic classic(os);
    const Format format(os, std::ios_base::dec);
    os << "Unknown (" << direction << ')';
}

inline void printable(std::ostream& os, const std::string& text) {
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\\') {
            os.put('\\').put('\\');
        } else if (byte >= 0x20 && byte < 0x7f) {
            os.put(c);
        } else {
            os.put('\\')
                .put('x')
                .put("0123456789abcdef"[byte / 16])
                .put("0123456789abcdef"[byte % 16]);
        }
    }
}

}  // namespace plain
