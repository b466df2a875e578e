/// @file
/// A plugin for tests that ends the process, where the environment variable ENDING says how: "abort"
/// or "exit" when it is loaded, "decode" at the first record that its second creator is given, "wait"
/// never. Its destructor removes the file "state", which loading it makes.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "libvekstream/TracePlugin.h"

namespace {

std::string ending() {
    const char* const text = std::getenv("ENDING");
    return text == nullptr ? "" : text;
}

const struct State {
    State() {
        std::ofstream("state") << "here";
        if (ending() == "abort") {
            std::abort();
        }
        if (ending() == "exit") {
            std::exit(0);
        }
        while (ending() == "wait") {
            pause();
        }
    }
    ~State() { std::remove("state"); }
} state;

MessageBase* throwNumber(const uint8_t*, size_t) { throw 1; }

/// Nothing where "state" is not there.
MessageBase* decode(const uint8_t* data, size_t length) {
    if (ending() == "decode") {
        std::abort();
    }
    return std::ifstream("state") ? new InvalidMessage(data, length) : nullptr;
}

}  // namespace

const TracePluginInfo vektracePluginInfo = makeTracePluginInfo("ending", "1");

void vektraceRegisterMessages(const TracePluginRegistry& registry) noexcept {
    registry.registerMessage(registry.loader, static_cast<msgid_t>(0x0AB7), &throwNumber);
    registry.registerMessage(registry.loader, MSGID_PING, &decode);
}
