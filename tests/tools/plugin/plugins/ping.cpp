/// @file
/// A plugin for tests. It brings a class for MSGID_PING, whose decoder refuses a payload, and asks
/// for an identifier that the program has a class for, and for one without bringing a class. Loading
/// it leaves a file named "initialised" in the working folder, so that a test sees whether its code
/// ran.

#include <fstream>

#include "libvekstream/TracePlugin.h"
#include "libvektrace/SimpleMessage.h"

template <>
const char SimpleMessage<MSGID_PING>::messageName[] = "PING OF THE PLUGIN";

namespace {

const struct Initialised {
    Initialised() { std::ofstream("initialised") << "yes"; }
} initialised;

}  // namespace

const TracePluginInfo vektracePluginInfo = makeTracePluginInfo("ping", "0.1-test");

void vektraceRegisterMessages(const TracePluginRegistry& registry) noexcept {
    const auto creator = &SimpleMessage<MSGID_PING>::readFromByteArray;
    registry.registerMessage(registry.loader, MSGID_PING, creator);
    registry.registerMessage(registry.loader, MSGID_STARTUP, creator);
    registry.registerMessage(registry.loader, static_cast<msgid_t>(0x0AB5), nullptr);
}
