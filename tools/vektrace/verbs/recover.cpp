#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/vektrace/copying/Ledger.h"
#include "tools/vektrace/copying/RecordOutput.h"
#include "tools/vektrace/copying/conclusion.h"
#include "tools/vektrace/program/inputs.h"
#include "tools/vektrace/program/losses.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

enum ledgerFormat_t : int { LEDGER_TEXT = 0, LEDGER_JSON = 1 };

struct RecoverOptions {
    RecoverOptions() { inputs.rule = RULE_PREFER_CHAIN; }

    InputOptions inputs;
    OutputOptions output;
    std::optional<std::string> ledger;
    ledgerFormat_t ledgerFormat = LEDGER_TEXT;
};

/// The ledger as the user wants it, if at all.
class LedgerFile {
public:
    LedgerFile(Session& session, const RecoverOptions& options,
               const std::vector<std::string>& inputs)
        : format(options.ledgerFormat),
          output(openLedger(session, options.ledger, options.output, inputs)) {}

    template <class Item>
    void write(const Item& item) {
        if (output != nullptr) {
            const std::string line = format == LEDGER_JSON ? ledgerJson(item) : ledgerText(item);
            output->write(reinterpret_cast<const uint8_t*>(line.data()), line.size());
        }
    }

    /// Null where none is wanted.
    Output* get() const { return output.get(); }

private:
    ledgerFormat_t format;
    std::unique_ptr<Output> output;
};

class Recovery {
public:
    Recovery(const RecoverOptions& _options, Session& _session)
        : options(_options),
          session(_session),
          paths(inputPaths(options.inputs)),
          ledgerFile(session, options, paths),
          output(session, options.output, paths),
          records(output, output.isFile() ? RecordOutput::SCAN_LATER : RecordOutput::SCAN_ALL,
                  options.inputs.framing) {}

    void run() {
        forEachInput(session, options.inputs, [this](Input& input) { read(input); });
        if (session.stopped()) {
            throw Interrupted();
        }
        ledgerFile.write(totals);
        if (session.status() == STATUS_FAILED && records.records() == 0) {
            session.note(
                failureText(output.displayName(), "not written, as nothing could be read"));
            return;
        }
        verify();
        commitWithLedger(session, ledgerFile.get(), output);
    }

private:
    void read(Input& input) {
        Ledger ledger(input.path(), [this](const LedgerEntry& entry) { ledgerFile.write(entry); });
        for (TraceSpan span; input.next(span);) {
            ledger.add(span);
            if (span.isRecord()) {
                records.write(span, input.name());
            }
        }
        ledger.finish(input.failed());
        if (session.stopped()) {
            throw Interrupted();
        }
        report(input.name(), ledger.totals());
        totals += ledger.totals();
    }

    void report(const std::string& input, const LedgerTotals& sum) {
        std::string text = countText(sum.records, "record") + ", " +
                           countText(sum.recordBytes, "byte") + " recovered; ";
        if (sum.ambiguities > 0) {
            text += std::to_string(sum.ambiguities) + " ambiguous; ";
        }
        if (sum.dropped.all.gaps > 0) {
            session.loss(failureText(input, text + gapText(sum.dropped) + " dropped"));
        } else {
            session.note(failureText(input, text + "nothing dropped"));
        }
    }

    void verify() {
        const bool same = output.isFile() ? isOnStorage() : records.readsAsWritten();
        if (session.stopped()) {
            throw Interrupted();
        }
        if (!same) {
            throw Failure(output.displayName(), "does not read as the records that were written");
        }
    }

    /// Reads the file, which has no name yet.
    bool isOnStorage() {
        TraceReaderOptions readerOptions;
        readerOptions.framing = options.inputs.framing;
        readerOptions.stop = session.stopFlag();
        TraceReader reader(output.readBack(), readerOptions);
        RecordDigest found;
        bool good = true;
        try {
            for (TraceSpan span; reader.next(span);) {
                good = addRecord(found, span) && good;
            }
        } catch (const TraceException& e) {
            throw Failure(output.displayName(), e.offset(), e.what());
        }
        return good && found == records.written();
    }

    const RecoverOptions& options;
    Session& session;
    const std::vector<std::string> paths;
    LedgerFile ledgerFile;
    Output output;
    RecordOutput records;
    LedgerTotals totals;
};

constexpr char RECOVER_DETAILS[] =
    "Writes the good records of damaged traces one after the other, byte for byte, and nothing "
    "else; what is dropped is counted on standard error and listed in the ledger. Where whole "
    "records fill another one exactly, or eight in a row lie inside of it, these are taken and not "
    "it, unless --trust-sizes says otherwise. What can be read of an input that cannot be read to "
    "its end is recovered too; the status is 1 then.\n"
    "Before the output gets its name it is read again, and must give the same records: their "
    "number, their bytes and a checksum. Where it does not, the status is 1 and there is no "
    "output.\n"
    "The ledger gets its name before the output does, so that the output is never there without "
    "it.\n"
    "The ledger as JSON lines (schema vektrace.ledger/1) has an object for each stretch that was "
    "dropped, for each record that can be read in two ways, and one with the totals at the end.";

}  // namespace

void addRecover(CLI::App& program, Session& session) {
    const auto options = std::make_shared<RecoverOptions>();
    CLI::App& verb = addVerb(program, session, "recover", "Copy what is good of damaged traces",
                             [options, &session] { Recovery(*options, session).run(); });
    verb.footer(RECOVER_DETAILS);
    addInputs(verb, options->inputs);
    addOutput(verb, options->output);
    verb.add_flag_callback(
        "--trust-sizes", [options] { options->inputs.rule = RULE_TRUST_SIZES; },
        "Take a record for a record also where whole records fill it exactly, or eight in a row "
        "lie inside of it.");
    verb.add_option("--ledger", options->ledger,
                    "List in this file what was dropped; - is standard output.")
        ->type_name("FILE");
    addChoice<ledgerFormat_t>(verb, "--ledger-format", options->ledgerFormat,
                              {{"text", LEDGER_TEXT}, {"json", LEDGER_JSON}},
                              "Lines of text, or one JSON object per line.");
}

}  // namespace vek::program
