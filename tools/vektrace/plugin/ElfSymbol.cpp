#include "tools/vektrace/plugin/ElfSymbol.h"

#include <dlfcn.h>
#include <elf.h>

#include <cstring>
#include <type_traits>

namespace vek::program {

namespace {

struct Elf32 {
    using header_t = Elf32_Ehdr;
    using segment_t = Elf32_Phdr;
    using section_t = Elf32_Shdr;
    using symbol_t = Elf32_Sym;
};

struct Elf64 {
    using header_t = Elf64_Ehdr;
    using segment_t = Elf64_Phdr;
    using section_t = Elf64_Shdr;
    using symbol_t = Elf64_Sym;
};

/// Part of the file, all of which is there.
struct Range {
    const uint8_t* data;
    size_t length;
};

/// The one place that decides whether bytes are there.
Range rangeOf(const byteVec_t& file, uint64_t offset, uint64_t length, const char* what) {
    if (offset > file.size() || length > file.size() - offset) {
        throw ElfError(std::string(what) + " reaches beyond the end of the file");
    }
    return {file.data() + offset, static_cast<size_t>(length)};
}

template <class T>
T entryOf(const Range& table, size_t index) {
    T entry;
    std::memcpy(&entry, table.data + index * sizeof entry, sizeof entry);
    return entry;
}

/// A table whose entries must have the length that the format gives them.
template <class T>
Range tableOf(const byteVec_t& file, uint64_t offset, uint64_t count, uint64_t entryLength,
              const char* what) {
    if (entryLength != sizeof(T)) {
        throw ElfError(std::string(what) + " has entries of a wrong length");
    }
    if (count > file.size() / sizeof(T)) {
        throw ElfError(std::string(what) + " reaches beyond the end of the file");
    }
    return rangeOf(file, offset, count * sizeof(T), what);
}

template <class Elf>
class Object {
public:
    explicit Object(const byteVec_t& _file)
        : file(_file),
          header(entryOf<typename Elf::header_t>(
              rangeOf(file, 0, sizeof(typename Elf::header_t), "its header"), 0)) {
        if (header.e_type != ET_DYN) {
            throw ElfError("not a shared object");
        }
        segments = tableOf<segment_t>(file, header.e_phoff, header.e_phnum, header.e_phentsize,
                                      "its table of segments");
        sections = tableOf<section_t>(file, header.e_shoff, header.e_shnum, header.e_shentsize,
                                      "its table of sections");
    }

    byteVec_t read(const std::string& name) const {
        const symbol_t symbol = find(name);
        const Range bytes = loaded(symbol.st_value, symbol.st_size);
        return byteVec_t(bytes.data, bytes.data + bytes.length);
    }

private:
    using segment_t = typename Elf::segment_t;
    using section_t = typename Elf::section_t;
    using symbol_t = typename Elf::symbol_t;

    symbol_t find(const std::string& name) const {
        const section_t table = dynamicSymbols();
        const Range symbols =
            tableOf<symbol_t>(file, table.sh_offset, table.sh_size / sizeof(symbol_t),
                              table.sh_entsize, "its table of symbols");
        const Range names = namesOf(table);
        for (size_t i = 0; i < symbols.length / sizeof(symbol_t); ++i) {
            const auto symbol = entryOf<symbol_t>(symbols, i);
            if (isDefinedObject(symbol) && isAt(names, symbol.st_name, name)) {
                return symbol;
            }
        }
        throw ElfError("it does not export " + name);
    }

    section_t dynamicSymbols() const {
        for (size_t i = 0; i < header.e_shnum; ++i) {
            const auto section = entryOf<section_t>(sections, i);
            if (section.sh_type == SHT_DYNSYM) {
                return section;
            }
        }
        throw ElfError("it has no table of exported symbols");
    }

    Range namesOf(const section_t& table) const {
        if (table.sh_link >= header.e_shnum) {
            throw ElfError("its symbols have no names");
        }
        const auto names = entryOf<section_t>(sections, table.sh_link);
        return rangeOf(file, names.sh_offset, names.sh_size, "its table of names");
    }

    static bool isDefinedObject(const symbol_t& symbol) {
        // The macros for 64 bits are the ones for 32 bits.
        const int binding = ELF64_ST_BIND(symbol.st_info);
        return symbol.st_shndx != SHN_UNDEF && ELF64_ST_TYPE(symbol.st_info) == STT_OBJECT &&
               (binding == STB_GLOBAL || binding == STB_WEAK);
    }

    static bool isAt(const Range& names, uint64_t offset, const std::string& name) {
        const size_t length = name.size() + 1;  // with the 0 that ends it
        return offset <= names.length && length <= names.length - offset &&
               std::memcmp(names.data + offset, name.c_str(), length) == 0;
    }

    /// What is loaded from the file to `address`.
    Range loaded(uint64_t address, uint64_t length) const {
        for (size_t i = 0; i < header.e_phnum; ++i) {
            const auto segment = entryOf<segment_t>(segments, i);
            if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
                address - segment.p_vaddr <= segment.p_filesz &&
                length <= segment.p_filesz - (address - segment.p_vaddr)) {
                const Range bytes =
                    rangeOf(file, segment.p_offset, segment.p_filesz, "one of its segments");
                return {bytes.data + (address - segment.p_vaddr), static_cast<size_t>(length)};
            }
        }
        throw ElfError("the object is not in the file");
    }

    const byteVec_t& file;
    const typename Elf::header_t header;
    Range segments{};
    Range sections{};
};

/// What the fields have in common that tell class, byte order and machine.
constexpr size_t MACHINE = offsetof(Elf64_Ehdr, e_machine);
static_assert(MACHINE == offsetof(Elf32_Ehdr, e_machine));
constexpr size_t IDENTITY_LENGTH = MACHINE + sizeof(uint16_t);

ElfMachine machineOf(const uint8_t* identity) {
    ElfMachine result = {identity[EI_CLASS], identity[EI_DATA], 0};
    std::memcpy(&result.machine, identity + MACHINE, sizeof result.machine);
    return result;
}

}  // namespace

ElfMachine hostMachine() {
    Dl_info self = {};
    if (dladdr(reinterpret_cast<const void*>(&hostMachine), &self) == 0) {
        throw ElfError("this program cannot load plugins");
    }
    // Where an object begins in memory its header is.
    return machineOf(static_cast<const uint8_t*>(self.dli_fbase));
}

byteVec_t readElfObject(const byteVec_t& file, const std::string& name, const ElfMachine& machine) {
    if (file.size() < IDENTITY_LENGTH || std::memcmp(file.data(), ELFMAG, SELFMAG) != 0) {
        throw ElfError("not a shared object");
    }
    if (!(machineOf(file.data()) == machine)) {
        throw ElfError("made for another kind of machine");
    }
    return machine.wordClass == ELFCLASS32 ? Object<Elf32>(file).read(name)
                                           : Object<Elf64>(file).read(name);
}

}  // namespace vek::program
