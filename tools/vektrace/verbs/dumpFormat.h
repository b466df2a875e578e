/// @file
/// How a dump looks: one class per --format.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "tools/vektrace/program/decode.h"
#include "tools/vektrace/program/inputs.h"
#include "tools/vektrace/program/losses.h"
#include "tools/vektrace/program/output.h"
#include "tools/vektrace/program/timeText.h"

namespace vek::program {

struct DumpLook {
    bool hex = false;  ///< the payload too
    timeStyle_t times = TIMES_UTC;
    unsigned precision = MAX_PRECISION;
    bool severalInputs = false;
};

class DumpFormat {
public:
    virtual ~DumpFormat() = default;

    /// The records and gaps from now on are this trace's.
    virtual void open(const Input& input) = 0;
    virtual void record(const TraceSpan& span, const Decoded& decoded) = 0;
    virtual void gap(const Gap& gap) = 0;
};

/// Each writes to `output`, which outlives it.
std::unique_ptr<DumpFormat> makeDumpText(TextOutput& output, const DumpLook& look);
std::unique_ptr<DumpFormat> makeDumpJson(TextOutput& output, const DumpLook& look);
std::unique_ptr<DumpFormat> makeDumpCsv(TextOutput& output, const DumpLook& look);

/// "done", "unregistered" or "refused".
const char* decodingWord(decoding_t decoding);

inline const uint8_t* payloadOf(const TraceSpan& record) {
    return record.record() + MessageBase::MO_BASE_DERIVED;
}
inline size_t payloadLength(const TraceSpan& record) {
    return record.recordLength() - MessageBase::MO_BASE_DERIVED;
}

}  // namespace vek::program
