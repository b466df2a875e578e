#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/dumpFormat.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

const char* decodingWord(decoding_t decoding) {
    switch (decoding) {
        case DECODING_DONE:
            return "done";
        case DECODING_UNREGISTERED:
            return "unregistered";
        default:
            return "refused";
    }
}

namespace {

using makeDumpFormat_t = std::unique_ptr<DumpFormat> (*)(TextOutput&, const DumpLook&);

struct DumpOptions {
    InputOptions inputs;
    makeDumpFormat_t makeFormat = makeDumpText;
    DumpLook look;
};

void checkOptions(const DumpOptions& options) {
    if (options.inputs.follow && inputPaths(options.inputs).size() != 1) {
        throw UsageError("--follow takes one input");
    }
    const bool ownTimes =
        options.look.times != TIMES_UTC || options.look.precision != MAX_PRECISION;
    if (ownTimes && options.makeFormat != makeDumpText) {
        throw UsageError(
            "--time and --precision are for text; jsonl and csv always tell all of the time");
    }
}

void dumpTrace(Input& input, DumpFormat& format, const std::function<void()>& lineDone,
               Session& session) {
    Losses losses;
    GapCollector gaps([&](const Gap& gap) {
        losses.gaps.add(gap);
        format.gap(gap);
    });
    format.open(input);
    TraceSpan span;
    while (input.next(span)) {
        if (!gaps.add(span)) {
            const Decoded decoded = decode(span);
            losses.refused += decoded.decoding == DECODING_REFUSED ? 1U : 0U;
            format.record(span, decoded);
            lineDone();
        }
    }
    gaps.finish();
    if (losses.any()) {
        session.loss(failureText(input.name(), losses.text()));
    }
}

void dump(const DumpOptions& options, Session& session) {
    checkOptions(options);
    const std::vector<std::string> paths = inputPaths(options.inputs);
    TextOutput output(session, paths);
    DumpLook look = options.look;
    look.severalInputs = paths.size() > 1;
    const std::unique_ptr<DumpFormat> format = options.makeFormat(output, look);
    const auto lineDone = [&] {
        if (options.inputs.follow) {
            output.flush();
        }
    };
    forEachInput(session, options.inputs,
                 [&](Input& input) { dumpTrace(input, *format, lineDone, session); });
    output.flush();
}

constexpr char DUMP_DETAILS[] =
    "A record is shown by the text that its message class gives. Where no class is registered for "
    "its identifier, or the class refuses the record, the text says so and shows the payload. "
    "Bytes that are no record are lines of their own, which begin with two hyphens.\n"
    "The library's own text of a time has 32 bits of seconds: from 2106 on it begins at 1970 "
    "again. With another --time or --precision than the default, and in jsonl and csv, all of the "
    "time is shown.\n"
    "Control bytes and bytes beyond ASCII are shown as \\x and two digits.\n"
    "Exit status 3 says that there were bytes that are no record, or records that their class "
    "refused. An identifier without a class is no loss.";

}  // namespace

void addDump(CLI::App& program, Session& session) {
    const auto options = std::make_shared<DumpOptions>();
    CLI::App& verb = addVerb(program, session, "dump", "Print one line per record",
                             [options, &session] { dump(*options, session); });
    verb.footer(DUMP_DETAILS);
    addInputs(verb, options->inputs);
    addSizeRule(verb, options->inputs);
    addChoice<makeDumpFormat_t>(
        verb, "--format", options->makeFormat,
        {{"text", makeDumpText}, {"jsonl", makeDumpJson}, {"csv", makeDumpCsv}},
        "Lines of text, JSON objects (schema vektrace.dump/1), or rows of comma-separated values.");
    verb.add_flag("--hex", options->look.hex,
                  "Show the payload's bytes too, and the first ones of a gap.");
    verb.add_flag("--follow", options->inputs.follow,
                  "At the end wait for more, until interrupted.");
    addChoice<timeStyle_t>(verb, "--time", options->look.times,
                           {{"utc", TIMES_UTC},
                            {"local", TIMES_LOCAL},
                            {"epoch", TIMES_EPOCH},
                            {"relative", TIMES_RELATIVE},
                            {"delta", TIMES_DELTA}},
                           "Times in UTC, in local time, as seconds since 1970, since the trace's "
                           "first record, or since the record before.");
    verb.add_option("--precision", options->look.precision,
                    "Decimal places of the seconds, 0 to 6; the others are cut off.")
        ->check(CLI::Range(0U, MAX_PRECISION).description(""))
        ->type_name("DIGITS")
        ->default_str("6");
}

}  // namespace vek::program
