#include "tools/vektrace/copying/Selection.h"

#include "tools/vektrace/program/decode.h"

namespace vek::program {

bool Selection::wants(const TraceSpan& record) const {
    return identifiers.test(identifierOf(record)) && wantsTime(timeOf(record)) &&
           (!undecodable || decode(record).decoding != DECODING_DONE);
}

bool Selection::wantsTime(timeStamp_t time) const {
    return (!from || time >= *from) && (!to || time < *to);
}

}  // namespace vek::program
