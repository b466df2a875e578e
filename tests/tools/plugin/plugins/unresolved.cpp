// Needs what nobody has.
#include "libvekstream/TracePlugin.h"

void functionThatIsNowhere();

const TracePluginInfo vektracePluginInfo = makeTracePluginInfo("unresolved", "1");

void vektraceRegisterMessages(const TracePluginRegistry& /*registry*/) noexcept {
    functionThatIsNowhere();
}
