/// @file
/// EthernetMessage as a plugin of the program:
///
///     vektrace dump --plugin ./ethernet_plugin.so TRACE.vkt
///
/// Only frames under MSGID_ETHERNET_RX: that is the identifier with which the class encodes them.

#include "examples/ethernet/EthernetMessage.h"
#include "libvekstream/TracePlugin.h"

const TracePluginInfo vektracePluginInfo = makeTracePluginInfo("ethernet", "1.0.0");

void vektraceRegisterMessages(const TracePluginRegistry& registry) noexcept {
    registry.registerMessage(registry.loader, MSGID_ETHERNET_RX,
                             &EthernetMessage::readFromByteArray);
}
