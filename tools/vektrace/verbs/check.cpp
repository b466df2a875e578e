#include <fmt/format.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tools/vektrace/program/decode.h"
#include "tools/vektrace/program/escape.h"
#include "tools/vektrace/program/inputs.h"
#include "tools/vektrace/program/json.h"
#include "tools/vektrace/program/losses.h"
#include "tools/vektrace/program/output.h"
#include "tools/vektrace/program/timeText.h"
#include "tools/vektrace/program/timeUnits.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

// ---- What is found -----------------------------------------------------------------------------

struct Finding {
    const char* kind;  ///< "gap", "ambiguous", "refused", "backward", "leap"
    uint64_t offset;
    uint64_t length;
    std::string reason;
    bool isGap = false;
};

/// "0x0001 (CAN)".
std::string identifierText(msgid_t id) {
    const std::string_view name = identifierName(id);
    return name.empty() ? identifierNumber(id) : fmt::format("{} ({})", identifierNumber(id), name);
}

struct Verdict {
    uint64_t records = 0;
    uint64_t bytes = 0;
    uint64_t ambiguous = 0;
    uint64_t backward = 0;
    uint64_t leaps = 0;
    Losses losses;
    bool complete = true;  ///< read to its end

    bool isWhole() const { return complete && !losses.any(); }
};

// ---- How it looks ------------------------------------------------------------------------------

class CheckFormat {
public:
    virtual ~CheckFormat() = default;
    virtual void finding(const Input& input, const Finding& finding) = 0;
    virtual void verdict(const Input& input, const Verdict& verdict) = 0;
};

class CheckText : public CheckFormat {
public:
    explicit CheckText(TextOutput& _output) : output(_output) {}

    void finding(const Input& input, const Finding& finding) override {
        line(failureText(input.name(), finding.offset,
                         fmt::format("{} of {}: {}", finding.isGap ? "gap" : "record",
                                     countText(finding.length, "byte"), finding.reason)));
    }

    void verdict(const Input& input, const Verdict& verdict) override {
        std::string text =
            fmt::format("{}: {}, {}",
                        !verdict.complete   ? "not read to its end"
                        : verdict.isWhole() ? "whole"
                                            : "damaged",
                        countText(verdict.records, "record"), countText(verdict.bytes, "byte"));
        if (verdict.losses.any()) {
            text += ": " + verdict.losses.text();
        }
        line(failureText(input.name(), text));
    }

private:
    void line(const std::string& text) {
        std::string safe;
        appendWithoutControls(safe, text);
        output.write(safe += '\n');
    }

    TextOutput& output;
};

/// One object per line, as schema/vektrace.check.1.json says.
class CheckJson : public CheckFormat {
public:
    explicit CheckJson(TextOutput& _output) : output(_output) {}

    void finding(const Input& input, const Finding& finding) override {
        begin(input, finding.kind);
        addMember(writer, "offset", finding.offset);
        addMember(writer, "length", finding.length);
        addMember(writer, "reason", finding.reason);
        end();
    }

    void verdict(const Input& input, const Verdict& verdict) override {
        begin(input, "verdict");
        addFlag(writer, "whole", verdict.isWhole());
        addFlag(writer, "complete", verdict.complete);
        addMember(writer, "records", verdict.records);
        addMember(writer, "bytes", verdict.bytes);
        addMember(writer, "gaps", verdict.losses.gaps.all.gaps);
        addMember(writer, "gap_bytes", verdict.losses.gaps.all.bytes);
        addMember(writer, "refused", verdict.losses.refused);
        addMember(writer, "ambiguous", verdict.ambiguous);
        addMember(writer, "backward", verdict.backward);
        addMember(writer, "leaps", verdict.leaps);
        end();
    }

private:
    void begin(const Input& input, const char* kind) {
        buffer.Clear();
        writer.Reset(buffer);
        writer.StartObject();
        addMember(writer, "schema", schemaName("check"));
        addMember(writer, "file", jsonPath(input.path()));
        addMember(writer, "kind", kind);
    }

    void end() {
        writer.EndObject();
        output.write({buffer.GetString(), buffer.GetSize()});
        output.write("\n");
    }

    TextOutput& output;
    rapidjson::StringBuffer buffer;
    jsonLine_t writer;
};

template <class Format>
std::unique_ptr<CheckFormat> makeCheckFormat(TextOutput& output) {
    return std::make_unique<Format>(output);
}
using makeCheckFormat_t = std::unique_ptr<CheckFormat> (*)(TextOutput&);

// ---- How it is found ---------------------------------------------------------------------------

class Examination {
public:
    Examination(Input& _input, CheckFormat& _format)
        : input(_input), format(_format), gaps([this](const Gap& gap) { addGap(gap); }) {}

    Verdict run() {
        TraceSpan span;
        while (input.next(span)) {
            verdict.bytes += span.length;
            const bool isGap = gaps.add(span);
            if (span.ambiguous && !span.continued) {
                ++verdict.ambiguous;
                report("ambiguous", span, "can be read as one record, or as those inside of it");
            }
            if (!isGap) {
                addRecord(span);
            }
        }
        gaps.finish();
        verdict.complete = !input.failed();
        return verdict;
    }

private:
    void report(const char* kind, const TraceSpan& span, const std::string& reason) {
        format.finding(input, {kind, span.offset, span.length, reason, !span.isRecord()});
    }

    void addGap(const Gap& gap) {
        verdict.losses.gaps.add(gap);
        format.finding(input, {"gap", gap.offset, gap.length, gapReasonText(gap.reason), true});
    }

    void addRecord(const TraceSpan& record) {
        const timeStamp_t stamp = timeOf(record);
        if (verdict.records != 0) {
            compareTimes(record, stamp);
        }
        before = stamp;
        ++verdict.records;
        if (isRegistered(record)) {
            checkDecoding(record);
        }
    }

    void compareTimes(const TraceSpan& record, timeStamp_t stamp) {
        constexpr uint64_t LEAP = SECONDS_PER_DAY * MICROSECONDS_PER_SECOND;
        if (stamp < before) {
            ++verdict.backward;
            report("backward", record, "time goes back by " + durationText(before - stamp));
        } else if (stamp - before > LEAP) {
            ++verdict.leaps;
            report("leap", record, "time leaps ahead by " + durationText(stamp - before));
        }
    }

    void checkDecoding(const TraceSpan& record) {
        const Decoded decoded = decode(record);
        if (decoded.decoding != DECODING_REFUSED) {
            return;
        }
        ++verdict.losses.refused;
        std::string reason = identifierText(identifierOf(record)) + " is not decodable: ";
        appendEscaped(reason, decoded.reason);
        report("refused", record, reason);
    }

    Input& input;
    CheckFormat& format;
    GapCollector gaps;
    Verdict verdict;
    timeStamp_t before = 0;
};

// ---- The verb ----------------------------------------------------------------------------------

struct CheckOptions {
    InputOptions inputs;
    makeCheckFormat_t makeFormat = makeCheckFormat<CheckText>;
};

void check(const CheckOptions& options, Session& session) {
    TextOutput output(session, inputPaths(options.inputs));
    const std::unique_ptr<CheckFormat> format = options.makeFormat(output);
    forEachInput(session, options.inputs, [&](Input& input) {
        const Verdict verdict = Examination(input, *format).run();
        if (session.stopped()) {
            return;
        }
        if (verdict.losses.any()) {
            session.worsen(STATUS_LOSS);
        }
        format->verdict(input, verdict);
    });
    output.flush();
}

constexpr char CHECK_DETAILS[] =
    "One line for everything that is odd, with its byte offset and the reason, then one line that "
    "says whether the trace is whole. It is damaged when there are bytes that are no record, or "
    "records that their message class refuses. Records that can be read in two ways, times that go "
    "back and times that leap ahead by more than a day are told too, but damage nothing. Nothing "
    "is ever written but these lines.";

}  // namespace

void addCheck(CLI::App& program, Session& session) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App& verb = addVerb(program, session, "check", "Tell whether a trace is whole",
                             [options, &session] { check(*options, session); });
    verb.footer(CHECK_DETAILS);
    addInputs(verb, options->inputs);
    addSizeRule(verb, options->inputs);
    addChoice<makeCheckFormat_t>(
        verb, "--format", options->makeFormat,
        {{"text", makeCheckFormat<CheckText>}, {"jsonl", makeCheckFormat<CheckJson>}},
        "Lines of text, or JSON objects (schema vektrace.check/1).");
}

}  // namespace vek::program
