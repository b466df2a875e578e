// Says what it is, but has nothing to call.
#include "libvekstream/TracePlugin.h"

const TracePluginInfo vektracePluginInfo = makeTracePluginInfo("no function", "1");
