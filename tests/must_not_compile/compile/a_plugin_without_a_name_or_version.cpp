// The program refuses a plugin whose name or version is empty: it must not come to that.
// error: name and version are not empty
#include "libvekstream/TracePlugin.h"

#ifdef FAULT
constexpr TracePluginInfo NAMELESS = makeTracePluginInfo("", "1.0.0");
constexpr TracePluginInfo WITHOUT_VERSION = makeTracePluginInfo("ethernet", "");
#endif
constexpr TracePluginInfo SHORT = makeTracePluginInfo("e", "1");
