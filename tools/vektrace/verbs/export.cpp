#include <memory>

#include "tools/vektrace/pcap/conversion.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

struct ExportOptions {
    InputOptions inputs;
    OutputOptions output;
};

}  // namespace

void addExport(CLI::App& program, Session& session) {
    const auto options = std::make_shared<ExportOptions>();
    CLI::App& verb =
        addVerb(program, session, "export", "Make a capture in pcap format of a trace",
                [options, &session] { exportCapture(options->inputs, options->output, session); });
    addInputs(verb, options->inputs);
    addOutput(verb, options->output);
    verb.footer(
        "Every record becomes a packet of link type USER0 (147), with its sync marker if it has "
        "one, so that 'vektrace import' makes the same trace again. The packet has the record's "
        "time; a time beyond the 32 bits that a capture has for seconds (2106-02-07) is an error. "
        "Bytes that are no record are left out, and told.");
}

}  // namespace vek::program
