/// @file
/// Cases: a record is decoded into a new message, and that is deleted. The outcome is the fields of
/// the message.
#pragma once

#include "cases/Cycle.h"
#include "cases/Fields.h"
#include "suite/Suite.h"

namespace bench {

struct DecodeCase {
    const char* name;
    /// The records in the order in which they come.
    Cycle<Fields> records;
    MessageBase::invalidMsgHandling_t policy = MessageBase::IMH_RETURN_NULL;
};

/// Records whose identifier is registered: no payload, 8 and 64 bytes.
const std::vector<DecodeCase>& knownCases();
/// The ten header-only types, in unpredictable order.
const DecodeCase& mixedCase();
/// Identifiers without a creator; the policy gives null.
const DecodeCase& unknownCase();
/// The same with 16 bytes of payload; the policy gives an InvalidMessage.
const DecodeCase& invalidCase();
/// The creator throws; the policy gives null.
const DecodeCase& throwingCase();

/// The identifiers of the library's own message types.
inline constexpr msgid_t SIMPLE_IDS[] = {MSGID_STARTUP,
                                         MSGID_DATALOGGINGSTARTED,
                                         MSGID_DATALOGGINGSTOPPED,
                                         MSGID_GETVERSION,
                                         MSGID_GETTIME,
                                         MSGID_TIMEJUMP,
                                         MSGID_START,
                                         MSGID_STOP,
                                         MSGID_TRIGGERCLEAR,
                                         MSGID_CUSTOMER};

inline constexpr msgid_t THROWING_ID = MSGID_SIGNAL;

/// What the creator of THROWING_ID does; not to be inlined into a place that could foresee it.
[[noreturn]] void throwInvalid();

/// Fills the library's registry: SIMPLE_IDS, the payload class and the creator that throws.
void registerCreators();

/// A contender that decodes through one function whatever the case.
template <class Decode>
void addDecoder(const char* name) {
    for (const DecodeCase& c : knownCases()) {
        add<Decode>(c.name, name, c);
    }
    for (const DecodeCase* c : {&mixedCase(), &unknownCase(), &invalidCase(), &throwingCase()}) {
        add<Decode>(c->name, name, *c);
    }
}

}  // namespace bench
