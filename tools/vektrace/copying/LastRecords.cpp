#include "tools/vektrace/copying/LastRecords.h"

#include <cstdint>

namespace vek::program {

bool LastRecords::add(const TraceSpan& record) {
    ++addedCount;
    if (overflow) {
        return false;
    }
    bytes.insert(bytes.end(), record.data, record.data + record.length);
    records.push_back({static_cast<uint32_t>(record.length), record.marked});
    if (records.size() > count) {
        forgetFirst();
    }
    overflow = bytes.size() - begin > room;
    if (overflow) {
        bytes = byteVec_t();
        records.clear();
    }
    return !overflow;
}

void LastRecords::forEach(const std::function<void(const TraceSpan&)>& take) const {
    TraceSpan span;
    span.data = bytes.data() + begin;
    for (const Record& record : records) {
        span.length = record.length;
        span.marked = record.marked;
        take(span);
        span.data += span.length;
    }
}

// The bytes are moved only when at least as many are forgotten as are left.
void LastRecords::forgetFirst() {
    begin += records.front().length;
    records.pop_front();
    if (begin >= bytes.size() - begin) {
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<byteVec_t::difference_type>(begin));
        begin = 0;
    }
}

}  // namespace vek::program
