#include "tools/vektrace/copying/RecordOutput.h"

#include <string>

namespace vek::program {

void RecordOutput::write(const TraceSpan& record, const std::string& input) {
    framing.check(record, input);
    ++recordCount;
    output.write(record);
    if (scanned == SCAN_LATER) {
        digest.add(record.data, record.length);
    } else if (scanned == SCAN_ALL || !record.marked) {
        scan.add(record.data, record.length);
    }
}

void RecordOutput::writeMarked(const TraceSpan& record) {
    TraceSpan written = record;
    if (!record.marked) {
        withMarker.resize(sizeof MessageBase::SYNC_MARKER);
        uint16ToByteArray(withMarker.data(), MessageBase::SYNC_MARKER);
        withMarker.insert(withMarker.end(), record.data, record.data + record.length);
        written.data = withMarker.data();
        written.length = withMarker.size();
        written.marked = true;
    }
    write(written, {});
}

}  // namespace vek::program
