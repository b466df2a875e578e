#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tools/vektrace/copying/conclusion.h"
#include "tools/vektrace/copying/quantity.h"
#include "tools/vektrace/making/Damager.h"
#include "tools/vektrace/making/Share.h"
#include "tools/vektrace/making/SizedInput.h"
#include "tools/vektrace/program/Progress.h"
#include "tools/vektrace/program/inputs.h"
#include "tools/vektrace/program/json.h"
#include "tools/vektrace/program/losses.h"
#include "tools/vektrace/program/number.h"
#include "tools/vektrace/program/output.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

struct DamageOptions {
    InputOptions input;
    OutputOptions output;
    std::optional<std::string> ledger;
    Share changes;
    DamagePlan plan;
};

// ---- What was done -----------------------------------------------------------------------------

/// Tells what is done, as far as it is not too much to be read, and counts all of it.
class Account {
public:
    Account(Session& _session, std::string _name) : session(_session), name(std::move(_name)) {}

    void add(const DamageDone& done);
    void finish();

    bool quiet = false;  ///< only the sum is told

private:
    /// More lines than that are of no use to a reader.
    static constexpr uint64_t MAX_LINES = 50;

    Session& session;
    const std::string name;
    uint64_t bytes[DAMAGE_ZERO + 1] = {};  ///< by kind
    uint64_t told = 0;
    uint64_t untold = 0;
};

/// "5 bytes cut out".
std::string describe(damage_t kind, uint64_t bytes) {
    static constexpr const char* WHAT[] = {"changed", "cut out", "put in", "zeroed"};
    return fmt::format("{} {}", countText(bytes, "byte"), WHAT[kind]);
}

std::string describe(const DamageDone& done) {
    return done.kind == DAMAGE_CHANGE
               ? fmt::format("changed from 0x{:02x} to 0x{:02x}", done.before, done.after)
               : describe(done.kind, done.length);
}

void Account::add(const DamageDone& done) {
    bytes[done.kind] += done.length;
    if (quiet || told == MAX_LINES) {
        ++untold;
    } else {
        ++told;
        session.note(failureText(name, done.inputOffset, describe(done)));
    }
}

void Account::finish() {
    if (untold != 0 && !quiet) {
        session.note(fmt::format("{}: and {} more, all of which --ledger lists", name, untold));
    }
    std::string text;
    for (const damage_t kind : {DAMAGE_CHANGE, DAMAGE_CUT, DAMAGE_INSERT, DAMAGE_ZERO}) {
        if (bytes[kind] != 0) {
            text += (text.empty() ? "" : ", ") + describe(kind, bytes[kind]);
        }
    }
    session.note(failureText(name, text.empty() ? "copied as it is" : text));
}

void writeLedgerLine(Output& ledger, const DamageDone& done) {
    rapidjson::StringBuffer text;
    jsonLine_t line(text);
    line.StartObject();
    addMember(line, "schema", schemaName("damage"));
    addMember(line, "kind", damageName(done.kind));
    addMember(line, "offset", done.inputOffset);
    addMember(line, "output_offset", done.outputOffset);
    addMember(line, "length", done.length);
    if (done.kind == DAMAGE_CHANGE) {
        addMember(line, "before", uint64_t{done.before});
        addMember(line, "after", uint64_t{done.after});
    }
    line.EndObject();
    text.Put('\n');
    ledger.write(reinterpret_cast<const uint8_t*>(text.GetString()), text.GetSize());
}

// ---- The work ----------------------------------------------------------------------------------

DamagePlan planFor(const SizedInput& input, const DamageOptions& options) {
    DamagePlan plan = options.plan;
    plan.changes = options.changes.of(input.size());
    if (!plan.fits(input.size())) {
        throw Failure(
            inputName(inputPaths(options.input).front()),
            fmt::format("it has {}, too few for so much damage", countText(input.size(), "byte")));
    }
    return plan;
}

void damageAll(SizedInput& input, Damager& damager, Session& session) {
    Progress progress(session, input.size());
    byteVec_t piece;
    while (input.read(piece)) {
        damager.take(piece.data(), piece.size());
        progress.advance(piece.size());
        if (session.stopped()) {
            throw Interrupted();
        }
    }
}

void damage(const DamageOptions& options, Session& session) {
    const std::string path = inputPaths(options.input).front();
    SizedInput input(session, path);
    const DamagePlan plan = planFor(input, options);
    Output output(session, options.output, {path});
    const std::unique_ptr<Output> ledger =
        openLedger(session, options.ledger, options.output, {path});
    Account account(session, inputName(path));
    account.quiet = ledger != nullptr;
    const auto write = [&](const uint8_t* bytes, size_t length) { output.write(bytes, length); };
    const auto observe = [&](const DamageDone& done) {
        account.add(done);
        if (ledger) {
            writeLedgerLine(*ledger, done);
        }
    };
    Damager damager(plan, input.size(), write, observe);
    damageAll(input, damager, session);
    commitWithLedger(session, ledger.get(), output);
    account.finish();
}

void addNumber(CLI::App& verb, const std::string& name, const std::string& type, uint64_t& number,
               const std::string& description) {
    addParsed(verb, name, type, description, [&number](const std::string& text) {
        number = parseNumber(text);
    })->default_str(std::to_string(number));
}

}  // namespace

void addDamage(CLI::App& program, Session& session) {
    const auto options = std::make_shared<DamageOptions>();
    CLI::App& verb = addVerb(program, session, "damage", "Make a damaged copy of a trace",
                             [options, &session] { damage(*options, session); });
    verb.add_option("FILE", options->input.paths,
                    "The file to copy; - is standard input, which is also read when none is named.")
        ->type_name("")
        ->expected(1);
    DamagePlan& plan = options->plan;
    addNumber(verb, "--seed", "NUMBER", plan.seed, "Another number does the damage elsewhere.");
    addParsed(verb, "--bytes", "COUNT",
              "Give so many bytes another value; also as a percentage: 0.01%.",
              [options](const std::string& text) { options->changes = Share(text); });
    addNumber(verb, "--cut", "COUNT", plan.cuts, "Cut out so many runs of bytes.");
    addNumber(verb, "--insert", "COUNT", plan.inserts, "Put in so many runs of random bytes.");
    addNumber(verb, "--zero", "COUNT", plan.zeros, "Zero so many runs of bytes.");
    addParsed(verb, "--run", "SIZE", "The most bytes of a run; also as 64k, 1M.",
              [&plan](const std::string& text) { plan.maxRun = parseSize(text); })
        ->default_str(std::to_string(plan.maxRun));
    verb.add_option("--ledger", options->ledger,
                    "Write what was done into this file, as JSON with one object per line.")
        ->type_name("FILE");
    addOutput(verb, options->output);
    verb.footer(
        "For trying out how damage is met. What is done depends on the seed, the counts and the "
        "input's length alone. The input may be anything: it is not read as a trace. What was done "
        "is told on standard error, with the offset in the input.");
}

}  // namespace vek::program
