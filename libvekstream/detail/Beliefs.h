/// @file
/// Which headers are to be believed: those with an identifier that is known, or with a time near
/// the one before.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>

#include "libvekstream/messageName.h"
#include "libvektrace/MessageBase.h"

namespace vek::detail {

class Beliefs {
public:
    Beliefs() : known(catalogue()) {
        for (const auto& creator : MessageBase::creators) {
            known.set(creator.first);
        }
    }

    // Of a record whose whole header can be read.

    bool knows(const uint8_t* record) const { return known[MessageBase::getMessageId(record)]; }
    static bool near(timeStamp_t a, timeStamp_t b) {
        constexpr timeStamp_t ONE_DAY = timeStamp_t{24} * 60 * 60 * 1000000;
        return (a < b ? b - a : a - b) <= ONE_DAY;
    }
    static bool near(const uint8_t* record, timeStamp_t time) {
        return near(MessageBase::getTimeStamp(record), time);
    }
    bool plausible(const uint8_t* record, timeStamp_t beside) const {
        return knows(record) || near(record, beside);
    }
    /// Enough to begin anew with this record.
    bool trustworthy(const uint8_t* record) const {
        return knows(record) && (!hasLast || near(record, last));
    }

    /// The time that the records yielded so far have reached, or else that of `record`.
    timeStamp_t lastTime(const uint8_t* record) const {
        return hasLast ? last : MessageBase::getTimeStamp(record);
    }
    /// A time far from the others counts once a second one is near it: damage that lies in a time
    /// must not discredit what follows, and a step of the clock must not either.
    void yielded(const uint8_t* record) {
        const timeStamp_t time = MessageBase::getTimeStamp(record);
        const bool adopted = !hasLast || near(time, last) || (hasStray && near(time, stray));
        (adopted ? last : stray) = time;
        hasLast = true;
        hasStray = !adopted;
    }

private:
    using ids_t = std::bitset<0x10000>;

    static ids_t idsWithName() {
        ids_t ids;
        for (size_t id = 0; id < ids.size(); ++id) {
            ids[id] = messageName(static_cast<msgid_t>(id)) != nullptr;
        }
        return ids;
    }

    static const ids_t& catalogue() {
        static const ids_t theCatalogue = idsWithName();
        return theCatalogue;
    }

    ids_t known;
    bool hasLast = false;
    timeStamp_t last = 0;
    bool hasStray = false;
    timeStamp_t stray = 0;
};

}  // namespace vek::detail
