/// @file
/// Loads the plugins that the command line names.
///
/// Threads: before there are others.
#pragma once

#include <string>
#include <vector>

#include "tools/vektrace/plugin/Plugin.h"
#include "tools/vektrace/program/Session.h"

namespace vek::program {

/// Loads those of --plugin in their order. The session is told of what is refused, and of
/// identifiers that had a message class before. False: not all of them were loaded.
bool loadPlugins(Session& session);

struct LoadedPlugin {
    std::string path;
    Plugin plugin;
};

/// Those that were loaded so far.
const std::vector<LoadedPlugin>& loadedPlugins();

}  // namespace vek::program
