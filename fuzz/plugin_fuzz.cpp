// Any bytes as a plugin's file: what is read out of it, without loading it, equals what a plain reader
// of the format finds, for both word lengths.

#include <optional>

#include "fuzz/support/Script.h"
#include "tools/vektrace/plugin/ElfSymbol.h"
#include "tools/vektrace/plugin/Plugin.h"

using namespace vek::program;

namespace {

constexpr char NAME[] = "vektracePluginInfo";
constexpr char FUNCTION[] = "vektraceRegisterMessages";

/// An offset or length that the file does not have.
struct Missing {};

/// The file once more, field by field at the offsets that the format's tables tell.
class PlainElf {
public:
    PlainElf(const byteVec_t& _file, bool littleEndian)
        : file(_file), little(littleEndian), wide(number(4, 1) == 2) {}

    /// Nothing where there is no such object.
    std::optional<byteVec_t> object(const std::string& name) const {
        try {
            return find(name);
        } catch (const Missing&) {
            return std::nullopt;
        }
    }

    /// Whether all that is exported under this name is code, and something is.
    bool hasFunction(const std::string& name) const {
        try {
            const Parts parts = readParts();
            size_t functions = 0;
            for (uint64_t i = 0; i < parts.symbols.count; ++i) {
                const uint64_t symbol = parts.symbols.at(i);
                const uint64_t info = number(symbol + (wide ? 4 : 12), 1);
                if (isExported(symbol) && isNamed(symbol, parts, name)) {
                    need(info % 16 == 2 && isCode(parts.segments, word(symbol, 4, 8)));
                    ++functions;
                }
            }
            return functions > 0;
        } catch (const Missing&) {
            return false;
        }
    }

    /// Whether what is in the sections that belong in memory gets there, and not too far apart.
    bool isLoadable() const {
        try {
            const Tables tables = readTables();
            needOneRange(tables.segments);
            for (uint64_t i = 0; i < tables.sections.count; ++i) {
                const uint64_t section = tables.sections.at(i);
                const bool inMemory = word(section, 8, 8) / 2 % 2 == 1;
                const bool inFile = number(section + 4, 4) != 8;
                const uint64_t length = word(section, 20, 32);
                if (inMemory && inFile && length > 0) {
                    need(loader(tables.segments, word(section, 12, 16), length).has_value());
                }
            }
            return true;
        } catch (const Missing&) {
            return false;
        }
    }

private:
    struct Table {
        uint64_t offset;
        uint64_t count;
        uint64_t entry;
        uint64_t at(uint64_t index) const { return offset + index * entry; }
    };

    uint64_t number(uint64_t at, unsigned width) const {
        needRange(at, width);
        uint64_t value = 0;
        for (unsigned i = 0; i < width; ++i) {
            const unsigned place = little ? width - 1 - i : i;
            value = value << 8 | file[static_cast<size_t>(at + place)];
        }
        return value;
    }
    /// A number that is as wide as a word of the machine; the offsets are for 32 and 64 bits.
    uint64_t word(uint64_t base, unsigned narrowAt, unsigned wideAt) const {
        return wide ? number(base + wideAt, 8) : number(base + narrowAt, 4);
    }
    void needRange(uint64_t at, uint64_t length) const {
        need(at <= file.size() && length <= file.size() - at);
    }
    static void need(bool condition) {
        if (!condition) {
            throw Missing();
        }
    }
    Table table(uint64_t offset, uint64_t count, uint64_t entry, uint64_t rightEntry) const {
        need(entry == rightEntry && count <= file.size());
        needRange(offset, count * entry);
        return {offset, count, entry};
    }

    struct Tables {
        Table segments;
        Table sections;
    };

    Tables readTables() const {
        needRange(0, wide ? 64 : 52);
        need(number(16, 2) == 3);  // a shared object
        const unsigned counts = wide ? 54 : 42;
        need(number(counts + 6, 2) > 0);  // has sections
        return {
            table(word(0, 28, 32), number(counts + 2, 2), number(counts, 2), wide ? 56 : 32),
            table(word(0, 32, 40), number(counts + 6, 2), number(counts + 4, 2), wide ? 64 : 40)};
    }

    /// What is loaded begins with the first one and ends 4 GiB behind that at most; what each thread
    /// gets has no more either.
    void needOneRange(const Table& segments) const {
        constexpr uint64_t LIMIT = 4294967296;
        std::optional<uint64_t> first;
        for (uint64_t i = 0; i < segments.count; ++i) {
            const uint64_t type = number(segments.at(i), 4);
            const uint64_t begin = word(segments.at(i), 8, 16);
            const uint64_t length = word(segments.at(i), 20, 40);
            need(length <= LIMIT || (type != 1 && type != 7));
            if (type == 1) {
                first = first.value_or(begin);
                need(begin >= *first && begin - *first <= LIMIT &&
                     begin - *first + length <= LIMIT);
            }
        }
    }

    struct Parts {
        Table segments;
        Table symbols;
        uint64_t names;
        uint64_t namesLength;
    };

    Parts readParts() const {
        const auto [segments, sections] = readTables();
        const uint64_t section = exports(sections);
        const uint64_t entry = wide ? 24 : 16;
        const Table symbols = table(word(section, 16, 24), word(section, 20, 32) / entry,
                                    word(section, 36, 56), entry);
        const uint64_t link = number(section + (wide ? 40 : 24), 4);
        need(link < sections.count);
        const uint64_t names = word(sections.at(link), 16, 24);
        const uint64_t namesLength = word(sections.at(link), 20, 32);
        needRange(names, namesLength);
        return {segments, symbols, names, namesLength};
    }

    byteVec_t find(const std::string& name) const {
        const Parts parts = readParts();
        for (uint64_t i = 0; i < parts.symbols.count; ++i) {
            const uint64_t symbol = parts.symbols.at(i);
            const uint64_t info = number(symbol + (wide ? 4 : 12), 1);
            if (isExported(symbol) && info % 16 == 1 && isNamed(symbol, parts, name)) {
                return loaded(parts.segments, word(symbol, 4, 8), word(symbol, 8, 16));
            }
        }
        throw Missing();
    }

    uint64_t exports(const Table& sections) const {
        for (uint64_t i = 0; i < sections.count; ++i) {
            if (number(sections.at(i) + 4, 4) == 11) {
                return sections.at(i);
            }
        }
        throw Missing();
    }

    /// Defined, and global or weak.
    bool isExported(uint64_t symbol) const {
        const uint64_t binding = number(symbol + (wide ? 4 : 12), 1) / 16;
        return number(symbol + (wide ? 6 : 14), 2) != 0 && (binding == 1 || binding == 2);
    }

    bool isNamed(uint64_t symbol, const Parts& parts, const std::string& name) const {
        const uint64_t begin = number(symbol, 4);
        for (size_t i = 0; i <= name.size(); ++i) {
            if (begin + i >= parts.namesLength ||
                number(parts.names + begin + i, 1) != static_cast<unsigned char>(name.c_str()[i])) {
                return false;
            }
        }
        return true;
    }

    /// Where the segment stands in the file that is loaded to these addresses.
    std::optional<uint64_t> loader(const Table& segments, uint64_t address, uint64_t length) const {
        for (uint64_t i = 0; i < segments.count; ++i) {
            const uint64_t segment = segments.at(i);
            const uint64_t begin = word(segment, 8, 16);
            const uint64_t inFile = word(segment, 16, 32);
            if (number(segment, 4) == 1 && address >= begin && address - begin <= inFile &&
                length <= inFile - (address - begin)) {
                return segment;
            }
        }
        return std::nullopt;
    }

    bool isCode(const Table& segments, uint64_t address) const {
        for (uint64_t i = 0; i < segments.count; ++i) {
            const uint64_t segment = segments.at(i);
            const uint64_t begin = word(segment, 8, 16);
            if (number(segment, 4) == 1 && address >= begin &&
                address - begin < word(segment, 16, 32)) {
                return number(segment + (wide ? 4 : 24), 4) % 2 == 1;
            }
        }
        return false;
    }

    byteVec_t loaded(const Table& segments, uint64_t address, uint64_t length) const {
        const auto segment = loader(segments, address, length);
        need(segment.has_value());
        const uint64_t offset = word(*segment, 4, 8);
        needRange(offset, word(*segment, 16, 32));
        const auto from =
            file.begin() + static_cast<ptrdiff_t>(offset + (address - word(*segment, 8, 16)));
        return {from, from + static_cast<ptrdiff_t>(length)};
    }

    const byteVec_t& file;
    const bool little;
    const bool wide;
};

/// Of a machine whose number is the one in the file, so that this is not what refuses it.
ElfMachine machineOf(const byteVec_t& file, uint8_t wordClass) {
    ElfMachine machine = hostMachine();
    machine.wordClass = wordClass;
    if (file.size() >= 20) {
        std::copy_n(file.data() + 18, 2, reinterpret_cast<uint8_t*>(&machine.machine));
    }
    return machine;
}

std::optional<byteVec_t> read(const byteVec_t& file, const ElfMachine& machine) {
    try {
        return readElfObject(file, NAME, machine);
    } catch (const ElfError& e) {
        require(*e.what() != '\0', "a refusal has a reason");
        return std::nullopt;
    }
}

bool hasFunction(const byteVec_t& file, const ElfMachine& machine) {
    try {
        needElfFunction(file, FUNCTION, machine);
        return true;
    } catch (const ElfError& e) {
        require(*e.what() != '\0', "a refusal has a reason");
        return false;
    }
}

bool isLoadable(const byteVec_t& file, const ElfMachine& machine) {
    try {
        needElfLoading(file, machine);
        return true;
    } catch (const ElfError& e) {
        require(*e.what() != '\0', "a refusal has a reason");
        return false;
    }
}

bool isOfMachine(const byteVec_t& file, const ElfMachine& machine) {
    const byteVec_t identity = {0x7F, 'E', 'L', 'F', machine.wordClass, machine.byteOrder};
    return file.size() >= 20 && std::equal(identity.begin(), identity.end(), file.begin());
}

std::optional<byteVec_t> plainRead(const byteVec_t& file, const ElfMachine& machine) {
    return isOfMachine(file, machine) ? PlainElf(file, machine.byteOrder == 1).object(NAME)
                                      : std::nullopt;
}

bool plainHasFunction(const byteVec_t& file, const ElfMachine& machine) {
    return isOfMachine(file, machine) &&
           PlainElf(file, machine.byteOrder == 1).hasFunction(FUNCTION);
}

bool plainLoads(const byteVec_t& file, const ElfMachine& machine) {
    return isOfMachine(file, machine) && PlainElf(file, machine.byteOrder == 1).isLoadable();
}

/// A text of printable ASCII in a field of `length` bytes at `at`, the rest of which is 0.
std::optional<std::string> plainText(const byteVec_t& bytes, size_t at, size_t length) {
    std::string text;
    while (length > 0 && bytes[at] != 0) {
        if (bytes[at] < 0x20 || bytes[at] > 0x7E) {
            return std::nullopt;
        }
        text += static_cast<char>(bytes[at++]);
        --length;
    }
    const bool ended = length > 0 && std::count(&bytes[at], &bytes[at] + length, 0) ==
                                         static_cast<ptrdiff_t>(length);
    return ended && !text.empty() ? std::optional(text) : std::nullopt;
}

/// Name and version; nothing where the bytes do not describe a plugin.
std::optional<std::string> plainDescription(const byteVec_t& bytes) {
    const std::string magic = "VEKPLUG";
    const uint32_t numbers[] = {1, 112};
    if (bytes.size() != 112 || !std::equal(magic.c_str(), magic.c_str() + 8, bytes.begin()) ||
        !std::equal(&bytes[8], &bytes[16], reinterpret_cast<const uint8_t*>(numbers))) {
        return std::nullopt;
    }
    const auto name = plainText(bytes, 16, 64);
    const auto version = plainText(bytes, 80, 32);
    return name && version ? std::optional(*name + '/' + *version) : std::nullopt;
}

std::optional<std::string> description(const byteVec_t& bytes) {
    try {
        const Plugin plugin = describePlugin(bytes);
        return plugin.name + '/' + plugin.version;
    } catch (const PluginError& e) {
        require(*e.what() != '\0', "a refusal has a reason");
        return std::nullopt;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const byteVec_t file(data, data + size);
    for (const uint8_t wordClass : {uint8_t{1}, uint8_t{2}}) {
        const ElfMachine machine = machineOf(file, wordClass);
        const std::optional<byteVec_t> object = read(file, machine);
        require(object == plainRead(file, machine), "an object is read as the format has it");
        require(hasFunction(file, machine) == plainHasFunction(file, machine),
                "a function is found as the format has it");
        require(isLoadable(file, machine) == plainLoads(file, machine),
                "what can be loaded is what the format has as such");
        if (object) {
            require(description(*object) == plainDescription(*object),
                    "a description is read as it stands");
        }
    }
    require(description(file) == plainDescription(file), "a description is read as it stands");
    return 0;
}
