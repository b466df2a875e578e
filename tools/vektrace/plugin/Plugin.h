/// @file
/// Loads one plugin: a shared object that is what libvekstream/TracePlugin.h says.
#pragma once

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

/// Reads, checks and loads `path`, which is a file's name and nothing else: no folders are
/// searched. None of the plugin's code runs, its initialisers included, unless what it says of
/// itself fits; then all of it is tried in a child process first. It stays loaded. Throws PluginError, and Failure where the file cannot be opened.
Plugin loadPlugin(const std::string& path);

/// What the bytes of a plugin's TracePluginInfo say. Throws PluginError where it does not fit.
Plugin describePlugin(const byteVec_t& bytes);

}  // namespace vek::program
