#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "tools/vektrace/copying/quantity.h"
#include "tools/vektrace/making/Drive.h"
#include "tools/vektrace/program/Progress.h"
#include "tools/vektrace/program/number.h"
#include "tools/vektrace/program/output.h"
#include "tools/vektrace/program/parseTime.h"
#include "tools/vektrace/program/timeUnits.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

constexpr size_t SAMPLE_PIECE = 0x10000;

constexpr char START[] = "2026-01-01T08:00:00Z";
constexpr uint64_t LENGTH = 60 * MICROSECONDS_PER_SECOND;

struct SampleOptions {
    DrivePlan plan;
    OutputOptions output;
};

timeStamp_t parseStart(const std::string& text) {
    const TimeBound bound = parseTime(text);
    if (bound.fromFirst) {
        throw UsageError(fmt::format("'{}' is no time of day: there is no record before", text));
    }
    return bound.microseconds;
}

DrivePlan completed(DrivePlan plan) {
    if (plan.size == 0 && plan.length == 0) {
        plan.length = LENGTH;
    }
    if (plan.size < Drive::MIN_SIZE && plan.length < Drive::MIN_LENGTH) {
        throw UsageError("a drive lasts at least 1 s, and has at least 1024 bytes");
    }
    if (plan.start > Drive::MAX_START || plan.length > Drive::MAX_LENGTH) {
        throw UsageError("a drive that ends later than a trace can tell");
    }
    return plan;
}

void sample(const SampleOptions& options, Session& session) {
    const DrivePlan plan = completed(options.plan);
    Drive drive(plan);
    Output output(session, options.output, {});
    Progress progress(session, plan.size);
    byteVec_t bytes;
    while (drive.next(bytes)) {
        if (bytes.size() >= SAMPLE_PIECE) {
            output.write(bytes.data(), bytes.size());
            progress.advance(bytes.size());
            bytes.clear();
            if (session.stopped()) {
                throw Interrupted();
            }
        }
    }
    output.write(bytes.data(), bytes.size());
    output.commit();
}

}  // namespace

void addSample(CLI::App& program, Session& session) {
    const auto options = std::make_shared<SampleOptions>();
    CLI::App& verb = addVerb(program, session, "sample", "Make up the trace of a drive",
                             [options, &session] { sample(*options, session); });
    DrivePlan& plan = options->plan;
    plan.start = parseStart(START);
    addParsed(verb, "--seed", "NUMBER",
              "Another number makes another drive, the same one always the same bytes.",
              [&plan](const std::string& text) { plan.seed = parseNumber(text); })
        ->default_str("1");
    CLI::Option* const length = addParsed(
        verb, "--length", "DURATION",
        "How long the drive lasts, 1s or more: 1500ms, 90s, 2m, 1.5h. Without a size it is 60s.",
        [&plan](const std::string& text) { plan.length = parseDuration(text); });
    addParsed(verb, "--size", "SIZE",
              "Instead of a length: exactly so many bytes, 1024 or more, also as 64k, 1.5M, 5G. A "
              "PADDING record makes up for what is left.",
              [&plan](const std::string& text) { plan.size = parseSize(text); })
        ->excludes(length);
    addParsed(verb, "--start", "TIME", "When the drive begins.", [&plan](const std::string& text) {
        plan.start = parseStart(text);
    })->default_str(START);
    verb.add_flag_callback(
        "--unmarked", [&plan] { plan.marked = false; }, "No sync markers in front of the records.");
    addOutput(verb, options->output);
    verb.footer(
        "The drive begins with STARTUP and ends with SHUTDOWN. Between them there is cyclic bus "
        "traffic with jitter, bursts of Ethernet frames, and what sensors and the logger itself "
        "send. Once the clock is set back, which a TIMEJUMP record tells, and one record, a "
        "TRIGGERCLEAR, cannot be decoded by anybody.\n"
        "Payloads are opaque bytes of plausible lengths, since their layouts are not part of the "
        "trace format. Those of Ethernet records are laid out for the Ethernet plugin among the "
        "examples.");
}

}  // namespace vek::program
