/// @file
/// The rules of docs/recovery.md that look at bytes only: what may follow a record, and where a
/// record checks out although what was before it did not.
#pragma once

#include <cstddef>
#include <cstdint>

#include "libvekstream/detail/Beliefs.h"
#include "libvekstream/detail/TraceBytes.h"

namespace vek::detail {

struct MarkedRules {
    const TraceBytes& bytes;
    const Beliefs& beliefs;

    answer_t frame(size_t position, size_t& after) const {
        return bytes.frame(position, MARKER_LENGTH, after);
    }

    /// `record` is the size field of the record that ends at `position`.
    answer_t followedWell(size_t record, size_t position) const {
        const answer_t marker = either(bytes.endsAt(position), bytes.marker(position));
        if (marker == ANSWER_YES) {
            return ANSWER_YES;
        }
        const answer_t end = either(marker, bytes.cutMarker(position));
        const answer_t filler = either(end, bytes.filler(position));
        return either(filler, damagedMarker(position, MessageBase::getTimeStamp(bytes.at(record))));
    }

    answer_t checksOut(size_t position) const {
        size_t after = 0;
        const answer_t framed = frame(position, after);
        if (framed != ANSWER_YES) {
            return framed;
        }
        const answer_t end = bytes.endsAt(after);
        if (end != ANSWER_NO) {
            return end;
        }
        const size_t record = position + MARKER_LENGTH;
        return beliefs.trustworthy(bytes.at(record)) ? followedWell(record, after) : leadsOn(after);
    }

private:
    /// A record that would be one if only its marker were right.
    answer_t damagedMarker(size_t position, timeStamp_t time) const {
        if (bytes.left(position) < MIN_MARKED_RECORD) {
            return bytes.missing();
        }
        const size_t record = position + MARKER_LENGTH;
        size_t after = 0;
        if (!Beliefs::near(bytes.at(record), time)) {
            return ANSWER_NO;
        }
        const answer_t framed = bytes.frame(record, 0, after);
        return framed == ANSWER_YES ? endOrMarker(after) : framed;
    }

    answer_t leadsOn(size_t position) const {
        size_t after = 0;
        const answer_t framed = frame(position, after);
        return framed == ANSWER_YES ? endOrMarker(after) : framed;
    }

    answer_t endOrMarker(size_t position) const {
        return either(bytes.endsAt(position), bytes.marker(position));
    }
};

struct UnmarkedRules {
    const TraceBytes& bytes;
    const Beliefs& beliefs;

    answer_t frame(size_t position, size_t& after) const {
        const answer_t framed = bytes.frame(position, 0, after);
        return framed == ANSWER_YES && isFiller(position) ? ANSWER_NO : framed;
    }

    answer_t followedWell(size_t record, size_t position) const {
        const answer_t end = either(bytes.endsAt(position), cutHeader(position));
        const answer_t filler = either(end, bytes.filler(position));
        const timeStamp_t time = MessageBase::getTimeStamp(bytes.at(record));
        return either(filler, plausibleHeader(position, time));
    }

    /// With a time near `time`; or with a known identifier and a time that damage or a step of the
    /// clock put there, if what follows speaks for one of these.
    answer_t plausibleHeader(size_t position, timeStamp_t time) const {
        if (bytes.left(position) < MessageBase::MO_BASE_DERIVED) {
            return bytes.missing();
        }
        const uint8_t* const record = bytes.at(position);
        if (bytes.sizeField(position) < MIN_SIZE) {
            return ANSWER_NO;
        }
        if (Beliefs::near(record, time) || !beliefs.knows(record)) {
            return answer(Beliefs::near(record, time));
        }
        size_t after = 0;
        const answer_t framed = frame(position, after);
        return framed == ANSWER_YES ? headerNear(after, time, MessageBase::getTimeStamp(record))
                                    : framed;
    }

    /// Skips positions at which no record checks out, for a reason that is quickly seen.
    size_t findCandidate(size_t position, size_t stop) const {
        while (position < stop && bytes.left(position) >= MessageBase::MO_BASE_DERIVED &&
               (bytes.sizeField(position) < MIN_SIZE || !beliefs.knows(bytes.at(position)))) {
            ++position;
        }
        return position;
    }

    answer_t checksOut(size_t position) const {
        if (bytes.left(position) < MessageBase::MO_BASE_DERIVED) {
            return bytes.missing();
        }
        const uint8_t* const record = bytes.at(position);
        if (!beliefs.knows(record)) {
            return ANSWER_NO;
        }
        return leadsOn(position, beliefs.trustworthy(record) ? KNOWN_ONES : FAR_ONES);
    }

    /// Records that follow each other, with times near each other.
    struct Chain {
        int length;
        bool shorterAtEnd;  ///< fewer will do where the last one ends where the input does
        bool known;         ///< all of them with a known identifier
    };
    static constexpr Chain ANY_ONES = {3, true, false};
    static constexpr Chain KNOWN_ONES = {3, true, true};
    /// Whose times are far from what the records before have reached.
    static constexpr Chain FAR_ONES = {4, false, true};

    answer_t leadsOn(size_t position, const Chain& chain) const {
        const timeStamp_t* time = nullptr;
        timeStamp_t before = 0;
        for (int count = 1;; ++count) {
            size_t after = 0;
            const answer_t framed = frame(position, after);
            if (framed != ANSWER_YES) {
                return framed;
            }
            const uint8_t* const record = bytes.at(position);
            if ((chain.known && !beliefs.knows(record)) ||
                (time && !Beliefs::near(record, *time))) {
                return ANSWER_NO;
            }
            if (count == chain.length) {
                return ANSWER_YES;
            }
            const answer_t end = bytes.endsAt(after);
            if (end != ANSWER_NO) {
                return chain.shorterAtEnd || end == ANSWER_OPEN ? end : bytes.missing();
            }
            before = MessageBase::getTimeStamp(record);
            time = &before;
            position = after;
        }
    }

private:
    /// Of a frame: its size alone tells that it is not 00.
    bool isFiller(size_t position) const {
        return bytes.sizeField(position) == 0xffff && bytes.filler(position) == ANSWER_YES;
    }

    /// The end, or a header with a time near one of two.
    answer_t headerNear(size_t position, timeStamp_t one, timeStamp_t other) const {
        const answer_t end = bytes.endsAt(position);
        if (end != ANSWER_NO) {
            return end;
        }
        if (bytes.left(position) < MessageBase::MO_BASE_DERIVED) {
            return bytes.missing();
        }
        const uint8_t* const record = bytes.at(position);
        return answer(bytes.sizeField(position) >= MIN_SIZE &&
                      (Beliefs::near(record, one) || Beliefs::near(record, other)));
    }

    answer_t cutHeader(size_t position) const {
        const size_t left = bytes.left(position);
        if (left == 0 || left >= MessageBase::MO_BASE_DERIVED) {
            return left == 0 ? bytes.missing() : ANSWER_NO;
        }
        if (left >= SIZE_FIELD_LENGTH && bytes.sizeField(position) < MIN_SIZE) {
            return ANSWER_NO;
        }
        return bytes.ends() ? ANSWER_YES : ANSWER_OPEN;
    }
};

}  // namespace vek::detail
