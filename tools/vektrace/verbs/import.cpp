#include <memory>

#include "tools/vektrace/pcap/conversion.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

struct ImportOptions {
    InputOptions inputs;
    OutputOptions output;
};

}  // namespace

void addImport(CLI::App& program, Session& session) {
    const auto options = std::make_shared<ImportOptions>();
    CLI::App& verb =
        addVerb(program, session, "import", "Make a trace of a capture that 'export' made",
                [options, &session] { importCapture(options->inputs, options->output, session); });
    verb.add_option("FILE", options->inputs.paths,
                    "Captures to read; - is standard input, which is also read when none is named.")
        ->type_name("");
    addOutput(verb, options->output);
    verb.footer(
        "The packets must have the link type USER0 (147), and each must be one whole record. One "
        "that is not, or that was cut when it was captured, is left out, and told. Of a packet "
        "whose time is not its record's, the record is taken as it is.");
}

}  // namespace vek::program
