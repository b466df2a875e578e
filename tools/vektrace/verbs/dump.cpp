#include <streambuf>

#include "libvekstream/decodeRecord.h"
#include "tools/vektrace/program/escape.h"
#include "tools/vektrace/program/inputs.h"
#include "tools/vektrace/program/output.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

struct DumpOptions {
    InputOptions inputs;
};

void dump(const DumpOptions& options, Session& session) {
    TextOutput output(session, inputPaths(options.inputs));
    forEachInput(session, options.inputs, [&](Input& input) {
        TraceSpan span;
        std::string line;
        while (input.next(span)) {
            line.clear();
            if (const auto message = decodeRecord(span)) {
                appendEscaped(line, message->toString());
            } else {
                session.worsen(STATUS_LOSS);
                line = fmt::format("-- gap at byte {}: {} bytes, {}", span.offset, span.length,
                                   gapReasonText(span.reason));
            }
            output.write(line += '\n');
        }
    });
    output.flush();
}

}  // namespace

void addDump(CLI::App& program, Session& session) {
    const auto options = std::make_shared<DumpOptions>();
    CLI::App& verb = addVerb(program, session, "dump", "Print one line per record",
                             [options, &session] { dump(*options, session); });
    addInputs(verb, options->inputs);
}

}  // namespace vek::program
