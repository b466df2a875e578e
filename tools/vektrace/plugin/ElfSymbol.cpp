#include "tools/vektrace/plugin/ElfSymbol.h"

#include <dlfcn.h>
#include <elf.h>

#include <cstddef>
#include <cstring>
#include <optional>
#include <vector>

#include "tools/vektrace/plugin/ElfFile.h"

namespace vek::program {

namespace {

template <class Elf>
class SymbolReader {
public:
    explicit SymbolReader(const byteVec_t& bytes) : file(bytes) {}

    byteVec_t read(const std::string& name) const {
        for (const symbol_t& symbol : exported(name)) {
            if (ELF64_ST_TYPE(symbol.st_info) == STT_OBJECT) {
                const ElfRange bytes = loaded(symbol.st_value, symbol.st_size);
                return byteVec_t(bytes.data, bytes.data + bytes.length);
            }
        }
        failMissing(name);
    }

    void needLoading() const {
        needMemory();
        needSections();
    }

    void needFunction(const std::string& name) const {
        const std::vector<symbol_t> symbols = exported(name);
        if (symbols.empty()) {
            failMissing(name);
        }
        for (const symbol_t& symbol : symbols) {
            if (ELF64_ST_TYPE(symbol.st_info) != STT_FUNC) {
                throw ElfError("its " + name + " is not a function");
            }
            const auto segment = loader(symbol.st_value, 1);
            if (!segment || (segment->p_flags & PF_X) == 0) {
                throw ElfError("its " + name + " is not in its code");
            }
        }
    }

private:
    using segment_t = typename Elf::segment_t;
    using section_t = typename Elf::section_t;
    using symbol_t = typename Elf::symbol_t;

    [[noreturn]] static void failMissing(const std::string& name) {
        throw ElfError("it does not export " + name);
    }

    /// More than one where they have versions.
    std::vector<symbol_t> exported(const std::string& name) const {
        const section_t table = file.dynamicSymbols();
        const ElfTable<symbol_t> symbols = file.symbolsOf(table);
        const ElfRange names = file.bytesOf(file.namesOf(table));
        std::vector<symbol_t> found;
        for (size_t i = 0; i < symbols.size(); ++i) {
            const symbol_t symbol = symbols[i];
            if (isExported(symbol) && isNameAt(names, symbol.st_name, name)) {
                found.push_back(symbol);
            }
        }
        return found;
    }

    /// Whether the name at `offset` of a table of names is `name`, with the 0 that ends it.
    static bool isNameAt(const ElfRange& names, uint64_t offset, const std::string& name) {
        const size_t length = name.size() + 1;
        return offset <= names.length && length <= names.length - offset &&
               std::memcmp(names.data + offset, name.c_str(), length) == 0;
    }

    static bool isExported(const symbol_t& symbol) {
        // The macros for 64 bits are the ones for 32 bits.
        const int binding = ELF64_ST_BIND(symbol.st_info);
        return symbol.st_shndx != SHN_UNDEF && (binding == STB_GLOBAL || binding == STB_WEAK);
    }

    void needMemory() const {
        std::optional<uint64_t> first;
        for (size_t i = 0; i < file.segments.size(); ++i) {
            const segment_t segment = file.segments[i];
            if (segment.p_type == PT_LOAD) {
                // The first one has the lowest address.
                first = first.value_or(segment.p_vaddr);
                needRange(*first, segment.p_vaddr, segment.p_memsz);
            } else if (segment.p_type == PT_TLS) {
                needRange(0, 0, segment.p_memsz);
            }
        }
    }

    static void needRange(uint64_t first, uint64_t begin, uint64_t length) {
        constexpr uint64_t MOST = 0x100000000;
        if (begin < first || begin - first > MOST || length > MOST - (begin - first)) {
            throw ElfError("its segments do not lie within 4 GiB of memory");
        }
    }

    void needSections() const {
        for (size_t i = 0; i < file.sections.size(); ++i) {
            const section_t section = file.sections[i];
            if ((section.sh_flags & SHF_ALLOC) != 0 && section.sh_type != SHT_NOBITS &&
                section.sh_size != 0 && !loader(section.sh_addr, section.sh_size)) {
                throw ElfError("its segments do not load all of its sections");
            }
        }
    }

    /// The segment that is loaded from the file to these addresses, if there is one.
    std::optional<segment_t> loader(uint64_t address, uint64_t length) const {
        for (size_t i = 0; i < file.segments.size(); ++i) {
            const segment_t segment = file.segments[i];
            if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
                address - segment.p_vaddr <= segment.p_filesz &&
                length <= segment.p_filesz - (address - segment.p_vaddr)) {
                return segment;
            }
        }
        return std::nullopt;
    }

    /// What is loaded from the file to `address`.
    ElfRange loaded(uint64_t address, uint64_t length) const {
        const auto segment = loader(address, length);
        if (!segment) {
            throw ElfError("the object is not in the file");
        }
        const ElfRange bytes =
            file.range(segment->p_offset, segment->p_filesz, "one of its segments");
        return {bytes.data + (address - segment->p_vaddr), static_cast<size_t>(length)};
    }

    const ElfFile<Elf> file;
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

void checkMachine(const byteVec_t& file, const ElfMachine& machine) {
    if (file.size() < IDENTITY_LENGTH || std::memcmp(file.data(), ELFMAG, SELFMAG) != 0) {
        throw ElfError("not a shared object");
    }
    if (!(machineOf(file.data()) == machine)) {
        throw ElfError("made for another kind of machine");
    }
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
    checkMachine(file, machine);
    return machine.wordClass == ELFCLASS32 ? SymbolReader<Elf32>(file).read(name)
                                           : SymbolReader<Elf64>(file).read(name);
}

void needElfFunction(const byteVec_t& file, const std::string& name, const ElfMachine& machine) {
    checkMachine(file, machine);
    if (machine.wordClass == ELFCLASS32) {
        SymbolReader<Elf32>(file).needFunction(name);
    } else {
        SymbolReader<Elf64>(file).needFunction(name);
    }
}

void needElfLoading(const byteVec_t& file, const ElfMachine& machine) {
    checkMachine(file, machine);
    if (machine.wordClass == ELFCLASS32) {
        SymbolReader<Elf32>(file).needLoading();
    } else {
        SymbolReader<Elf64>(file).needLoading();
    }
}

}  // namespace vek::program
