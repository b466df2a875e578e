#include "tools/vektrace/plugin/loadPlugins.h"

#include <fmt/format.h>

#include <functional>
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

void load(Session& session, const TriedPlugin& tried) {
    Plugin plugin = loadPlugin(tried);
    for (const msgid_t id : plugin.refused) {
        session.note(failureText(tried.path, refusalText(id)));
    }
    plugins().push_back({tried.path, std::move(plugin)});
}

/// Whether the step was done; if not the session is told why.
bool isDone(Session& session, const std::string& path, const std::function<void()>& step) {
    try {
        step();
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
    std::vector<TriedPlugin> tried;
    bool complete = true;
    for (const std::string& path : session.plugins) {
        const auto step = [&] { tried.push_back(tryPlugin(path, *session.stopFlag())); };
        complete = isDone(session, path, step) && complete;
    }
    for (const TriedPlugin& plugin : tried) {
        complete = isDone(session, plugin.path, [&] { load(session, plugin); }) && complete;
    }
    return complete;
}

const std::vector<LoadedPlugin>& loadedPlugins() { return plugins(); }

}  // namespace vek::program
