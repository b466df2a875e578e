/// @file
/// Looks for whole marked records inside of what its size field says is one.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "libvekstream/detail/TraceBytes.h"

namespace vek::detail {

/// Positions in one record.
class PositionSet {
public:
    void clear(size_t end) { std::fill_n(words.begin(), end / BITS + 1, 0); }
    /// Whether it was not there yet.
    bool add(size_t position) {
        uint64_t& word = words[position / BITS];
        const uint64_t bit = uint64_t{1} << position % BITS;
        const bool isNew = (word & bit) == 0;
        word |= bit;
        return isNew;
    }

private:
    static constexpr size_t BITS = 64;
    std::array<uint64_t, RecordScanner::MAX_RECORD / BITS + 1> words;
};

class ChainSearch {
public:
    /// Whether a chain of marked records stands in the record [0, end): at least two, of which the
    /// last ends where it does, or at least eight, wherever the last ends. `offset` is where the
    /// record ends in the trace: with it grows how many steps all searches may take together.
    bool find(const TraceBytes& bytes, size_t end, uint64_t offset) {
        constexpr size_t SHORTEST_CHAIN = 2 * MIN_MARKED_RECORD;
        if (end < MIN_MARKED_RECORD + SHORTEST_CHAIN) {
            return false;
        }
        const size_t lastStart = end - SHORTEST_CHAIN;
        const size_t searchEnd = lastStart + MARKER_LENGTH;
        size_t candidate = bytes.findMarker(MIN_MARKED_RECORD, searchEnd);
        if (candidate == searchEnd) {
            return false;
        }
        const uint64_t limit = 4096 + offset / 8;
        followed.clear(end);
        for (size_t before = MIN_MARKED_RECORD; candidate < searchEnd;
             candidate = bytes.findMarker(candidate + 1, searchEnd)) {
            steps += 1 + (candidate - before) / BYTES_OF_A_STEP;
            before = candidate;
            if (steps > limit) {
                return false;
            }
            if (leadsTo(bytes, candidate, end)) {
                return true;
            }
        }
        return false;
    }

private:
    /// Bytes that are no records do not look like so many.
    static constexpr int LONG_CHAIN = 8;
    static constexpr size_t BYTES_OF_A_STEP = 64;

    bool leadsTo(const TraceBytes& bytes, size_t position, size_t end) {
        int frames = 0;
        while (position < end) {
            size_t after = 0;
            if (bytes.frame(position, MARKER_LENGTH, after) != ANSWER_YES || after > end ||
                !followed.add(position)) {
                return false;
            }
            ++steps;
            ++frames;
            position = after;
            if (frames == LONG_CHAIN) {
                return true;
            }
        }
        return frames >= 2;
    }

    uint64_t steps = 0;
    PositionSet followed;
};

}  // namespace vek::detail
