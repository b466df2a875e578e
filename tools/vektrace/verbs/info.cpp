#include <memory>

#include "tools/vektrace/program/decode.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/infoFormat.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

const char* framingWord(framing_t framing) {
    switch (framing) {
        case FRAMING_MARKED:
            return "marked";
        case FRAMING_UNMARKED:
            return "unmarked";
        default:
            return "unknown";
    }
}

namespace {

using makeInfoFormat_t = std::unique_ptr<InfoFormat> (*)(TextOutput&);

struct InfoOptions {
    InputOptions inputs;
    makeInfoFormat_t makeFormat = makeInfoText;
};

bool isRefused(const TraceSpan& record) {
    return isRegistered(record) && decode(record).decoding == DECODING_REFUSED;
}

void examine(Input& input, InfoFormat& format, Session& session) {
    TraceStatistics statistics;
    GapCollector gaps([&](const Gap& gap) { statistics.addGap(gap); });
    TraceSpan span;
    while (input.next(span)) {
        if (!gaps.add(span)) {
            statistics.addRecord(span);
            statistics.losses.refused += isRefused(span) ? 1U : 0U;
        }
    }
    gaps.finish();
    if (session.stopped()) {
        return;
    }
    if (statistics.losses.any()) {
        session.worsen(STATUS_LOSS);
    }
    format.trace(input, statistics);
}

void info(const InfoOptions& options, Session& session) {
    TextOutput output(session, inputPaths(options.inputs));
    const std::unique_ptr<InfoFormat> format = options.makeFormat(output);
    forEachInput(session, options.inputs, [&](Input& input) { examine(input, *format, session); });
    format->finish();
    output.flush();
}

constexpr char INFO_DETAILS[] =
    "First the totals of a trace: records, bytes, the time from the earliest to the latest record, "
    "steps of time backwards, and damage. Then for every identifier its records, their bytes and "
    "the share of these in the trace, the mean rate from its earliest to its latest record, the "
    "largest pause between two of them, and its rate over the time of the trace, as a line of "
    "blocks. The blocks are relative to the identifier's own highest rate; a blank is a time "
    "without any.\n"
    "Exit status 3 says that there are bytes that are no record, or records that their message "
    "class refused.";

}  // namespace

void addInfo(CLI::App& program, Session& session) {
    const auto options = std::make_shared<InfoOptions>();
    CLI::App& verb = addVerb(program, session, "info", "Sum up a trace by message identifier",
                             [options, &session] { info(*options, session); });
    verb.footer(INFO_DETAILS);
    addInputs(verb, options->inputs);
    addSizeRule(verb, options->inputs);
    addChoice<makeInfoFormat_t>(verb, "--format", options->makeFormat,
                                {{"text", makeInfoText}, {"json", makeInfoJson}},
                                "Text, or one JSON document (schema vektrace.info/1).");
}

}  // namespace vek::program
