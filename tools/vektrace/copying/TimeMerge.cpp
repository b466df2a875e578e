#include "tools/vektrace/copying/TimeMerge.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "tools/vektrace/program/decode.h"

namespace vek::program {

TimeMerge::TimeMerge(std::vector<source_t> _sources)
    : sources(std::move(_sources)), heads(sources.size()) {
    for (size_t source = 0; source < sources.size(); ++source) {
        advance(source);
    }
}

bool TimeMerge::next(TraceSpan& record) {
    if (current != NONE) {
        advance(std::exchange(current, NONE));
    }
    if (queue.empty()) {
        return false;
    }
    std::pop_heap(queue.begin(), queue.end(), [this](size_t a, size_t b) { return isLater(a, b); });
    current = queue.back();
    queue.pop_back();
    record = heads[current].record;
    return true;
}

void TimeMerge::advance(size_t source) {
    Head& head = heads[source];
    if (!sources[source](head.record)) {
        return;
    }
    const timeStamp_t before = std::exchange(head.time, timeOf(head.record));
    if (head.time < before) {
        ++head.stepsBack;
    }
    queue.push_back(source);
    std::push_heap(queue.begin(), queue.end(),
                   [this](size_t a, size_t b) { return isLater(a, b); });
}

bool TimeMerge::isLater(size_t a, size_t b) const {
    return heads[a].time != heads[b].time ? heads[a].time > heads[b].time : a > b;
}

}  // namespace vek::program
