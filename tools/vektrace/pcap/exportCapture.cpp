#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tools/vektrace/copying/OneFraming.h"
#include "tools/vektrace/copying/conclusion.h"
#include "tools/vektrace/pcap/PcapWriter.h"
#include "tools/vektrace/pcap/conversion.h"
#include "tools/vektrace/program/losses.h"
#include "tools/vektrace/program/timeText.h"

namespace vek::program {

namespace {

/// Writes the record, the `number`th of its trace.
void writeRecord(PcapWriter& capture, const Input& input, const TraceSpan& span, uint64_t number) {
    const timeStamp_t time = MessageBase::getTimeStamp(span.record());
    if (!PcapWriter::canHold(time)) {
        throw Failure(input.name(), span.offset,
                      fmt::format("record {}: its time, {}, is later than a capture can tell",
                                  number, rfc3339(time)));
    }
    capture.write(time, span.data, span.length);
}

void exportInput(PcapWriter& capture, OneFraming& framing, Input& input, Session& session) {
    GapCollector gaps([&](const Gap& gap) {
        session.loss(failureText(input.name(), gap.offset,
                                 fmt::format("{} left out: {}", countText(gap.length, "byte"),
                                             gapReasonText(gap.reason))));
    });
    TraceSpan span;
    for (uint64_t number = 0; input.next(span);) {
        if (!gaps.add(span)) {
            framing.check(span, input.name());
            writeRecord(capture, input, span, ++number);
        }
    }
    gaps.finish();
}

}  // namespace

void exportCapture(const InputOptions& inputs, const OutputOptions& options, Session& session) {
    const std::vector<std::string> paths = inputPaths(inputs);
    Output output(session, options, paths);
    PcapWriter capture(output);
    OneFraming framing;  // for a capture is read as one trace
    InputTally opened;
    forEachInput(session, inputs, [&](Input& input) {
        exportInput(capture, framing, input, session);
        opened.add(input);
    });
    capture.flush();
    conclude(session, output, opened);
}

}  // namespace vek::program
