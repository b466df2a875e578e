/// @file
/// The plain twin of RecordScanner: docs/recovery.md sentence by sentence, for a whole input at once.
///
/// It is slow and keeps the order of the page, so that the two can be read side by side. Nothing in
/// it may be made quicker.
#pragma once

#include <algorithm>
#include <optional>
#include <set>
#include <vector>

#include "libvekstream/RecordScanner.h"

class PlainScanner {
public:
    using ids_t = std::set<unsigned>;

    /// `_input` and `_known` stay the caller's and must outlive the scanner.
    PlainScanner(const byteVec_t& _input, framing_t _framing, sizeRule_t _rule, const ids_t& _known)
        : input(_input), n(_input.size()), rule(_rule), known(_known), frame(_framing) {
        if (frame == FRAMING_DETECT) {
            frame = detected();
        }
        for (size_t p = 0; p < n;) {
            p = take(p, inStep(p));
        }
    }

    const std::vector<TraceSpan>& spans() const { return taken; }
    uint64_t ambiguities() const { return ambiguityCount; }
    framing_t framing() const { return frame; }

private:
    struct Verdict {
        gapReason_t reason;
        size_t end;
        bool ambiguous;
    };

    // ---- Words -------------------------------------------------------------------------------

    static constexpr uint64_t ONE_DAY = 86400000000;
    static constexpr unsigned HEADER_SIZE = 12;

    uint64_t number(size_t at, size_t width) const {
        uint64_t result = 0;
        for (size_t i = at; i < at + width; ++i) {
            result = result * 256 + input.at(i);
        }
        return result;
    }

    size_t left(size_t p) const { return n - p; }

    bool markerStands(size_t p) const { return p < n && left(p) >= 2 && number(p, 2) == 0x55AA; }

    bool firstHalfOfAMarkerIsLast(size_t p) const { return left(p) == 1 && input.at(p) == 0x55; }

    /// Whether a marked or unmarked frame stands at p, and then where it ends.
    bool frameStands(size_t p, framing_t framing, size_t& end) const {
        const size_t marker = framing == FRAMING_MARKED ? 2 : 0;
        if (p >= n || (framing == FRAMING_MARKED && !markerStands(p)) || left(p) < marker + 2) {
            return false;
        }
        end = p + marker + 2 + sizeField(p + marker);
        return sizeField(p + marker) >= HEADER_SIZE && end <= n &&
               (framing == FRAMING_MARKED || !fillerStands(p));
    }

    // Fields of the record whose size field stands at p.
    size_t sizeField(size_t p) const { return static_cast<size_t>(number(p, 2)); }
    bool idIsKnown(size_t p) const {
        return known.count(static_cast<unsigned>(number(p + 2, 2))) != 0;
    }
    uint64_t time(size_t p) const { return number(p + 6, 8); }

    static bool near(uint64_t a, uint64_t b) { return std::max(a, b) - std::min(a, b) <= ONE_DAY; }

    bool nearLast(uint64_t t) const { return !last || near(t, *last); }

    /// Takes over the time of a record that is yielded.
    void reach(uint64_t t) {
        const bool believed = nearLast(t) || (stray && near(t, *stray));
        stray.reset();
        (believed ? last : stray) = t;
    }

    bool fillerStands(size_t e) const {
        return e < n && (allBytesAre(0x00, e, std::min(e + 32, n)) ||
                         allBytesAre(0xFF, e, std::min(e + 32, n)));
    }

    bool allBytesAre(unsigned value, size_t begin, size_t end) const {
        for (size_t i = begin; i < end; ++i) {
            if (input.at(i) != value) {
                return false;
            }
        }
        return true;
    }

    // ---- Marked streams ----------------------------------------------------------------------

    bool followedWellMarked(size_t p, size_t e) const {
        return e == n || markerStands(e) || firstHalfOfAMarkerIsLast(e) || fillerStands(e) ||
               onlyTheMarkerIsDamaged(e, time(p + 2));
    }

    bool onlyTheMarkerIsDamaged(size_t e, uint64_t timeBefore) const {
        if (left(e) < 16 || sizeField(e + 2) < HEADER_SIZE) {
            return false;
        }
        const size_t end = e + 4 + sizeField(e + 2);
        return end <= n && near(time(e + 2), timeBefore) && (end == n || markerStands(end));
    }

    Verdict inStepMarked(size_t p) {
        if (!markerStands(p)) {
            return gap(p, firstHalfOfAMarkerIsLast(p) ? GAP_TRUNCATED
                          : fillerStands(p)           ? GAP_FILLER
                                                      : GAP_NO_MARKER);
        }
        if (left(p) < 4) {
            return gap(p, GAP_TRUNCATED);
        }
        if (sizeField(p + 2) < HEADER_SIZE) {
            return gap(p, GAP_SIZE_TOO_SMALL);
        }
        size_t end = 0;
        if (!frameStands(p, FRAMING_MARKED, end)) {
            return gap(p, GAP_SIZE_BEYOND_END);
        }
        if (!followedWellMarked(p, end)) {
            return gap(p, GAP_NOT_FOLLOWED);
        }
        const bool ambiguous = isAmbiguous(p, end);
        if (ambiguous && rule == RULE_PREFER_CHAIN) {
            return gap(p, GAP_SPANS_RECORDS);
        }
        return {GAP_NONE, end, ambiguous};
    }

    bool isAmbiguous(size_t p, size_t e) {
        std::set<size_t> followed;
        size_t before = p + 16;
        for (size_t c = p + 16; c + 32 <= e; ++c) {
            if (!markerStands(c)) {
                continue;
            }
            steps += 1 + (c - before) / 64;
            before = c;
            if (steps > 4096 + e / 8) {
                return false;
            }
            unsigned frames = 0;
            size_t at = c;
            for (size_t end = 0; frameStands(at, FRAMING_MARKED, end) && end <= e; at = end) {
                if (followed.count(at) != 0) {
                    break;
                }
                followed.insert(at);
                ++steps;
                ++frames;
                if (frames == 8 || (frames >= 2 && end == e)) {
                    return true;
                }
            }
        }
        return false;
    }

    bool checksOutMarked(size_t c) const {
        size_t e = 0;
        if (!frameStands(c, FRAMING_MARKED, e)) {
            return false;
        }
        size_t end = 0;
        return e == n || (idIsKnown(c + 2) && nearLast(time(c + 2)) && followedWellMarked(c, e)) ||
               (frameStands(e, FRAMING_MARKED, end) && (end == n || markerStands(end)));
    }

    // ---- Unmarked streams --------------------------------------------------------------------

    bool headerStands(size_t p) const {
        return p < n && left(p) >= 14 && sizeField(p) >= HEADER_SIZE;
    }

    bool headerStandsNear(size_t p, uint64_t t) const {
        return headerStands(p) && near(time(p), t);
    }

    bool followedWellUnmarked(size_t p, size_t e) const {
        return e == n || left(e) == 1 || (left(e) <= 13 && sizeField(e) >= HEADER_SIZE) ||
               fillerStands(e) || headerStandsNear(e, time(p)) || onlyTheTimeIsFar(e, time(p));
    }

    bool onlyTheTimeIsFar(size_t e, uint64_t t) const {
        size_t end = 0;
        return headerStands(e) && idIsKnown(e) && frameStands(e, FRAMING_UNMARKED, end) &&
               (end == n || headerStandsNear(end, t) || headerStandsNear(end, time(e)));
    }

    Verdict inStepUnmarked(size_t p) const {
        if (left(p) == 1) {
            return gap(p, GAP_TRUNCATED);
        }
        if (fillerStands(p)) {
            return gap(p, GAP_FILLER);
        }
        if (sizeField(p) < HEADER_SIZE) {
            return gap(p, GAP_SIZE_TOO_SMALL);
        }
        size_t end = 0;
        if (!frameStands(p, FRAMING_UNMARKED, end)) {
            return gap(p, GAP_SIZE_BEYOND_END);
        }
        if (!followedWellUnmarked(p, end)) {
            return gap(p, GAP_NOT_FOLLOWED);
        }
        if (!idIsKnown(p) && !nearLast(time(p))) {
            return gap(p, GAP_IMPLAUSIBLE);
        }
        return {GAP_NONE, end, false};
    }

    bool checksOutUnmarked(size_t c) const {
        size_t e = 0;
        return frameStands(c, FRAMING_UNMARKED, e) &&
               ((nearLast(time(c)) && isFirstOfThree(c, true)) || isFirstOf(4, c, true, false));
    }

    /// Of three frames, or of fewer of which the last ends at n.
    bool isFirstOfThree(size_t c, bool withKnownIds) const {
        return isFirstOf(3, c, withKnownIds, true);
    }

    /// Whether so many frames follow each other from c on, each with a time near that of the one
    /// before it.
    bool isFirstOf(int count, size_t c, bool withKnownIds, bool orFewerUpToTheEnd) const {
        size_t before = c;
        for (int i = 0; i < count; ++i) {
            size_t end = 0;
            if (!frameStands(c, FRAMING_UNMARKED, end) || !near(time(c), time(before)) ||
                (withKnownIds && !idIsKnown(c))) {
                return false;
            }
            if (end == n && orFewerUpToTheEnd) {
                return true;
            }
            before = c;
            c = end;
        }
        return true;
    }

    // ---- Either ------------------------------------------------------------------------------

    Verdict inStep(size_t p) {
        return frame == FRAMING_MARKED ? inStepMarked(p) : inStepUnmarked(p);
    }

    bool checksOut(size_t c) const {
        return frame == FRAMING_MARKED ? checksOutMarked(c) : checksOutUnmarked(c);
    }

    /// The gap that begins at p and ends where a record checks out.
    Verdict gap(size_t p, gapReason_t reason) const {
        size_t c = p + 1;
        while (c < n && !checksOut(c)) {
            ++c;
        }
        const bool cut = reason == GAP_SIZE_BEYOND_END && c == n;
        return {cut ? GAP_TRUNCATED : reason, c, false};
    }

    // ---- Detecting which ---------------------------------------------------------------------

    framing_t detected() const {
        size_t end = 0;
        if (markerStands(0)) {
            if (frameStands(0, FRAMING_MARKED, end) && followedWellMarked(0, end)) {
                return FRAMING_MARKED;
            }
            return checksOutUnmarked(0) ? FRAMING_UNMARKED : FRAMING_MARKED;
        }
        if (frameStands(0, FRAMING_UNMARKED, end) && followedWellUnmarked(0, end) &&
            (idIsKnown(0) || isFirstOfThree(0, false))) {
            return FRAMING_UNMARKED;
        }
        for (size_t c = 0; c < n && c < 65536; ++c) {
            if (checksOutMarked(c)) {
                return FRAMING_MARKED;
            }
            if (checksOutUnmarked(c)) {
                return FRAMING_UNMARKED;
            }
        }
        return FRAMING_MARKED;
    }

    // ---- Pieces ------------------------------------------------------------------------------

    /// Puts down the verdict on what begins at p; returns where it ends.
    size_t take(size_t p, const Verdict& verdict) {
        const bool record = verdict.reason == GAP_NONE;
        const bool ambiguous = verdict.ambiguous || verdict.reason == GAP_SPANS_RECORDS;
        const size_t most = record ? verdict.end - p : 131072;
        for (size_t begin = p; begin < verdict.end; begin += most) {
            TraceSpan span;
            span.offset = begin;
            span.data = input.data() + begin;
            span.length = std::min(most, verdict.end - begin);
            span.reason = verdict.reason;
            span.marked = record && frame == FRAMING_MARKED;
            span.continued = begin != p;
            span.ambiguous = ambiguous && begin == p;
            taken.push_back(span);
        }
        ambiguityCount += ambiguous ? 1 : 0;
        if (record) {
            reach(time(p + (frame == FRAMING_MARKED ? 2 : 0)));
        }
        return verdict.end;
    }

    const byteVec_t& input;
    const size_t n;
    const sizeRule_t rule;
    const ids_t& known;
    framing_t frame;
    std::vector<TraceSpan> taken;
    std::optional<uint64_t> last;
    std::optional<uint64_t> stray;
    uint64_t steps = 0;
    uint64_t ambiguityCount = 0;
};
