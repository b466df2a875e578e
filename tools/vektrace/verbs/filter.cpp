#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "tools/vektrace/copying/LastRecords.h"
#include "tools/vektrace/copying/RecordOutput.h"
#include "tools/vektrace/copying/Selection.h"
#include "tools/vektrace/copying/conclusion.h"
#include "tools/vektrace/copying/quantity.h"
#include "tools/vektrace/program/decode.h"
#include "tools/vektrace/program/identifier.h"
#include "tools/vektrace/program/parseTime.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

struct FilterOptions {
    InputOptions inputs;
    OutputOptions output;
    std::vector<std::string> included;  ///< lists of identifiers, with commas between them
    std::vector<std::string> excluded;
    std::optional<TimeBound> from;
    std::optional<TimeBound> to;
    uint64_t first = 0;  ///< 0: all
    uint64_t last = 0;   ///< 0: all
    bool undecodable = false;

    bool isSet() const {
        return !included.empty() || !excluded.empty() || from || to || first > 0 || last > 0 ||
               undecodable;
    }
};

// ---- Without a condition -----------------------------------------------------------------------

void copyAll(const FilterOptions& options, Session& session) {
    Output output(session, options.output, inputPaths(options.inputs));
    InputTally inputs;
    forEachInput(session, options.inputs, [&](Input& input) {
        GapTotals gaps;
        for (TraceSpan span; input.next(span);) {
            output.write(span);
            if (!span.isRecord()) {
                gaps.add(span);
            }
        }
        inputs.add(input);
        reportGaps(session, input, gaps, "copied too");
    });
    conclude(session, output, inputs);
}

// ---- With conditions ---------------------------------------------------------------------------

/// The last records of files are kept while they are read, as long as there are few of them, and
/// else found by reading once more. What comes through a pipe is read only once.
constexpr size_t ROOM_BESIDE_FILES = size_t{4} << 20;
constexpr size_t ROOM_BESIDE_PIPES = size_t{64} << 20;

/// "CAN,0x8020"
void addIdentifiers(Selection::identifiers_t& identifiers, std::string_view list) {
    const size_t comma = std::min(list.find(','), list.size());
    identifiers.set(parseIdentifier(list.substr(0, comma)));
    if (comma < list.size()) {
        addIdentifiers(identifiers, list.substr(comma + 1));
    }
}

Selection::identifiers_t identifiersOf(const std::vector<std::string>& lists) {
    Selection::identifiers_t identifiers;
    for (const std::string& list : lists) {
        addIdentifiers(identifiers, list);
    }
    return identifiers;
}

/// Without the times, which may depend on the first record.
Selection selectionOf(const FilterOptions& options) {
    Selection selection;
    if (!options.included.empty()) {
        selection.identifiers = identifiersOf(options.included);
    }
    selection.identifiers &= ~identifiersOf(options.excluded);
    selection.undecodable = options.undecodable;
    return selection;
}

/// Where standard input stands when it is a file that can be read again from there.
std::optional<off_t> positionOfInput() {
    struct stat status = {};
    const off_t position = lseek(STDIN_FILENO, 0, SEEK_CUR);
    return fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode) && position != -1
               ? std::optional<off_t>(position)
               : std::nullopt;
}

bool areFiles(const std::vector<std::string>& paths) {
    return std::all_of(paths.begin(), paths.end(), [](const std::string& path) {
        std::error_code ignored;
        return path == "-" ? positionOfInput().has_value()
                           : std::filesystem::is_regular_file(path, ignored);
    });
}

class Filter {
public:
    Filter(const FilterOptions& _options, Session& _session)
        : options(_options),
          session(_session),
          selection(selectionOf(options)),
          paths(inputPaths(options.inputs)),
          output(session, options.output, paths),
          records(output, RecordOutput::SCAN_UNMARKED, options.inputs.framing),
          readTwice(areFiles(paths)),
          last(options.last, readTwice ? ROOM_BESIDE_FILES : ROOM_BESIDE_PIPES) {}

    void run() {
        forEachInput(
            session, options.inputs, [this](Input& input) { read(input); },
            [this] { return isDone(); });
        if (options.last > 0 && !session.stopped()) {
            writeLast();
        }
        if (!records.readsAsWritten()) {
            session.loss(failureText(output.displayName(), UNREADABLE));
        }
        conclude(session, output, inputs);
    }

private:
    void read(Input& input) {
        GapTotals gaps;
        for (TraceSpan span; !isDone() && input.next(span);) {
            if (span.isRecord()) {
                take(span, input.name());
            } else {
                gaps.add(span);
            }
        }
        inputs.add(input);
        reportGaps(session, input, gaps, "dropped");
    }

    bool isDone() const { return options.first > 0 && records.records() == options.first; }

    void take(const TraceSpan& record, const std::string& input) {
        if (!windowKnown) {
            windowKnown = true;
            setWindow(timeOf(record));
        }
        if (!selection.wants(record)) {
            return;
        }
        if (options.last == 0) {
            records.write(record, input);
        } else if (!last.add(record) && !readTwice) {
            throw Failure(input, record.offset,
                          "the last records have become too many to be kept; those of a file need "
                          "not be kept");
        }
    }

    void setWindow(timeStamp_t begin) {
        if (options.to) {
            selection.to = options.to->at(begin);
        }
        if (options.from) {
            selection.from = options.from->at(begin);
            if (!selection.from) {
                selection.to = 0;  // a window without any time
            }
        }
    }

    void writeLast() {
        if (last.isComplete()) {
            last.forEach([this](const TraceSpan& record) { records.write(record, "the inputs"); });
        } else {
            readLast();
        }
    }

    /// Reads again and leaves out as many as there are before the last ones.
    void readLast() {
        if (inputPosition) {
            // Where this fails there are too few records, which is told below.
            static_cast<void>(lseek(STDIN_FILENO, *inputPosition, SEEK_SET));
        }
        InputOptions again = options.inputs;
        again.paths = inputs.paths();
        const uint64_t wanted = std::min<uint64_t>(last.added(), options.last);
        uint64_t before = last.added() - wanted;
        forEachInput(session, again, [&](Input& input) {
            TraceSpan span;
            while (records.records() < wanted && input.next(span)) {
                if (!span.isRecord() || !selection.wants(span)) {
                    continue;
                }
                if (before > 0) {
                    --before;
                } else {
                    records.write(span, input.name());
                }
            }
        });
        if (records.records() != wanted && !session.stopped()) {
            throw Failure(output.displayName(),
                          "not written, as the inputs could not be read a second time");
        }
    }

    const FilterOptions& options;
    Session& session;
    Selection selection;
    const std::vector<std::string> paths;
    Output output;
    RecordOutput records;
    const bool readTwice;
    const std::optional<off_t> inputPosition = positionOfInput();
    LastRecords last;
    InputTally inputs;
    bool windowKnown = false;
};

void filter(const FilterOptions& options, Session& session) {
    if (options.isSet()) {
        Filter(options, session).run();
    } else {
        copyAll(options, session);
    }
}

// ---- Options -----------------------------------------------------------------------------------

void addBound(CLI::App& verb, const std::string& name, std::optional<TimeBound>& bound,
              const std::string& description) {
    addParsed(verb, name, "TIME", description,
              [&bound](const std::string& text) { bound = parseTime(text); });
}

CLI::Option* addCount(CLI::App& verb, const std::string& name, uint64_t& count,
                      const std::string& description) {
    return addParsed(verb, name, "N", description,
                     [&count](const std::string& text) { count = parseCount(text); });
}

constexpr char FILTER_DETAILS[] =
    "Records are copied byte for byte, and a record is copied when it meets every condition. "
    "Several inputs follow each other in the output. Without a condition the output is what the "
    "inputs are, damage included.\n"
    "With a condition only records are copied: bytes that are no record are dropped and "
    "reported, and the status is 3. Inputs with and without sync markers do not go into one "
    "output then.\n"
    "TIME is RFC 3339 text with six decimal places at most (2009-02-13T23:31:30Z; UTC where no "
    "zone is named), a date, @SECONDS since 1970, or +SECONDS from the first record of the first "
    "input.\n"
    "--last keeps up to 4 MiB of records while it reads files, and reads them a second time "
    "where that is not enough, also standard input where it is a file; of a pipe it keeps up to "
    "64 MiB, and is an error beyond.";

}  // namespace

void addFilter(CLI::App& program, Session& session) {
    const auto options = std::make_shared<FilterOptions>();
    CLI::App& verb = addVerb(program, session, "filter", "Copy the records that are wanted",
                             [options, &session] { filter(*options, session); });
    addInputs(verb, options->inputs);
    addSizeRule(verb, options->inputs);
    addOutput(verb, options->output);
    addList(verb, "--id", options->included, "ID,...",
            "Only records of these identifiers, names or numbers; may be given several times.");
    addList(verb, "--not-id", options->excluded, "ID,...",
            "No records of these identifiers; may be given several times.");
    addBound(verb, "--from", options->from, "Only records of this time and later.");
    addBound(verb, "--to", options->to, "Only records before this time.");
    verb.add_flag("--undecodable", options->undecodable,
                  "Only records that no message class decodes.");
    CLI::Option* const first =
        addCount(verb, "--first", options->first,
                 "Of these the first N; what follows is not read, and no further input opened.");
    addCount(verb, "--last", options->last, "Of these the last N.")->excludes(first);
    verb.footer(FILTER_DETAILS);
}

}  // namespace vek::program
