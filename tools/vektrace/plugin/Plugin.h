/// @file
/// Loads one plugin: a shared object that is what libvekstream/TracePlugin.h says.
#pragma once

#include <atomic>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "libvekstream/TracePlugin.h"

namespace vek::program {

struct Plugin {
    std::string name;
    std::string version;
    uint32_t interfaceVersion = 0;
    std::vector<msgid_t> identifiers;  ///< that it registered, in its order
    std::vector<msgid_t> refused;      ///< that have another class, or were given none
};

/// The file is no plugin, or not one for this program; what() is the reason.
class PluginError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A plugin that can be loaded.
struct TriedPlugin {
    std::string path;
    byteVec_t info;      ///< its TracePluginInfo
    Plugin description;  ///< what this says, without identifiers
};

/// Reads and checks `path`, which is a file's name and nothing else: no folders are searched. None
/// of the plugin's code runs, its initialisers included, unless what it says of itself fits; then it
/// is loaded in a child process, which must end well. Throws PluginError, Failure where the file
/// cannot be opened, and Interrupted once `stop` is true.
///
/// The child has what is loaded here already, and runs the destructors of that too: try all plugins
/// before the first one is loaded.
TriedPlugin tryPlugin(const std::string& path, const std::atomic<bool>& stop);

/// Loads a plugin, which stays loaded, and has it register its messages. Throws PluginError.
Plugin loadPlugin(const TriedPlugin& tried);

/// What the bytes of a plugin's TracePluginInfo say. Throws PluginError where it does not fit.
Plugin describePlugin(const byteVec_t& bytes);

}  // namespace vek::program
