#include "tools/vektrace/plugin/Plugin.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

using namespace vek::program;

namespace {

byteVec_t bytesOf(const TracePluginInfo& info) {
    byteVec_t bytes(sizeof info);
    std::memcpy(bytes.data(), &info, sizeof info);
    return bytes;
}

constexpr TracePluginInfo INFO = makeTracePluginInfo("a name", "1.2");

std::string refusal(const byteVec_t& bytes) {
    try {
        return "it was taken: " + describePlugin(bytes).name;
    } catch (const PluginError& e) {
        return e.what();
    }
}

std::string refusal(const std::function<void(TracePluginInfo&)>& spoil) {
    TracePluginInfo info = INFO;
    spoil(info);
    return refusal(bytesOf(info));
}

}  // namespace

TEST(PluginInfo, SaysNameAndVersions) {
    const Plugin plugin = describePlugin(bytesOf(INFO));
    EXPECT_EQ(plugin.name, "a name");
    EXPECT_EQ(plugin.version, "1.2");
    EXPECT_EQ(plugin.interfaceVersion, TRACE_PLUGIN_INTERFACE);
}

TEST(PluginInfo, TakesTheLongestTexts) {
    char name[sizeof INFO.name];
    std::memset(name, 'x', sizeof name);
    name[sizeof name - 1] = '\0';
    EXPECT_EQ(describePlugin(bytesOf(makeTracePluginInfo(name, "1"))).name,
              std::string(sizeof name - 1, 'x'));
}

TEST(PluginInfo, IsRefusedWithoutItsMagic) {
    const char* const reason = "its vektracePluginInfo is not a plugin's";
    EXPECT_EQ(refusal([](TracePluginInfo& info) { info.magic[7] = 'x'; }), reason);
    EXPECT_EQ(refusal(byteVec_t()), reason);
    EXPECT_EQ(refusal(byteVec_t(7, 'V')), reason);
}

TEST(PluginInfo, IsRefusedWithAnotherVersionOfTheInterface) {
    EXPECT_EQ(refusal([](TracePluginInfo& info) { info.interfaceVersion = 2; }),
              "made for version 2 of the interface, this program has version 1");
}

TEST(PluginInfo, OfAnotherVersionIsToldAsSuchWhateverItsLength) {
    TracePluginInfo info = INFO;
    info.interfaceVersion = 7;
    byteVec_t bytes = bytesOf(info);
    bytes.resize(bytes.size() + 100);
    EXPECT_EQ(refusal(bytes), "made for version 7 of the interface, this program has version 1");
    bytes.resize(16);
    EXPECT_EQ(refusal(bytes), "made for version 7 of the interface, this program has version 1");
}

TEST(PluginInfo, IsRefusedWithAnotherLength) {
    const char* const reason = "its vektracePluginInfo has a wrong length";
    EXPECT_EQ(refusal([](TracePluginInfo& info) { ++info.size; }), reason);
    byteVec_t bytes = bytesOf(INFO);
    bytes.pop_back();
    EXPECT_EQ(refusal(bytes), reason);
    bytes.resize(sizeof INFO + 1);
    EXPECT_EQ(refusal(bytes), reason);
}

TEST(PluginInfo, IsRefusedWithTextsThatAreNone) {
    EXPECT_EQ(refusal([](TracePluginInfo& info) { info.name[0] = '\0'; }), "its name is no text");
    EXPECT_EQ(refusal([](TracePluginInfo& info) { info.name[1] = '\x1b'; }), "its name is no text");
    EXPECT_EQ(refusal([](TracePluginInfo& info) { info.name[1] = '\xe4'; }), "its name is no text");
    EXPECT_EQ(refusal([](TracePluginInfo& info) { info.name[63] = 'x'; }), "its name is no text");
    EXPECT_EQ(
        refusal([](TracePluginInfo& info) { std::memset(info.version, '1', sizeof info.version); }),
        "its version is no text");
}
