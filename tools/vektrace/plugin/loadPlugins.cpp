#include "tools/vektrace/plugin/loadPlugins.h"

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/vektrace/program/identifier.h"

namespace vek::program {

namespace {

/// For as long as the process, as what is loaded stays.
std::vector<LoadedPlugin>& plugins() {
    static std::vector<LoadedPlugin> all;
    return all;
}

/// "CAN (0x0001)".
std::string identifierText(msgid_t id) {
    const std::string_view name = identifierName(id);
    return name.empty() ? identifierNumber(id) : fmt::format("{} ({})", name, identifierNumber(id));
}

std::string refusalText(msgid_t id) {
    return MessageBase::creators.count(id) != 0
               ? fmt::format("{} has a message class already, which stays", identifierText(id))
               : fmt::format("it brings no message class for {}", identifierText(id));
}

void load(Session& session, const std::string& path) {
    Plugin plugin = loadPlugin(path);
    for (const msgid_t id : plugin.refused) {
        session.note(failureText(path, refusalText(id)));
    }
    plugins().push_back({path, std::move(plugin)});
}

bool tryToLoad(Session& session, const std::string& path) {
    try {
        load(session, path);
        return true;
    } catch (const PluginError& e) {
        session.error(failureText(path, e.what()));
    } catch (const Failure& e) {
        session.error(e.what());
    }
    return false;
}

}  // namespace

bool loadPlugins(Session& session) {
    bool complete = true;
    for (const std::string& path : session.plugins) {
        complete = tryToLoad(session, path) && complete;
    }
    return complete;
}

const std::vector<LoadedPlugin>& loadedPlugins() { return plugins(); }

}  // namespace vek::program
