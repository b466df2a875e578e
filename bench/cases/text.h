/// @file
/// Cases: text of timestamps, bytes and undecodable messages. The outcome is the text.
#pragma once

#include "cases/Cycle.h"
#include "libvektrace/MessageBase.h"
#include "suite/Suite.h"

namespace bench {

using Stamps = Cycle<timeStamp_t>;
using Messages = Cycle<const InvalidMessage*>;

/// Timestamps all over the calendar, so that none has a second in common with the one before.
const Stamps& stamps();

struct DumpCase {
    const char* name;
    byteVec_t bytes;
};

/// 8, 64, 1400 and 65536 bytes.
const std::vector<DumpCase>& dumpCases();

/// Undecodable records with 8 bytes of payload.
const Messages& invalidMessages();

/// Adds a contender that writes timestamps to a stream: alone, and two threads at once.
template <class Printer>
void addStreamStamp(const std::string& name) {
    add<Printer>("timestamp, to a stream", name, stamps());
    add({"timestamps of two threads", name,
         [] { return std::make_unique<RunnerOf<Printer, Stamps>>(stamps()); }, true});
}

template <class Printer>
void addStringStamp(const std::string& name) {
    add<Printer>("timestamp, to a string", name, stamps());
}

template <class Printer>
void addDump(const std::string& name) {
    for (const DumpCase& c : dumpCases()) {
        add<Printer>(c.name, name, c.bytes);
    }
}

template <class Printer>
void addStringInvalid(const std::string& name) {
    add<Printer>("invalid message, to a string", name, invalidMessages());
}

template <class Printer>
void addStreamInvalid(const std::string& name) {
    add<Printer>("invalid message, to a stream", name, invalidMessages());
}

}  // namespace bench
