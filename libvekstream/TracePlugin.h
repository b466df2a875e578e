/// @file
/// What a shared object provides in order to be a plugin of the program `vektrace`: message classes
/// that the program then decodes.
///
///     const TracePluginInfo vektracePluginInfo = makeTracePluginInfo("ethernet", "1.0.0");
///
///     void vektraceRegisterMessages(const TracePluginRegistry& registry) noexcept {
///         registry.registerMessage(registry.loader, MSGID_ETHERNET_RX,
///                                  &EthernetMessage::readFromByteArray);
///     }
///
/// The program reads the first one out of the file, before any code of the plugin runs, and refuses
/// the plugin where it does not fit. Then it tries the plugin in a child process without input and
/// output: it loads it, calls the function and gives each creator a record without payload. Only
/// where this ends well, within 10 seconds, it does the same itself. It never unloads a plugin.
///
/// Program and plugin share one libvektrace. A plugin is linked with the shared library if that is
/// what the program uses. A program that is linked statically offers the whole library to its
/// plugins, which are linked without it: their references to it stay open until they are loaded.
#pragma once

#include <cstddef>
#include <cstdint>

#include "libvektrace/MessageBase.h"

/// Another number where what stands here, or the interface of libvektrace, is no longer the same.
inline constexpr uint32_t TRACE_PLUGIN_INTERFACE = 1;

/// Plain bytes in the byte order of the machine, without addresses, so that they mean the same in
/// the file and in memory.
struct TracePluginInfo {
    char magic[8];              ///< TRACE_PLUGIN_MAGIC
    uint32_t interfaceVersion;  ///< TRACE_PLUGIN_INTERFACE
    uint32_t size;              ///< of this structure
    char name[64];              ///< printable ASCII, not empty; the rest of the field is 0
    char version[32];           ///< likewise, the plugin's own
};
static_assert(sizeof(TracePluginInfo) == 112, "no padding, on any machine");

/// The first bytes of a TracePluginInfo, by which it is known.
inline constexpr char TRACE_PLUGIN_MAGIC[] = "VEKPLUG";

/// Texts that are empty or too long do not compile. That they are printable is not checked here.
template <size_t nameSize, size_t versionSize>
constexpr TracePluginInfo makeTracePluginInfo(const char (&name)[nameSize],
                                              const char (&version)[versionSize]) {
    TracePluginInfo info = {};
    static_assert(sizeof TRACE_PLUGIN_MAGIC == sizeof info.magic);
    static_assert(nameSize > 1 && versionSize > 1, "name and version are not empty");
    static_assert(nameSize <= sizeof info.name && versionSize <= sizeof info.version);
    for (size_t i = 0; i < sizeof info.magic; ++i) {
        info.magic[i] = TRACE_PLUGIN_MAGIC[i];
    }
    for (size_t i = 0; i < nameSize; ++i) {
        info.name[i] = name[i];
    }
    for (size_t i = 0; i < versionSize; ++i) {
        info.version[i] = version[i];
    }
    info.interfaceVersion = TRACE_PLUGIN_INTERFACE;
    info.size = sizeof info;
    return info;
}

/// Where a plugin announces its message classes. It is valid during the call that it is passed to.
struct TracePluginRegistry {
    void* loader;  ///< for the function below
    /// Adds a creator to MessageBase's registry. False: it is null, or another class has that
    /// identifier already and keeps it.
    bool (*registerMessage)(void* loader, msgid_t id, pCreatorFunction creator);
};

extern "C" {

/// What a plugin defines: a constant, and a function that is called once in a process, before other
/// threads use libvektrace.
/// @{
extern VEK_EXPORT const TracePluginInfo vektracePluginInfo;
VEK_EXPORT void vektraceRegisterMessages(const TracePluginRegistry& registry) noexcept;
/// @}

}  // extern "C"
