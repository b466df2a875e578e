// Brings a class for an identifier that the catalogue has no name for; it refuses a payload.
#include "libvekstream/TracePlugin.h"
#include "libvektrace/SimpleMessage.h"

namespace {

constexpr auto NAMELESS = static_cast<msgid_t>(0x0AB6);

}  // namespace

template <>
const char SimpleMessage<NAMELESS>::messageName[] = "NAMELESS";

const TracePluginInfo vektracePluginInfo = makeTracePluginInfo("nameless", "1");

void vektraceRegisterMessages(const TracePluginRegistry& registry) noexcept {
    registry.registerMessage(registry.loader, NAMELESS,
                             &SimpleMessage<NAMELESS>::readFromByteArray);
}
