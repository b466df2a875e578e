/// @file
/// Abseil: what its functions for text return is a string each time, as they are meant to be used;
/// what appends, appends to a string that is kept.

#include <absl/strings/str_cat.h>
#include <absl/strings/str_format.h>
#include <absl/time/time.h>

#include "contenders/contenders.h"
#include "contenders/text.h"

namespace bench {

namespace {

std::string formatStamp(timeStamp_t stamp) {
    return absl::FormatTime("%E4Y-%m-%d %H:%M:%E6S",
                            absl::FromUnixMicros(static_cast<int64_t>(stamp)), absl::UTCTimeZone());
}

void appendBytes(std::string& text, const byteVec_t& bytes) {
    const char* separator = "";
    for (const uint8_t byte : bytes) {
        absl::StrAppend(&text, separator, absl::Hex(byte, absl::kZeroPad2));
        separator = " ";
    }
}

struct PrintStamp {
    void operator()(std::ostream& os, timeStamp_t stamp) const { os << formatStamp(stamp); }
    std::string operator()(timeStamp_t stamp) const { return formatStamp(stamp); }
};

struct PrintDump {
    void operator()(std::ostream& os, const byteVec_t& bytes) {
        text.clear();
        appendBytes(text, bytes);
        os << text;
    }
    std::string text;
};

struct PrintInvalid {
    void operator()(std::ostream& os, const InvalidMessage& message) {
        text.clear();
        append(text, message);
        os << text;
    }
    std::string operator()(const InvalidMessage& message) const {
        std::string result;
        append(result, message);
        return result;
    }
    static void append(std::string& result, const InvalidMessage& message) {
        const byteVec_t& payload = message.getRawData();
        absl::StrAppendFormat(&result, "%s  %s: Id=0x%02x, n=%d ",
                              formatStamp(message.getTimeStamp()), message.getDescription(),
                              message.getOriginalMsgId(), payload.size());
        appendBytes(result, payload);
    }
    std::string text;
};

}  // namespace

void addAbsl() { addText<PrintStamp, PrintDump, PrintInvalid>("absl"); }

}  // namespace bench
