#include "tools/vektrace/copying/OneFraming.h"

#include "tools/vektrace/program/errors.h"

namespace vek::program {

void OneFraming::check(const TraceSpan& record, const std::string& input) {
    if (!marked) {
        marked = record.marked;
    }
    if (*marked != record.marked) {
        throw Failure(input, record.offset,
                      record.marked ? "has sync markers and the inputs before have none"
                                    : "has no sync markers and the inputs before have some");
    }
}

}  // namespace vek::program
