#include <sys/resource.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "tools/vektrace/copying/RecordOutput.h"
#include "tools/vektrace/copying/TimeMerge.h"
#include "tools/vektrace/copying/conclusion.h"
#include "tools/vektrace/program/losses.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

struct MergeOptions {
    InputOptions inputs;
    OutputOptions output;
};

/// Raises the limit as far as the process may. All traces are open at once.
void makeRoomForFiles(size_t count) {
    constexpr rlim_t OTHERS = 16;  // standard streams, the output and what the libraries need
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= count + OTHERS) {
        return;
    }
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, count + OTHERS);
    if (limit.rlim_cur < count + OTHERS || setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        throw Failure("merge", countText(count, "trace") + " are too many to be open at once, " +
                                   std::to_string(limit.rlim_max) +
                                   " files are the limit (ulimit -n); merge some of them first");
    }
}

class Merge {
public:
    Merge(const MergeOptions& options, Session& _session)
        : session(_session),
          paths(inputPaths(options.inputs)),
          output(session, options.output, paths),
          records(output, RecordOutput::SCAN_UNMARKED, options.inputs.framing),
          progress(session, totalSize(paths)) {
        makeRoomForFiles(paths.size());
        for (const std::string& path : paths) {
            open(path, options.inputs);
        }
    }

    void run() {
        TimeMerge merge(sources());
        const bool marked = anyMarked();
        for (TraceSpan record; merge.next(record);) {
            if (marked) {
                records.writeMarked(record);
            } else {
                records.write(record, traces[merge.source()].input->name());
            }
        }
        report(merge);
        if (!records.readsAsWritten()) {
            session.loss(failureText(output.displayName(), UNREADABLE));
        }
        conclude(session, output, inputs);
    }

private:
    struct Trace {
        std::unique_ptr<Input> input;
        GapTotals gaps;
        bool hasRecords = false;
    };

    void open(const std::string& path, const InputOptions& options) {
        try {
            traces.push_back(
                {std::make_unique<Input>(session, path, options, &progress), {}, false});
        } catch (const Failure& e) {
            session.error(e.what());
        }
    }

    std::vector<TimeMerge::source_t> sources() {
        std::vector<TimeMerge::source_t> result;
        for (Trace& trace : traces) {
            result.emplace_back([&trace](TraceSpan& record) { return nextRecord(trace, record); });
        }
        return result;
    }

    static bool nextRecord(Trace& trace, TraceSpan& record) {
        while (trace.input->next(record)) {
            if (record.isRecord()) {
                trace.hasRecords = true;
                return true;
            }
            trace.gaps.add(record);
        }
        return false;
    }

    /// Asked once the first record of each trace is there, or none will be.
    bool anyMarked() const {
        return std::any_of(traces.begin(), traces.end(), [](const Trace& trace) {
            return trace.hasRecords && trace.input->framing() == FRAMING_MARKED;
        });
    }

    void report(const TimeMerge& merge) {
        for (size_t i = 0; i < traces.size(); ++i) {
            const Input& input = *traces[i].input;
            inputs.add(input);
            reportGaps(session, input, traces[i].gaps, "dropped");
            if (merge.stepsBack(i) > 0) {
                session.note(failureText(input.name(), "its times step back " +
                                                           countText(merge.stepsBack(i), "time") +
                                                           ", and it was merged as it comes"));
            }
        }
    }

    Session& session;
    const std::vector<std::string> paths;
    Output output;
    RecordOutput records;
    Progress progress;
    std::vector<Trace> traces;
    InputTally inputs;
};

constexpr char MERGE_DETAILS[] =
    "Of the records that come next in each input the earliest is copied, and of those of one "
    "time the one of the input that was named first. So nothing changes its place within an "
    "input; one whose times step back is merged as it comes, and reported.\n"
    "Records are copied byte for byte. Where some inputs have sync markers and others have "
    "none, the records of these get one in front. Bytes that are no record are dropped and "
    "reported, and the status is 3.\n"
    "All inputs are open at once, and each needs about 1 MiB of memory.";

}  // namespace

void addMerge(CLI::App& program, Session& session) {
    const auto options = std::make_shared<MergeOptions>();
    CLI::App& verb = addVerb(program, session, "merge", "Put several traces into one, by time",
                             [options, &session] { Merge(*options, session).run(); });
    verb.footer(MERGE_DETAILS);
    addInputs(verb, options->inputs);
    addSizeRule(verb, options->inputs);
    addOutput(verb, options->output);
}

}  // namespace vek::program
