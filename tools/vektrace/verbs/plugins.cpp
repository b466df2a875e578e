#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/vektrace/plugin/loadPlugins.h"
#include "tools/vektrace/program/escape.h"
#include "tools/vektrace/program/identifier.h"
#include "tools/vektrace/program/json.h"
#include "tools/vektrace/program/output.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

enum pluginsFormat_t : int { PLUGINS_TEXT, PLUGINS_JSON };

struct PluginsOptions {
    pluginsFormat_t format = PLUGINS_TEXT;
};

void writeText(TextOutput& output, const std::vector<LoadedPlugin>& plugins) {
    for (const auto& [path, plugin] : plugins) {
        std::string name;
        appendWithoutControls(name, path);
        output.print("{}: {} {}, interface {}\n", name, plugin.name, plugin.version,
                     plugin.interfaceVersion);
        for (const msgid_t id : plugin.identifiers) {
            const std::string_view idName = identifierName(id);
            output.print("  {}{}{}\n", identifierNumber(id), idName.empty() ? "" : " ", idName);
        }
    }
}

void addPlugin(jsonDocument_t& document, const LoadedPlugin& loaded) {
    const Plugin& plugin = loaded.plugin;
    document.StartObject();
    addMember(document, "file", jsonPath(loaded.path));
    addMember(document, "name", plugin.name);
    addMember(document, "version", plugin.version);
    addMember(document, "interface", uint64_t{plugin.interfaceVersion});
    document.Key("identifiers");
    document.StartArray();
    for (const msgid_t id : plugin.identifiers) {
        document.StartObject();
        addIdentifier(document, id);
        document.EndObject();
    }
    document.EndArray();
    document.EndObject();
}

void writeJson(TextOutput& output, const std::vector<LoadedPlugin>& plugins) {
    rapidjson::StringBuffer text;
    jsonDocument_t document(text);
    document.StartObject();
    addMember(document, "schema", schemaName("plugins"));
    document.Key("plugins");
    document.StartArray();
    for (const LoadedPlugin& plugin : plugins) {
        addPlugin(document, plugin);
    }
    document.EndArray();
    document.EndObject();
    output.print("{}\n", std::string_view(text.GetString(), text.GetSize()));
}

void listPlugins(const PluginsOptions& options, Session& session) {
    if (session.plugins.empty()) {
        throw UsageError("no plugin is named: --plugin FILE");
    }
    TextOutput output(session, {});
    (options.format == PLUGINS_JSON ? writeJson : writeText)(output, loadedPlugins());
    output.flush();
}

}  // namespace

void addPlugins(CLI::App& program, Session& session) {
    const auto options = std::make_shared<PluginsOptions>();
    CLI::App& verb = addVerb(program, session, "plugins", "List what the plugins named provide",
                             [options, &session] { listPlugins(*options, session); });
    addChoice<pluginsFormat_t>(verb, "--format", options->format,
                               {{"text", PLUGINS_TEXT}, {"json", PLUGINS_JSON}},
                               "Text, or one JSON document.");
    verb.footer(
        "A plugin is a shared object that brings message classes, so that records of their "
        "identifiers are decoded. It is named by its path and never looked for. What it says of "
        "itself is read from the file and checked before any of its code runs, and it stays "
        "loaded. An identifier that has a message class already keeps it.");
}

}  // namespace vek::program
