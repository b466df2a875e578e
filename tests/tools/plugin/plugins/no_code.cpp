// Says what it is, but what should be called is data.
#include "libvekstream/TracePlugin.h"

const TracePluginInfo vektracePluginInfo = makeTracePluginInfo("no code", "1");

extern "C" {
extern VEK_EXPORT int notAFunction __asm__("vektraceRegisterMessages");
int notAFunction = 5;
}
