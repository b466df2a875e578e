#include "libvekstream/RecordScanner.h"

#include <algorithm>

#include "libvekstream/detail/ChainSearch.h"
#include "libvekstream/detail/framingRules.h"

namespace {

using vek::detail::ANSWER_NO;
using vek::detail::ANSWER_OPEN;
using vek::detail::answer_t;
using vek::detail::ANSWER_YES;
using vek::detail::MarkedRules;
using vek::detail::TraceBytes;
using vek::detail::UnmarkedRules;

}  // namespace

struct RecordScanner::State {
    State(framing_t _framing, sizeRule_t _rule) : framing(_framing), rule(_rule) {}

    MarkedRules marked() const { return {bytes, beliefs}; }
    UnmarkedRules unmarked() const { return {bytes, beliefs}; }

    bool next(TraceSpan& span) {
        if (bytes.isEnd(0) || (framing == FRAMING_DETECT && !detectFraming())) {
            return false;
        }
        if (gap != GAP_NONE) {
            return takeGap(span);
        }
        return framing == FRAMING_MARKED ? takeMarked(span) : takeUnmarked(span);
    }

    // ---- Detecting the framing -------------------------------------------------------------

    bool detectFraming() {
        const answer_t marker = bytes.marker(0);
        if (marker == ANSWER_OPEN) {
            return false;
        }
        const answer_t atOnce = marker == ANSWER_YES ? detectByMarker() : detectByHeader();
        return atOnce == ANSWER_OPEN ? false : atOnce == ANSWER_YES || detectFurtherOn();
    }

    answer_t decideFor(framing_t decision) {
        framing = decision;
        return ANSWER_YES;
    }

    answer_t detectByMarker() {
        const answer_t isMarked = followedWell(marked(), vek::detail::MARKER_LENGTH);
        if (isMarked != ANSWER_NO) {
            return isMarked == ANSWER_OPEN ? ANSWER_OPEN : decideFor(FRAMING_MARKED);
        }
        const answer_t isUnmarked = unmarked().checksOut(0);
        if (isUnmarked == ANSWER_OPEN) {
            return ANSWER_OPEN;
        }
        return decideFor(isUnmarked == ANSWER_YES ? FRAMING_UNMARKED : FRAMING_MARKED);
    }

    answer_t detectByHeader() {
        answer_t isUnmarked = followedWell(unmarked(), 0);
        if (isUnmarked == ANSWER_YES && !beliefs.knows(bytes.at(0))) {
            isUnmarked = unmarked().leadsOn(0, UnmarkedRules::ANY_ONES);
        }
        return isUnmarked == ANSWER_YES ? decideFor(FRAMING_UNMARKED) : isUnmarked;
    }

    /// Whether a frame at the beginning, with its size field at `record`, is followed well.
    template <class Rules>
    answer_t followedWell(const Rules& rules, size_t record) const {
        size_t after = 0;
        const answer_t framed = rules.frame(0, after);
        return framed == ANSWER_YES ? rules.followedWell(record, after) : framed;
    }

    bool detectFurtherOn() {
        constexpr size_t FAR_ENOUGH = 0x10000;
        for (; searched < std::min(bytes.size(), FAR_ENOUGH); ++searched) {
            for (const framing_t candidate : {FRAMING_MARKED, FRAMING_UNMARKED}) {
                const answer_t found = checksOut(candidate, searched);
                if (found == ANSWER_OPEN) {
                    return false;
                }
                if (found == ANSWER_YES) {
                    return detected(candidate);
                }
            }
        }
        // So far is far enough, or the input ends: else its last bytes leave it open.
        return detected(FRAMING_MARKED);
    }

    bool detected(framing_t decision) {
        framing = decision;
        searched = 0;
        return true;
    }

    // ---- In step ---------------------------------------------------------------------------

    bool takeMarked(TraceSpan& span) {
        const answer_t marker = bytes.marker(0);
        if (marker != ANSWER_YES) {
            return marker == ANSWER_NO && startGapWithoutMarker(span);
        }
        size_t after = 0;
        const answer_t framed = marked().frame(0, after);
        if (framed != ANSWER_YES) {
            return framed == ANSWER_NO &&
                   startGap(span, reasonOfNoFrame(vek::detail::MARKER_LENGTH));
        }
        const answer_t followed = marked().followedWell(vek::detail::MARKER_LENGTH, after);
        if (followed != ANSWER_YES) {
            return followed == ANSWER_NO && startGap(span, GAP_NOT_FOLLOWED);
        }
        const bool ambiguous = chains.find(bytes, after, begin + after);
        if (ambiguous && rule == RULE_PREFER_CHAIN) {
            return startGap(span, GAP_SPANS_RECORDS);
        }
        takeRecord(span, after, vek::detail::MARKER_LENGTH, ambiguous);
        return true;
    }

    bool startGapWithoutMarker(TraceSpan& span) {
        if (bytes.cutMarker(0) == ANSWER_YES) {
            return startGap(span, GAP_TRUNCATED);
        }
        const answer_t filler = bytes.filler(0);
        return filler != ANSWER_OPEN &&
               startGap(span, filler == ANSWER_YES ? GAP_FILLER : GAP_NO_MARKER);
    }

    bool takeUnmarked(TraceSpan& span) {
        const answer_t filler = bytes.size() == 1 && bytes.ends() ? ANSWER_NO : bytes.filler(0);
        if (filler != ANSWER_NO) {
            return filler == ANSWER_YES && startGap(span, GAP_FILLER);
        }
        size_t after = 0;
        const answer_t framed = unmarked().frame(0, after);
        if (framed != ANSWER_YES) {
            return framed == ANSWER_NO && startGap(span, reasonOfNoFrame(0));
        }
        const answer_t followed = unmarked().followedWell(0, after);
        if (followed != ANSWER_YES) {
            return followed == ANSWER_NO && startGap(span, GAP_NOT_FOLLOWED);
        }
        const uint8_t* const record = bytes.at(0);
        if (!beliefs.plausible(record, beliefs.lastTime(record))) {
            return startGap(span, GAP_IMPLAUSIBLE);
        }
        takeRecord(span, after, 0, false);
        return true;
    }

    /// Of bytes at the position, whose size field lies `record` bytes behind, that are no frame.
    gapReason_t reasonOfNoFrame(size_t record) const {
        if (bytes.size() < record + vek::detail::SIZE_FIELD_LENGTH) {
            return GAP_TRUNCATED;
        }
        return bytes.sizeField(record) < vek::detail::MIN_SIZE ? GAP_SIZE_TOO_SMALL
                                                               : GAP_SIZE_BEYOND_END;
    }

    // ---- In a gap --------------------------------------------------------------------------

    bool startGap(TraceSpan& span, gapReason_t reason) {
        gap = reason;
        searched = 1;
        return takeGap(span);
    }

    // Flattened: hostile input is what makes this busy, and then calls are a quarter of the time.
    [[gnu::flatten]] bool takeGap(TraceSpan& span) {
        const size_t limit = std::min(bytes.size(), MAX_GAP);
        while (searched < limit) {
            const answer_t found = checksOut(framing, searched);
            if (found == ANSWER_OPEN) {
                return false;
            }
            if (found == ANSWER_YES) {
                return endGap(span);
            }
            searched = nextCandidate(searched + 1, limit);
        }
        if (limit < MAX_GAP && !bytes.ends()) {
            return false;
        }
        if (bytes.isEnd(limit) && bytes.ends() && gap == GAP_SIZE_BEYOND_END) {
            gap = GAP_TRUNCATED;
        }
        takePieceOfGap(span, limit);
        return true;
    }

    bool endGap(TraceSpan& span) {
        const size_t length = searched;
        if (length != 0) {
            takePieceOfGap(span, length);
        }
        gap = GAP_NONE;
        gapGoesOn = false;
        return length != 0 || next(span);
    }

    void takePieceOfGap(TraceSpan& span, size_t length) {
        take(span, length, gap, gap == GAP_SPANS_RECORDS && !gapGoesOn);
        span.continued = gapGoesOn;
        gapGoesOn = true;
        searched = 0;
    }

    size_t nextCandidate(size_t position, size_t limit) const {
        if (position >= limit) {
            return position;
        }
        if (framing == FRAMING_UNMARKED) {
            return unmarked().findCandidate(position, limit);
        }
        // A marker may lie across the limit, or be cut by what has come so far.
        const size_t end = std::min(bytes.size(), limit + 1);
        const size_t marker = bytes.findMarker(position, end);
        return marker < end ? marker : end - 1;
    }

    answer_t checksOut(framing_t as, size_t position) const {
        return as == FRAMING_UNMARKED ? unmarked().checksOut(position)
                                      : marked().checksOut(position);
    }

    // ---- Spans -----------------------------------------------------------------------------

    void takeRecord(TraceSpan& span, size_t length, size_t prefix, bool ambiguous) {
        beliefs.yielded(bytes.at(prefix));
        take(span, length, GAP_NONE, ambiguous);
        span.marked = prefix != 0;
    }

    void take(TraceSpan& span, size_t length, gapReason_t reason, bool ambiguous) {
        ambiguities += ambiguous ? 1 : 0;
        span = TraceSpan();
        span.offset = begin;
        span.data = bytes.at(0);
        span.length = length;
        span.reason = reason;
        span.ambiguous = ambiguous;
        bytes.drop(length);
        begin += length;
    }

    framing_t framing;
    sizeRule_t rule;
    TraceBytes bytes;    // from `begin` on
    uint64_t begin = 0;  // offset in the trace
    vek::detail::Beliefs beliefs;

    gapReason_t gap = GAP_NONE;  // of the gap that we are in
    bool gapGoesOn = false;      // a piece of it was taken already
    size_t searched = 0;         // no record checks out before this

    vek::detail::ChainSearch chains;
    uint64_t ambiguities = 0;
};

RecordScanner::RecordScanner(framing_t framing, sizeRule_t rule)
    : state(std::make_unique<State>(framing, rule)) {}

RecordScanner::~RecordScanner() = default;
RecordScanner::RecordScanner(RecordScanner&& other) noexcept = default;
RecordScanner& RecordScanner::operator=(RecordScanner&& other) noexcept = default;

void RecordScanner::setInput(const uint8_t* data, size_t length, inputEnd_t end) {
    state->bytes = TraceBytes(data, length, end);
}

bool RecordScanner::next(TraceSpan& span) { return state->next(span); }

uint64_t RecordScanner::position() const { return state->begin; }
uint64_t RecordScanner::ambiguities() const { return state->ambiguities; }
framing_t RecordScanner::framing() const { return state->framing; }
