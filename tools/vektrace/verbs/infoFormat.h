/// @file
/// How the totals of a trace look: one class per --format.
#pragma once

#include <memory>

#include "tools/vektrace/program/TraceStatistics.h"
#include "tools/vektrace/program/inputs.h"
#include "tools/vektrace/program/output.h"

namespace vek::program {

class InfoFormat {
public:
    virtual ~InfoFormat() = default;

    /// `input` has been read to its end.
    virtual void trace(const Input& input, const TraceStatistics& statistics) = 0;
    virtual void finish() {}
};

/// Each writes to `output`, which outlives it.
std::unique_ptr<InfoFormat> makeInfoText(TextOutput& output);
std::unique_ptr<InfoFormat> makeInfoJson(TextOutput& output);

/// "marked", "unmarked", or "unknown" where nothing tells.
const char* framingWord(framing_t framing);

}  // namespace vek::program
