#include "tools/vektrace/copying/conclusion.h"

namespace vek::program {

void InputTally::add(const Input& input) {
    opened.push_back(input.path());
    failed = failed || input.failed();
}

void reportGaps(Session& session, const Input& input, const GapTotals& gaps,
                const std::string& whatBecame) {
    if (gaps.all.gaps > 0) {
        session.loss(failureText(input.name(), gapText(gaps) + ' ' + whatBecame));
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
