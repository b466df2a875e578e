/// @file
/// Streams in any state, and streams that fail.
#pragma once

#include <locale>
#include <ostream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>

/// Groups digits: a number of several digits shows at once who looks at the locale.
class Grouping : public std::numpunct<char> {
public:
    explicit Grouping(char size) : group(1, size) {}

protected:
    char do_thousands_sep() const override { return '\''; }
    std::string do_grouping() const override { return group; }

private:
    std::string group;
};

inline std::locale groupingLocale(char size = 1) {
    return {std::locale::classic(), new Grouping(size)};
}

/// All that a text operation could depend on or leave changed.
struct StreamState {
    std::ios_base::fmtflags flags;
    char fill;
    std::streamsize width;
    std::streamsize precision;
    bool grouping;

    void applyTo(std::ostream& os) const {
        os.flags(flags);
        os.fill(fill);
        os.width(width);
        os.precision(precision);
        if (grouping) {
            static const std::locale LOCALE = groupingLocale();
            os.imbue(LOCALE);
        }
    }
    static StreamState of(const std::ostream& os) {
        return {os.flags(), os.fill(), os.width(), os.precision(),
                os.getloc() != std::locale::classic()};
    }
    bool operator==(const StreamState& other) const {
        return flags == other.flags && fill == other.fill && width == other.width &&
               precision == other.precision && grouping == other.grouping;
    }
    friend std::ostream& operator<<(std::ostream& os, const StreamState& state) {
        return os << "flags " << state.flags << ", fill '" << state.fill << "', width "
                  << state.width << ", precision " << state.precision << ", grouping "
                  << state.grouping;
    }
};

template <class Random>
StreamState randomStreamState(Random& random) {
    using Ios = std::ios_base;
    constexpr Ios::fmtflags CHOICES[] = {Ios::showbase,   Ios::showpos,   Ios::uppercase,
                                         Ios::boolalpha,  Ios::showpoint, Ios::fixed,
                                         Ios::scientific, Ios::unitbuf,   Ios::skipws};
    constexpr Ios::fmtflags BASES[] = {Ios::dec, Ios::hex, Ios::oct, Ios::fmtflags{},
                                       Ios::basefield};
    constexpr Ios::fmtflags SIDES[] = {Ios::left, Ios::right, Ios::internal, Ios::fmtflags{}};
    Ios::fmtflags flags = BASES[random() % 5] | SIDES[random() % 4];
    for (const auto choice : CHOICES) {
        if (random() % 3 == 0) {
            flags |= choice;
        }
    }
    // The settings that a quick path may look for come often enough to be met together.
    const char fill = "00 *x"[random() % 5];
    return {flags, fill, static_cast<std::streamsize>(random() % 3 == 0 ? random() % 40 : 0),
            static_cast<std::streamsize>(random() % 10), random() % 3 == 0};
}

/// Keeps the text and counts how often it is flushed.
class FlushCounter : public std::stringbuf {
public:
    int count = 0;

protected:
    int sync() override {
        ++count;
        return 0;
    }
};

/// Takes a number of characters and then fails, silently or by throwing.
class LimitedBuffer : public std::streambuf {
public:
    enum end_t { FAILS, THROWS };

    LimitedBuffer(size_t _room, end_t _end) : room(_room), end(_end) {}
    const std::string& text() const { return taken; }

protected:
    int_type overflow(int_type c) override {
        if (taken.size() == room) {
            if (end == THROWS) {
                throw std::runtime_error("no room");
            }
            return traits_type::eof();
        }
        taken += traits_type::to_char_type(c);
        return c;
    }

private:
    size_t room;
    end_t end;
    std::string taken;
};
