/// @file
/// {fmt}: format strings that are compiled, into a memory buffer that is kept.

#include <fmt/chrono.h>
#include <fmt/compile.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "contenders/contenders.h"
#include "contenders/text.h"

namespace bench {

namespace {

class Text {
public:
    fmt::appender clear() {
        buffer.clear();
        return fmt::appender(buffer);
    }
    void writeTo(std::ostream& os) const {
        os.write(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    }
    std::string string() const { return fmt::to_string(buffer); }

private:
    fmt::memory_buffer buffer;
};

fmt::appender formatStamp(fmt::appender out, timeStamp_t stamp) {
    const auto seconds = static_cast<time_t>(stamp / 1000000);
    return fmt::format_to(out, FMT_COMPILE("{:%F %T}.{:06}"), fmt::gmtime(seconds),
                          stamp % 1000000);
}

class PrintStamp {
public:
    void operator()(std::ostream& os, timeStamp_t stamp) {
        formatStamp(text.clear(), stamp);
        text.writeTo(os);
    }
    std::string operator()(timeStamp_t stamp) {
        formatStamp(text.clear(), stamp);
        return text.string();
    }

private:
    Text text;
};

class PrintDump {
public:
    void operator()(std::ostream& os, const byteVec_t& bytes) {
        fmt::format_to(text.clear(), FMT_COMPILE("{:02x}"), fmt::join(bytes, " "));
        text.writeTo(os);
    }

private:
    Text text;
};

class PrintInvalid {
public:
    void operator()(std::ostream& os, const InvalidMessage& message) {
        format(message);
        text.writeTo(os);
    }
    std::string operator()(const InvalidMessage& message) {
        format(message);
        return text.string();
    }

private:
    void format(const InvalidMessage& message) {
        const byteVec_t& payload = message.getRawData();
        fmt::format_to(formatStamp(text.clear(), message.getTimeStamp()),
                       FMT_COMPILE("  {}: Id=0x{:02x}, n={} {:02x}"), message.getDescription(),
                       message.getOriginalMsgId(), payload.size(), fmt::join(payload, " "));
    }

    Text text;
};

}  // namespace

void addFmt() { addText<PrintStamp, PrintDump, PrintInvalid>("fmt"); }

}  // namespace bench
