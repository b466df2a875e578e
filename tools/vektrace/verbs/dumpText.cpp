#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "tools/vektrace/program/MessageText.h"
#include "tools/vektrace/program/escape.h"
#include "tools/vektrace/verbs/dumpFormat.h"

namespace vek::program {

namespace {

/// A gap may be very long; its beginning tells what it is.
constexpr size_t GAP_BYTES_SHOWN = 64;

/// One line per record: its own text, in which another time column takes the place of the time.
class DumpText : public DumpFormat {
public:
    DumpText(TextOutput& _output, const DumpLook& _look)
        : output(_output), look(_look), times(_look.times, _look.precision) {}

    void open(const Input& input) override {
        times = TimeColumn(look.times, look.precision);
        prefix = look.severalInputs ? input.name() + ": " : "";
    }

    void record(const TraceSpan& span, const Decoded& decoded) override {
        line.clear();
        appendRecord(span, decoded);
        if (look.hex) {
            line += "  payload ";
            appendHex(line, payloadOf(span), payloadLength(span), ' ');
        }
        output.writeLine(line, decoded.decoding == DECODING_REFUSED ? YELLOW : nullptr);
    }

    void gap(const Gap& gap) override {
        line = "-- ";
        appendWithoutControls(line, prefix);
        fmt::format_to(std::back_inserter(line), "gap at byte {}: {}, {}", gap.offset,
                       countText(gap.length, "byte"), gapReasonText(gap.reason));
        if (look.hex) {
            const size_t shown = std::min(gap.head.size(), GAP_BYTES_SHOWN);
            line += ": ";
            appendHex(line, gap.head.data(), shown, ' ');
            line += gap.length > shown ? " ..." : "";
        }
        output.writeLine(line, RED);
    }

private:
    void appendRecord(const TraceSpan& span, const Decoded& decoded) {
        const std::string_view message = text.render(*decoded.message);
        if (look.times == TIMES_UTC && look.precision == MAX_PRECISION) {
            appendEscaped(line, message);
            return;
        }
        times.append(line, timeOf(span));
        line += "  ";
        appendEscaped(line, withoutTime(message, decoded.message->getTimeStamp()));
    }

    /// What stands behind the time with which the text of a message begins; all of it where it does
    /// not.
    static std::string_view withoutTime(std::string_view message, timeStamp_t stamp) {
        const std::string own = MessageBase::printTimestamp(stamp);
        if (message.substr(0, own.size()) != own) {
            return message;
        }
        message.remove_prefix(own.size());
        message.remove_prefix(std::min(message.find_first_not_of(' '), message.size()));
        return message;
    }

    TextOutput& output;
    const DumpLook look;
    TimeColumn times;
    MessageText text;
    std::string prefix;
    std::string line;
};

}  // namespace

std::unique_ptr<DumpFormat> makeDumpText(TextOutput& output, const DumpLook& look) {
    return std::make_unique<DumpText>(output, look);
}

}  // namespace vek::program
