/// @file
/// The bytes that a scanner has been given, and what stands in them.
///
/// Where the answer depends on bytes that are still to come it is open. It never changes otherwise
/// when more bytes come.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "libvekstream/RecordScanner.h"

namespace vek::detail {

enum answer_t : int { ANSWER_NO, ANSWER_YES, ANSWER_OPEN };

constexpr answer_t answer(bool yes) { return yes ? ANSWER_YES : ANSWER_NO; }

/// Yes if one of both is; else open if one of both is.
constexpr answer_t either(answer_t a, answer_t b) {
    return a == ANSWER_YES || b == ANSWER_YES     ? ANSWER_YES
           : a == ANSWER_OPEN || b == ANSWER_OPEN ? ANSWER_OPEN
                                                  : ANSWER_NO;
}

constexpr size_t SIZE_FIELD_LENGTH = MessageBase::MO_MSGID;
constexpr size_t MARKER_LENGTH = sizeof MessageBase::SYNC_MARKER;
/// The least that a size field of a record tells: the rest of the header.
constexpr size_t MIN_SIZE = MessageBase::MO_BASE_DERIVED - MessageBase::MO_MSGID;
constexpr size_t MIN_MARKED_RECORD = MARKER_LENGTH + MessageBase::MO_BASE_DERIVED;
constexpr uint8_t MARKER_FIRST = MessageBase::SYNC_MARKER >> 8;
constexpr uint8_t MARKER_SECOND = MessageBase::SYNC_MARKER & 0xff;

class TraceBytes {
public:
    TraceBytes() = default;
    TraceBytes(const uint8_t* _data, size_t _length, RecordScanner::inputEnd_t _end)
        : data(_data), length(_length), end(_end) {}

    /// Positions count from here.
    const uint8_t* at(size_t position) const { return data + position; }
    size_t size() const { return length; }
    size_t left(size_t position) const { return length - position; }
    bool isEnd(size_t position) const { return position == length; }
    bool ends() const { return end == RecordScanner::INPUT_ENDS; }

    void drop(size_t count) {
        data += count;
        length -= count;
    }

    /// The answer where bytes are missing that would be needed for another one than no.
    answer_t missing() const { return ends() ? ANSWER_NO : ANSWER_OPEN; }

    /// Whether the input ends at `position`, which lies in it or at its end.
    answer_t endsAt(size_t position) const {
        return !isEnd(position) ? ANSWER_NO : answerOfEnd(end != RecordScanner::INPUT_CONTINUES);
    }

    answer_t marker(size_t position) const {
        if (left(position) >= MARKER_LENGTH) {
            return answer(data[position] == MARKER_FIRST && data[position + 1] == MARKER_SECOND);
        }
        return left(position) == 1 && data[position] != MARKER_FIRST ? ANSWER_NO : missing();
    }

    /// The first half of a marker, which the end cuts.
    answer_t cutMarker(size_t position) const {
        return left(position) != 1 || data[position] != MARKER_FIRST ? ANSWER_NO
                                                                     : answerOfEnd(ends());
    }

    /// What storage that was never written holds.
    answer_t filler(size_t position) const {
        const size_t count = left(position);
        if (count >= 4 * sizeof(uint64_t)) {
            const uint64_t first = word(position);
            return answer((first == 0 || first == ~uint64_t{0}) && first == word(position + 8) &&
                          first == word(position + 16) && first == word(position + 24));
        }
        if (count == 0) {
            return missing();
        }
        const uint8_t* const first = at(position);
        const bool same = std::memcmp(first, first + 1, count - 1) == 0;
        return same && (*first == 0x00 || *first == 0xff) ? answerOfEnd(ends()) : ANSWER_NO;
    }

    /// Whether a record stands at `position`, as far as lengths tell; then `after` is where it ends.
    /// `prefix` bytes of marker stand in front of its size field.
    answer_t frame(size_t position, size_t prefix, size_t& after) const {
        if (prefix != 0) {
            const answer_t marked = marker(position);
            if (marked != ANSWER_YES) {
                return marked;
            }
        }
        const size_t header = prefix + SIZE_FIELD_LENGTH;
        if (left(position) < header) {
            return missing();
        }
        const size_t whole = header + sizeField(position + prefix);
        if (whole < header + MIN_SIZE) {
            return ANSWER_NO;
        }
        if (left(position) < whole) {
            return missing();
        }
        after = position + whole;
        return ANSWER_YES;
    }

    /// The next marker from `position` on that lies in front of `stop` as a whole, or `stop`.
    size_t findMarker(size_t position, size_t stop) const {
        for (; position + sizeof(uint64_t) < stop; position += sizeof(uint64_t)) {
            // A byte is 0 where it and the one behind it are a marker. Whether there is such a byte
            // does not depend on the host's byte order.
            const uint64_t others = (word(position) ^ EACH_BYTE * MARKER_FIRST) |
                                    (word(position + 1) ^ EACH_BYTE * MARKER_SECOND);
            if (((others - EACH_BYTE) & ~others & EACH_BYTE << 7) != 0) {
                break;
            }
        }
        while (position + MARKER_LENGTH <= stop && marker(position) != ANSWER_YES) {
            ++position;
        }
        return position + MARKER_LENGTH <= stop ? position : stop;
    }

    size_t sizeField(size_t record) const { return MessageBase::getMessageSize(at(record)); }

private:
    static constexpr uint64_t EACH_BYTE = 0x0101010101010101;

    uint64_t word(size_t position) const {
        uint64_t word;
        std::memcpy(&word, at(position), sizeof word);
        return word;
    }

    static answer_t answerOfEnd(bool isThere) { return isThere ? ANSWER_YES : ANSWER_OPEN; }

    const uint8_t* data = nullptr;
    size_t length = 0;
    RecordScanner::inputEnd_t end = RecordScanner::INPUT_CONTINUES;
};

}  // namespace vek::detail
