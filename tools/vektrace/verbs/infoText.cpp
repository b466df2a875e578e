#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>

#include "tools/vektrace/program/escape.h"
#include "tools/vektrace/program/identifier.h"
#include "tools/vektrace/program/timeText.h"
#include "tools/vektrace/verbs/infoFormat.h"

namespace vek::program {

namespace {

/// The counts as blocks of which the highest stands for the greatest count.
std::string picture(const counts_t& counts, size_t used) {
    constexpr const char* BLOCKS[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    constexpr double HIGHEST = std::size(BLOCKS) - 1;
    const auto most = static_cast<double>(*std::max_element(counts.begin(), counts.end()));
    std::string text;
    for (size_t i = 0; i < used; ++i) {
        // Rounded up, so that a single record is seen.
        const double height = std::ceil(HIGHEST * static_cast<double>(counts[i]) / most);
        text += BLOCKS[static_cast<size_t>(height)];
    }
    return text.erase(text.find_last_not_of(' ') + 1);
}

std::string rateText(const IdentifierStatistics& row) {
    const double rate = row.meanRate();
    return rate > 0 ? fmt::format("{:.{}f}/s", rate, rate < 10 ? 3 : 1) : "-";
}

std::string utcText(timeStamp_t stamp) {
    std::string text;
    appendUtc(text, stamp);
    return text;
}

class InfoText : public InfoFormat {
public:
    explicit InfoText(TextOutput& _output) : output(_output) {}

    void trace(const Input& input, const TraceStatistics& statistics) override {
        std::string name;
        appendWithoutControls(name, input.name());
        output.write(first ? "" : "\n");
        first = false;
        output.writeLine(name, BOLD);
        totals(input, statistics);
        damage(statistics);
        if (statistics.records != 0) {
            table(statistics);
        }
    }

private:
    void totals(const Input& input, const TraceStatistics& statistics) {
        output.writeLine(fmt::format("  {}, {}, {}", countText(statistics.records, "record"),
                                     countText(statistics.bytes, "byte"),
                                     framingWord(input.framing())));
        if (statistics.records == 0) {
            return;
        }
        const TimeScale& scale = statistics.scale;
        output.writeLine(fmt::format("  {} to {}, {}", utcText(scale.low), utcText(scale.high),
                                     durationText(scale.high - scale.low)));
        if (statistics.backwardSteps != 0) {
            output.writeLine(fmt::format("  time goes back: {}, the largest {}",
                                         countText(statistics.backwardSteps, "step"),
                                         durationText(statistics.largestBackwardStep)));
        }
        if (input.ambiguities() != 0) {
            output.writeLine(fmt::format("  to be read in two ways: {}",
                                         countText(input.ambiguities(), "place")));
        }
    }

    void damage(const TraceStatistics& statistics) {
        if (!statistics.losses.any()) {
            return;
        }
        output.writeLine("  damage: " + statistics.losses.text(), RED);
        statistics.losses.gaps.forEachReason([this](gapReason_t reason, const GapCount& count) {
            output.writeLine(fmt::format("    {}: {}", gapReasonText(reason), count.text()), RED);
        });
    }

    void table(const TraceStatistics& statistics) {
        output.writeLine(
            fmt::format("  {:<6}  {:<22} {:>10} {:>14} {:>7} {:>12} {:>20}  {:<26}  {:<26}  {}",
                        "id", "name", "records", "bytes", "share", "rate", "largest pause", "first",
                        "last", "rate over time"),
            BOLD);
        statistics.forEachIdentifier([&](msgid_t id, const IdentifierStatistics& row) {
            const double share =
                100 * static_cast<double>(row.bytes) / static_cast<double>(statistics.bytes);
            output.writeLine(fmt::format(
                "  {:<6}  {:<22} {:>10} {:>14} {:>6.1f}% {:>12} {:>20}  {:<26}  {:<26}  {}",
                identifierNumber(id), identifierName(id), row.records, row.bytes, share,
                rateText(row), durationText(row.largestPause), utcText(row.earliest),
                utcText(row.latest), picture(row.overTime, statistics.scale.used())));
        });
    }

    TextOutput& output;
    bool first = true;
};

}  // namespace

std::unique_ptr<InfoFormat> makeInfoText(TextOutput& output) {
    return std::make_unique<InfoText>(output);
}

}  // namespace vek::program
