#include "tools/vektrace/copying/conclusion.h"

#include "tools/vektrace/program/errors.h"

namespace vek::program {

void InputTally::add(const std::string& path, bool inputFailed) {
    opened.push_back(path);
    failed = failed || inputFailed;
}

void reportGaps(Session& session, const Input& input, const GapTotals& gaps,
                const std::string& whatBecame) {
    if (gaps.all.gaps > 0) {
        session.loss(failureText(input.name(), gapText(gaps) + ' ' + whatBecame));
    }
}

std::unique_ptr<Output> openLedger(Session& session, const std::optional<std::string>& path,
                                   const OutputOptions& output,
                                   const std::vector<std::string>& inputs) {
    if (!path) {
        return nullptr;
    }
    if (isSameTarget(*path, output.path)) {
        throw UsageError("--output and --ledger are the same");
    }
    const OutputOptions ledger = {*path, output.force || *path == "-", true};
    return std::make_unique<Output>(session, ledger, inputs);
}

void commitWithLedger(Session& session, Output* ledger, Output& output) {
    if (ledger == nullptr) {
        output.commit();
        return;
    }
    ledger->commit();
    try {
        output.commit();
    } catch (...) {
        session.note(failureText(ledger->displayName(),
                                 "is whole, but " + output.displayName() + " is not written"));
        throw;
    }
}

void conclude(Session& session, Output& output, const InputTally& inputs) {
    if (inputs.isWhole() || session.stopped()) {
        output.commit();
        return;
    }
    output.flush();
    if (output.isFile()) {
        session.note(
            failureText(output.displayName(), "not written, as an input could not be read"));
    }
}

}  // namespace vek::program
