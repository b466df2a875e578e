#include "tools/vektrace/plugin/Plugin.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <string_view>

#include "tools/vektrace/plugin/ElfSymbol.h"
#include "tools/vektrace/plugin/trial.h"
#include "tools/vektrace/program/FileDescriptor.h"

namespace vek::program {

namespace {

constexpr char INFO[] = "vektracePluginInfo";
constexpr char REGISTER[] = "vektraceRegisterMessages";

// ---- The file ----------------------------------------------------------------------------------

/// Far above any shared object, so that a wrong name does not fill the memory.
constexpr uint64_t MAX_FILE = uint64_t{1} << 30;

size_t fileSize(int fd) {
    struct stat status = {};
    if (fstat(fd, &status) != 0) {
        throw PluginError(systemReason(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        throw PluginError("not a regular file");
    }
    if (static_cast<uint64_t>(status.st_size) > MAX_FILE) {
        throw PluginError("too large for a plugin");
    }
    return static_cast<size_t>(status.st_size);
}

byteVec_t readWhole(const std::string& path) {
    // Opening a pipe without a writer does not wait.
    const FileDescriptor file(path, O_RDONLY | O_NONBLOCK);
    byteVec_t bytes(fileSize(file.get()));
    size_t length = 0;
    while (length < bytes.size()) {
        const ssize_t count = read(file.get(), bytes.data() + length, bytes.size() - length);
        if (count < 0 && errno != EINTR) {
            throw PluginError(systemReason(errno));
        }
        if (count == 0) {
            break;
        }
        length += count > 0 ? static_cast<size_t>(count) : 0;
    }
    bytes.resize(length);
    return bytes;
}

byteVec_t readInfo(const std::string& path) {
    try {
        const byteVec_t file = readWhole(path);
        byteVec_t info = readElfObject(file, INFO, hostMachine());
        needElfFunction(file, REGISTER, hostMachine());
        needElfLoading(file, hostMachine());
        return info;
    } catch (const ElfError& e) {
        throw PluginError(e.what());
    }
}

// ---- What it says of itself --------------------------------------------------------------------

bool isPrintable(char c) { return c >= 0x20 && c <= 0x7e; }

/// A text that a field holds, whose rest is 0.
template <size_t fieldLength>
std::string textOf(const char (&field)[fieldLength], const char* what) {
    const std::string_view all(field, fieldLength);
    const size_t length = std::min(all.find('\0'), fieldLength);
    const bool ended = length < fieldLength && all.find_first_not_of('\0', length) == all.npos;
    if (length == 0 || !ended || !std::all_of(field, field + length, isPrintable)) {
        throw PluginError(std::string("its ") + what + " is no text");
    }
    return std::string(all.substr(0, length));
}

}  // namespace

Plugin describePlugin(const byteVec_t& bytes) {
    TracePluginInfo info = {};
    std::copy_n(bytes.begin(), std::min(bytes.size(), sizeof info),
                reinterpret_cast<uint8_t*>(&info));
    if (std::memcmp(info.magic, TRACE_PLUGIN_MAGIC, sizeof info.magic) != 0) {
        throw PluginError(std::string("its ") + INFO + " is not a plugin's");
    }
    if (info.interfaceVersion != TRACE_PLUGIN_INTERFACE) {
        throw PluginError("made for version " + std::to_string(info.interfaceVersion) +
                          " of the interface, this program has version " +
                          std::to_string(TRACE_PLUGIN_INTERFACE));
    }
    if (info.size != sizeof info || bytes.size() != sizeof info) {
        throw PluginError(std::string("its ") + INFO + " has a wrong length");
    }
    Plugin plugin;
    plugin.name = textOf(info.name, "name");
    plugin.version = textOf(info.version, "version");
    plugin.interfaceVersion = info.interfaceVersion;
    return plugin;
}

// ---- Loading -----------------------------------------------------------------------------------

namespace {

/// A name without a slash would be looked for in the folders of the system's libraries.
std::string explicitPath(const std::string& path) {
    return path.find('/') == path.npos ? "./" + path : path;
}

/// The reason alone, where the loader puts the name in front.
std::string loaderReason(const std::string& path) {
    const std::string text = dlerror();
    const std::string name = path + ": ";
    return text.compare(0, name.size(), name) == 0 ? text.substr(name.size()) : text;
}

void* load(const std::string& path) {
    // Everything is resolved now rather than in the middle of a trace, and for itself alone.
    void* const plugin = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (plugin == nullptr) {
        throw PluginError(loaderReason(path));
    }
    return plugin;
}

void* symbolOf(void* plugin, const char* name) {
    void* const symbol = dlsym(plugin, name);
    if (symbol == nullptr) {
        throw PluginError(std::string("it does not export ") + name);
    }
    return symbol;
}

bool registerMessage(void* loader, msgid_t id, pCreatorFunction creator) {
    Plugin& plugin = *static_cast<Plugin*>(loader);
    // Without a creator it would be a request to remove the one there is.
    const bool added = creator != nullptr && MessageBase::registerMessage(id, creator);
    (added ? plugin.identifiers : plugin.refused).push_back(id);
    return added;
}

/// Loads what has said `info` of itself, and has it register its messages for `plugin`.
void loadInto(Plugin& plugin, const std::string& path, const byteVec_t& info) {
    void* const object = load(explicitPath(path));
    if (std::memcmp(symbolOf(object, INFO), info.data(), info.size()) != 0) {
        throw PluginError("another file when it was loaded than when it was read");
    }
    using register_t = decltype(&vektraceRegisterMessages);
    const auto registerMessages = reinterpret_cast<register_t>(symbolOf(object, REGISTER));
    registerMessages({&plugin, &registerMessage});
}

/// Decodes a record without payload, as any trace may bring one. Whatever a creator throws is no
/// end of the process.
void decodeHeader(msgid_t id) {
    byteVec_t record(MessageBase::MO_BASE_DERIVED);
    uint16ToByteArray(&record[MessageBase::MO_MSGSIZE],
                      MessageBase::MO_BASE_DERIVED - MessageBase::MO_MSGID);
    uint16ToByteArray(&record[MessageBase::MO_MSGID], static_cast<uint16_t>(id));
    try {
        delete MessageBase::readFromByteArray(record.data(), record.size());
    } catch (...) {
        return;
    }
}

/// All that the program will do with it, as the system's loader trusts a file, and a damaged one
/// may end the process at any of these steps.
void loadAndDecode(const std::string& path, const byteVec_t& info) {
    Plugin plugin;
    loadInto(plugin, path, info);
    for (const msgid_t id : plugin.identifiers) {
        decodeHeader(id);
    }
}

/// Far more than any plugin needs.
constexpr std::chrono::seconds MAX_LOADING(10);

}  // namespace

TriedPlugin tryPlugin(const std::string& path, const std::atomic<bool>& stop) {
    const byteVec_t info = readInfo(path);
    TriedPlugin tried = {path, info, describePlugin(info)};
    try {
        runOnTrial([&] { loadAndDecode(path, info); }, MAX_LOADING, stop);
    } catch (const TrialError& e) {
        throw PluginError(std::string("loading it ") + e.what());
    }
    return tried;
}

Plugin loadPlugin(const TriedPlugin& tried) {
    Plugin plugin = tried.description;
    loadInto(plugin, tried.path, tried.info);
    return plugin;
}

}  // namespace vek::program
