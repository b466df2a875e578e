#include "tools/vektrace/program/Progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstddef>
#include <iterator>

namespace vek::program {

namespace {

constexpr std::chrono::seconds PATIENCE(1);
constexpr std::chrono::milliseconds INTERVAL(200);

bool isWanted(const Session& session) {
    return session.progress == Session::WHEN_ALWAYS ||
           (session.progress == Session::WHEN_AUTO && !session.textOnTerminal &&
            isatty(STDERR_FILENO) == 1);
}

std::string sizeText(double bytes) {
    constexpr const char* UNITS[] = {"B", "KiB", "MiB", "GiB", "TiB"};
    size_t unit = 0;
    for (; bytes >= 1024 && unit + 1 < std::size(UNITS); ++unit) {
        bytes /= 1024;
    }
    return fmt::format("{:.{}f} {}", bytes, unit == 0 || bytes >= 100 ? 0 : 1, UNITS[unit]);
}

/// "1:02:03", "0:07".
std::string clockText(uint64_t seconds) {
    return seconds < 3600
               ? fmt::format("{}:{:02}", seconds / 60, seconds % 60)
               : fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

}  // namespace

std::string progressText(uint64_t done, uint64_t total, double seconds) {
    const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0;
    std::string text = fmt::format("{}, {}/s", sizeText(static_cast<double>(done)), sizeText(rate));
    if (total == 0 || done > total) {
        return text;
    }
    const double part = static_cast<double>(done) / static_cast<double>(total);
    text += fmt::format(", {:.0f}%", 100 * part);
    if (rate > 0) {
        const double left = static_cast<double>(total - done) / rate;
        text += fmt::format(", {} left", clockText(static_cast<uint64_t>(left)));
    }
    return text;
}

Progress::Progress(Session& _session, uint64_t _total)
    : session(_session),
      total(_total),
      enabled(isWanted(_session)),
      due(_session.progress == Session::WHEN_ALWAYS ? begin : begin + PATIENCE) {}

Progress::~Progress() {
    if (!enabled) {
        return;
    }
    if (session.progress == Session::WHEN_ALWAYS) {
        try {
            show(clock_t::now());
        } catch (...) {
            // Without the last state: an exception may be on its way already.
        }
    }
    session.endTransient(session.progress == Session::WHEN_ALWAYS);
}

void Progress::advance(uint64_t bytes) {
    done += bytes;
    if (!enabled) {
        return;
    }
    const clock_t::time_point now = clock_t::now();
    if (now >= due) {
        show(now);
        due = now + INTERVAL;
    }
}

void Progress::show(clock_t::time_point now) {
    const std::chrono::duration<double> elapsed = now - begin;
    session.showTransient(progressText(done, total, elapsed.count()));
}

}  // namespace vek::program
