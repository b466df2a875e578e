/// @file
/// A plugin for tests that ends the process: where the environment variable ENDING says "abort" or
/// "exit" when it is loaded, where it says "decode" at the first record that it is given.

#include <cstdlib>
#include <string>

#include "libvekstream/TracePlugin.h"

namespace {

std::string ending() {
    const char* const text = std::getenv("ENDING");
    return text == nullptr ? "" : text;
}

const struct Initialised {
    Initialised() {
        if (ending() == "abort") {
            std::abort();
        }
        if (ending() == "exit") {
            std::exit(0);
        }
    }
} initialised;

MessageBase* decode(const uint8_t*, size_t) {
    if (ending() == "decode") {
        std::abort();
    }
    return nullptr;
}

}  // namespace

const TracePluginInfo vektracePluginInfo = makeTracePluginInfo("ending", "1");

void vektraceRegisterMessages(const TracePluginRegistry& registry) noexcept {
    registry.registerMessage(registry.loader, MSGID_PING, &decode);
}
