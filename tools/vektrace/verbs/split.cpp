#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "tools/vektrace/copying/PieceRule.h"
#include "tools/vektrace/copying/conclusion.h"
#include "tools/vektrace/copying/pieceNames.h"
#include "tools/vektrace/copying/quantity.h"
#include "tools/vektrace/program/losses.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

struct SplitOptions {
    InputOptions inputs;
    std::optional<std::string> prefix;
    uint64_t digits = 4;
    bool force = false;
    std::optional<PieceRule> rule;
    int rules = 0;  ///< how many the command line gives
};

/// It could lead to another piece.
void refuseLink(const std::string& piece) {
    std::error_code error;
    if (std::filesystem::is_symlink(piece, error)) {
        throw Failure(piece, "is a symbolic link, which no piece is written through");
    }
}

/// The pieces of one trace.
class Pieces {
public:
    Pieces(Session& _session, std::string _prefix, const SplitOptions& options,
           std::vector<std::string> _inputs)
        : session(_session),
          prefix(std::move(_prefix)),
          digits(options.digits),
          force(options.force),
          inputs(std::move(_inputs)) {}

    /// Finishes the piece before and begins one with the byte of the trace at `offset`.
    void begin(uint64_t offset) {
        finish();
        if (count == mostPieces(digits)) {
            throw Failure(nameOf(count), "is the last piece that " + countText(digits, "digit") +
                                             " can number, and ends before byte " +
                                             std::to_string(offset) + "; --digits gives room");
        }
        refuseLink(nameOf(count + 1));  // also where the folder could not be listed before
        output = std::make_unique<Output>(session, OutputOptions{nameOf(count + 1), force}, inputs);
        beginning = offset;
    }
    void write(const TraceSpan& span) {
        output->write(span);
        if (!span.isRecord()) {
            gapsOfPiece.add(span);
        }
    }
    void finish() {
        if (output != nullptr) {
            output->commit();
            output.reset();
            ++count;
            gapsKept += std::exchange(gapsOfPiece, {});
        }
    }
    /// Drops the piece that is not finished, if there is one, and tells what there is without it.
    void abandon() {
        if (output != nullptr) {
            session.note(
                failureText(output->displayName(),
                            "not written, as an input could not be read; " + whatIsThere()));
            output.reset();
        }
    }

    /// The gaps, or parts of them, that are in finished pieces.
    const GapTotals& gaps() const { return gapsKept; }

    /// Tells of what was there before, was not replaced and is named like a piece.
    void reportLeftovers() const {
        const std::vector<std::string> found = existingPieces(prefix, digits);
        if (!found.empty() && found.front() == nameOf(0)) {
            session.note(failureText(found.front(), "is no piece, but in front of them"));
        }
        const auto behind = std::upper_bound(found.begin(), found.end(), nameOf(count));
        if (behind != found.end()) {
            session.note(failureText(*behind, "is a piece of an earlier run, as is what follows"));
        }
    }

private:
    std::string nameOf(uint64_t number) const { return pieceName(prefix, number, digits); }

    std::string whatIsThere() const {
        const std::string end = " what is before byte " + std::to_string(beginning);
        switch (count) {
            case 0:
                return "there is no piece";
            case 1:
                return nameOf(1) + " holds" + end;
            default:
                return nameOf(1) + " to " + nameOf(count) + " hold" + end;
        }
    }

    Session& session;
    const std::string prefix;
    const uint64_t digits;
    const bool force;
    const std::vector<std::string> inputs;
    std::unique_ptr<Output> output;
    uint64_t beginning = 0;  ///< where in the trace the piece begins that is not finished
    uint64_t count = 0;      ///< of the finished ones
    GapTotals gapsOfPiece;
    GapTotals gapsKept;
};

void splitTrace(Input& input, PieceRule rule, Pieces& pieces, Session& session) {
    for (TraceSpan span; input.next(span);) {
        if (rule.beginsPiece(span)) {
            pieces.begin(span.offset);
        }
        pieces.write(span);
    }
    if (!input.failed()) {
        pieces.finish();
    }
    reportGaps(session, input, pieces.gaps(), "kept in the pieces");
    pieces.abandon();
    pieces.reportLeftovers();
}

std::string prefixOf(const SplitOptions& options, const std::string& path) {
    return options.prefix ? *options.prefix : piecePrefix(path);
}

bool endsWithSlash(const std::string& path) { return !path.empty() && path.back() == '/'; }

void checkOptions(const SplitOptions& options, const std::vector<std::string>& paths) {
    if (options.rules != 1) {
        throw UsageError("give one of --size, --count and --time");
    }
    if (options.prefix && (*options.prefix == "-" || endsWithSlash(*options.prefix))) {
        throw UsageError("--output must name the pieces: it is what their names begin with");
    }
    if (options.prefix && paths.size() > 1) {
        throw UsageError("--output is for one input");
    }
    if (!options.prefix && std::count(paths.begin(), paths.end(), "-") > 0) {
        throw UsageError("--output must name the pieces of standard input");
    }
    std::map<pieceKey_t, std::string> inputs;
    for (const std::string& path : paths) {
        const auto [other, isNew] = inputs.emplace(pieceKey(prefixOf(options, path)), path);
        if (!isNew) {
            throw UsageError("the pieces of " + other->second + " and " + path +
                             " would be the same files");
        }
    }
    if (options.prefix && options.prefix->empty()) {
        throw Failure("", systemReason(ENOENT));  // as an output that other verbs cannot make
    }
}

void checkExisting(const SplitOptions& options, const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        const std::string prefix = prefixOf(options, path);
        const std::vector<std::string> others = piecesOfOtherDigits(prefix, options.digits);
        if (!others.empty()) {
            throw Failure(others.front(), "exists; pieces with " +
                                              countText(options.digits, "digit") +
                                              " would not be in order beside it");
        }
        for (const std::string& piece : existingPieces(prefix, options.digits)) {
            if (piece == pieceName(prefix, 0, options.digits)) {
                if (!options.force) {
                    throw Failure(piece,
                                  "exists in front of the pieces; --force lets it stay there");
                }
                continue;
            }
            refuseLink(piece);
            if (!options.force) {
                throw Failure(piece, "exists; --force replaces it");
            }
            for (const std::string& input : paths) {
                if (isSameFile(piece, input)) {
                    throw Failure(piece, "is also an input (" + inputName(input) + ")");
                }
            }
        }
    }
}

void split(const SplitOptions& options, Session& session) {
    const std::vector<std::string> paths = inputPaths(options.inputs);
    checkOptions(options, paths);
    checkExisting(options, paths);
    forEachInput(session, options.inputs, [&](Input& input) {
        Pieces pieces(session, prefixOf(options, input.path()), options, paths);
        splitTrace(input, *options.rule, pieces, session);
    });
}

uint64_t parseDigits(const std::string& text) {
    const uint64_t digits = parseCount(text);
    if (digits > MOST_DIGITS) {
        throw UsageError('\'' + text + "' is more than " + std::to_string(MOST_DIGITS));
    }
    return digits;
}

void addRule(CLI::App& verb, SplitOptions& options, const std::string& name,
             const std::string& type, PieceRule::measure_t measure,
             uint64_t (*parse)(std::string_view), const std::string& description) {
    addParsed(verb, name, type, description, [&options, measure, parse](const std::string& text) {
        options.rule.emplace(measure, parse(text));
        ++options.rules;
    });
}

constexpr char SPLIT_DETAILS[] =
    "The pieces are named PREFIX-0001.vkt and so on, and one behind the other, in the order of "
    "their names, they are the trace, byte for byte, compressed input as if it were not. More than "
    "9999 pieces need more --digits. No record is cut. Bytes that are no record stay where they "
    "are, in the piece of the record before them; only with --size they go where they have room.\n"
    "By time the trace is cut in steps from its first record's time, and a step without a "
    "record gives no piece. A record whose time is before its step stays where it is.\n"
    "A piece has its name only when it is whole. When the run ends early the pieces before "
    "stay.\n"
    "SIZE is a number of bytes, or with k, M or G behind it, which are powers of 1024. DURATION "
    "is a number with ms, s, m, h or d behind it.";

}  // namespace

void addSplit(CLI::App& program, Session& session) {
    const auto options = std::make_shared<SplitOptions>();
    CLI::App& verb = addVerb(program, session, "split", "Cut a trace into pieces",
                             [options, &session] { split(*options, session); });
    verb.footer(SPLIT_DETAILS);
    addInputs(verb, options->inputs);
    addRule(
        verb, *options, "--size", "SIZE", PieceRule::MEASURE_BYTES, parseSize,
        "Pieces of at most so many bytes; a record or a part of a gap that is longer is a piece of "
        "its own.");
    addRule(verb, *options, "--count", "N", PieceRule::MEASURE_RECORDS, parseCount,
            "Pieces of so many records.");
    addRule(verb, *options, "--time", "DURATION", PieceRule::MEASURE_TIME, parseDuration,
            "Pieces of so much time.");
    verb.add_option("-o,--output", options->prefix,
                    "What the names of the pieces begin with; otherwise the input's name without "
                    ".vkt, .gz and .zst.")
        ->type_name("PREFIX");
    addParsed(verb, "--digits", "N",
              "Number the pieces by so many digits, at most 18; more pieces than these can number "
              "are an error.",
              [options](const std::string& text) { options->digits = parseDigits(text); })
        ->default_str("4");
    verb.add_flag("-f,--force", options->force, "Replace pieces that exist.");
}

}  // namespace vek::program
