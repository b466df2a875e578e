/// @file
/// spdlog: its formatter of patterns, as a sink uses it, and its dump of bytes. The formatter keeps
/// the calendar of the last second; the timestamps here never repeat one.

#include <spdlog/details/log_msg.h>
#include <spdlog/fmt/bin_to_hex.h>
#include <spdlog/pattern_formatter.h>

#include "contenders/contenders.h"
#include "contenders/text.h"

namespace bench {

namespace {

void write(std::ostream& os, spdlog::string_view_t text) {
    os.write(text.data(), static_cast<std::streamsize>(text.size()));
}

spdlog::string_view_t view(const spdlog::memory_buf_t& text) { return {text.data(), text.size()}; }

/// A line of a log with the pattern's timestamp.
class Line {
public:
    explicit Line(const char* pattern)
        : formatter(pattern, spdlog::pattern_time_type::utc, std::string()) {}

    spdlog::string_view_t format(timeStamp_t stamp, spdlog::string_view_t payload) {
        const spdlog::log_clock::time_point time{std::chrono::microseconds(stamp)};
        text.clear();
        formatter.format({time, {}, {}, spdlog::level::info, payload}, text);
        return view(text);
    }

private:
    spdlog::pattern_formatter formatter;
    spdlog::memory_buf_t text;
};

class PrintStamp {
public:
    void operator()(std::ostream& os, timeStamp_t stamp) { write(os, line.format(stamp, {})); }
    std::string operator()(timeStamp_t stamp) {
        const spdlog::string_view_t text = line.format(stamp, {});
        return {text.data(), text.size()};
    }

private:
    Line line{"%Y-%m-%d %H:%M:%S.%f"};
};

class PrintDump {
public:
    void operator()(std::ostream& os, const byteVec_t& bytes) {
        text.clear();
        fmt::format_to(fmt::appender(text), "{:pn}", spdlog::to_hex(bytes));
        write(os, {text.data() + 1, text.size() - 1});  // without the blank before the first byte
    }

private:
    spdlog::memory_buf_t text;
};

class PrintInvalid {
public:
    void operator()(std::ostream& os, const InvalidMessage& message) { write(os, format(message)); }
    std::string operator()(const InvalidMessage& message) {
        const spdlog::string_view_t text = format(message);
        return {text.data(), text.size()};
    }

private:
    spdlog::string_view_t format(const InvalidMessage& message) {
        const byteVec_t& bytes = message.getRawData();
        payload.clear();
        fmt::format_to(fmt::appender(payload), "{}: Id=0x{:02x}, n={}{:pn}",
                       message.getDescription(), message.getOriginalMsgId(), bytes.size(),
                       spdlog::to_hex(bytes));
        return line.format(message.getTimeStamp(), view(payload));
    }

    Line line{"%Y-%m-%d %H:%M:%S.%f  %v"};
    spdlog::memory_buf_t payload;
};

}  // namespace

void addSpdlog() { addText<PrintStamp, PrintDump, PrintInvalid>("spdlog"); }

}  // namespace bench
