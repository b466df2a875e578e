/// @file
/// Whether the headers of a shared object's file fit the file and each other.
///
/// The same things are said several times in such a file: for the linker as sections, and for the
/// loader as segments and in the dynamic table. Where both say the same, what the loader will do is
/// what the linker meant.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/vektrace/plugin/ElfFile.h"
#include "tools/vektrace/plugin/ElfHash.h"
#include "tools/vektrace/plugin/ElfVersions.h"

namespace vek::program {

template <class Elf>
class ElfLayout {
public:
    explicit ElfLayout(const byteVec_t& bytes) : file(bytes) {}

    /// Throws ElfError.
    void check() {
        for (size_t i = 0; i < file.segments.size(); ++i) {
            checkSegment(file.segments[i]);
        }
        for (size_t i = 0; i < file.segments.size(); ++i) {
            checkPlace(file.segments[i]);
        }
        for (size_t i = 0; i < file.sections.size(); ++i) {
            checkSection(file.sections[i]);
        }
        checkFrames();
        readDynamic();
        checkDynamic();
        checkSymbols();
    }

private:
    using segment_t = typename Elf::segment_t;
    using section_t = typename Elf::section_t;
    using dynamic_t = typename Elf::dynamic_t;
    using symbol_t = typename Elf::symbol_t;
    using word_t = typename Elf::word_t;

    /// The last address. Sums of what lies below it do not wrap around.
    static constexpr uint64_t ALL = std::numeric_limits<decltype(segment_t::p_vaddr)>::max();

    [[noreturn]] static void fail(const std::string& reason) { throw ElfError(reason); }

    // ---- Segments ------------------------------------------------------------------------------

    void checkSegment(const segment_t& segment) {
        if (segment.p_type == PT_NULL) {
            return;
        }
        file.range(segment.p_offset, segment.p_filesz, "one of its segments");
        if (segment.p_type == PT_LOAD) {
            addLoaded(segment);
        } else if (segment.p_type == PT_TLS) {
            addThreadData(segment);
        }
    }

    void addLoaded(const segment_t& segment) {
        static const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
        if (segment.p_filesz > segment.p_memsz || segment.p_memsz > ALL - segment.p_vaddr ||
            segment.p_vaddr % page != segment.p_offset % page) {
            fail("one of its segments cannot be loaded");
        }
        if (!loads.empty()) {
            const segment_t& before = loads.back();
            const uint64_t end = before.p_vaddr + before.p_memsz;
            if (end == 0 || segment.p_vaddr < end || segment.p_vaddr / page <= (end - 1) / page) {
                fail("its segments overlap");
            }
        }
        loads.push_back(segment);
        checkMemory(segment.p_vaddr - loads.front().p_vaddr, segment.p_memsz);
    }

    /// Some systems reserve what is asked for page by page, which may take very long.
    static void checkMemory(uint64_t before, uint64_t length) {
        constexpr uint64_t MOST = 0x100000000;
        if (before > MOST || length > MOST - before) {
            fail("it takes more than 4 GiB of memory");
        }
    }

    void addThreadData(const segment_t& segment) {
        constexpr uint64_t MOST_ALIGNED = 0x10000;
        if (threadData || !isPowerOfTwo(segment.p_align) || segment.p_align > MOST_ALIGNED ||
            segment.p_memsz > ALL - segment.p_vaddr) {
            fail("its data of threads cannot be loaded");
        }
        checkMemory(0, segment.p_memsz);
        threadData = segment;
    }

    /// Those that the loader, or who throws an exception, looks for in memory.
    bool isRead(const segment_t& segment) const {
        switch (segment.p_type) {
            case PT_DYNAMIC:
            case PT_NOTE:
            case PT_PHDR:
            case PT_TLS:
            case PT_GNU_EH_FRAME:
            case PT_GNU_RELRO:
            case PT_GNU_PROPERTY:
                return true;
            case PT_ARM_EXIDX:
                return file.header.e_machine == EM_ARM;
            default:
                return false;
        }
    }

    /// The segment that brings bytes of the file to these addresses, if there is one.
    const segment_t* loadedAt(uint64_t address, uint64_t length) const {
        const auto load = std::find_if(loads.begin(), loads.end(), [&](const segment_t& each) {
            return address >= each.p_vaddr && address - each.p_vaddr <= each.p_filesz &&
                   length <= each.p_filesz - (address - each.p_vaddr);
        });
        return load == loads.end() ? nullptr : &*load;
    }

    /// The same for bytes that lie in the file at `offset`.
    const segment_t* loader(uint64_t address, uint64_t offset, uint64_t length) const {
        const segment_t* const load = loadedAt(address, length);
        return load != nullptr && offset == load->p_offset + (address - load->p_vaddr) ? load
                                                                                       : nullptr;
    }

    void checkPlace(const segment_t& segment) const {
        if (isRead(segment) && segment.p_memsz > 0 &&
            loader(segment.p_vaddr, segment.p_offset, segment.p_filesz) == nullptr) {
            fail("one of its segments is not loaded to where it is looked for");
        }
        if (segment.p_type == PT_PHDR &&
            (segment.p_offset != file.header.e_phoff ||
             segment.p_filesz != file.segments.size() * sizeof(segment_t))) {
            fail("its table of segments is not where it is looked for");
        }
        // Data of threads may end with what is 0 and not in the file, and pages are made read-only
        // as wholes.
        const bool anyLength = segment.p_type == PT_TLS || segment.p_type == PT_GNU_RELRO;
        if (isRead(segment) && !anyLength && segment.p_memsz != segment.p_filesz) {
            fail("one of its segments has two lengths");
        }
    }

    // ---- Sections ------------------------------------------------------------------------------

    void checkSection(const section_t& section) const {
        if ((section.sh_flags & SHF_ALLOC) == 0 || section.sh_size == 0) {
            return;
        }
        if ((section.sh_flags & SHF_TLS) != 0) {
            checkThreadSection(section);
        }
        if (section.sh_type != SHT_NOBITS) {
            file.range(section.sh_offset, section.sh_size, "one of its sections");
            checkAccess(section, loader(section.sh_addr, section.sh_offset, section.sh_size));
        } else if ((section.sh_flags & SHF_TLS) == 0) {
            checkAccess(section, zeroed(section));
        }
    }

    static void checkAccess(const section_t& section, const segment_t* load) {
        const uint32_t needed = PF_R | ((section.sh_flags & SHF_WRITE) != 0 ? PF_W : 0U) |
                                ((section.sh_flags & SHF_EXECINSTR) != 0 ? PF_X : 0U);
        if (load == nullptr || (load->p_flags & needed) != needed) {
            fail("its segments do not load all of its sections");
        }
    }

    /// The segment in which the section, which has no bytes in the file, is all 0.
    const segment_t* zeroed(const section_t& section) const {
        for (const segment_t& load : loads) {
            if (section.sh_addr < load.p_vaddr) {
                continue;
            }
            const uint64_t within = section.sh_addr - load.p_vaddr;
            if (within <= load.p_memsz && section.sh_size <= load.p_memsz - within) {
                const uint64_t end = std::min<uint64_t>(within + section.sh_size, load.p_filesz);
                return within >= end || isZero(load.p_offset + within, end - within) ? &load
                                                                                     : nullptr;
            }
        }
        return nullptr;
    }

    bool isZero(uint64_t offset, uint64_t length) const {
        const ElfRange bytes = file.range(offset, length, "one of its segments");
        return std::all_of(bytes.data, bytes.data + bytes.length,
                           [](uint8_t byte) { return byte == 0; });
    }

    void checkThreadSection(const section_t& section) const {
        if (!threadData || section.sh_addr < threadData->p_vaddr ||
            section.sh_addr - threadData->p_vaddr > threadData->p_memsz ||
            section.sh_size > threadData->p_memsz - (section.sh_addr - threadData->p_vaddr)) {
            fail("its segments do not load all of its sections");
        }
    }

    /// By name: what is called so is what exceptions need, and what is written after loading.
    void checkFrames() const {
        const ElfRange names = file.bytesOf(file.sectionNames());
        uint64_t threadEnd = 0;
        for (size_t i = 0; i < file.sections.size(); ++i) {
            const section_t section = file.sections[i];
            if ((section.sh_flags & SHF_ALLOC) == 0) {
                continue;
            }
            if (isNameAt(names, section.sh_name, ".eh_frame_hdr")) {
                needSegment(PT_GNU_EH_FRAME, section);
            } else if (isNameAt(names, section.sh_name, ".ARM.exidx")) {
                needSegment(PT_ARM_EXIDX, section);
            } else if (isNameAt(names, section.sh_name, ".data") ||
                       isNameAt(names, section.sh_name, ".bss")) {
                checkWritable(section);
            }
            if ((section.sh_flags & SHF_TLS) != 0) {
                threadEnd =
                    std::max<uint64_t>(threadEnd, uint64_t{section.sh_addr} + section.sh_size);
            }
        }
        if (threadData &&
            threadData->p_vaddr + threadData->p_memsz > threadEnd + threadData->p_align) {
            fail("its data of threads cannot be loaded");
        }
    }

    /// The one segment of this type, which must be the section.
    segment_t needSegment(uint32_t type, const section_t& section) const {
        std::optional<segment_t> found;
        for (size_t i = 0; i < file.segments.size(); ++i) {
            const segment_t segment = file.segments[i];
            if (segment.p_type == type) {
                if (found || segment.p_vaddr != section.sh_addr ||
                    segment.p_filesz != section.sh_size) {
                    fail("its segments are not where its sections are");
                }
                found = segment;
            }
        }
        if (!found) {
            fail("a segment is missing");
        }
        return *found;
    }

    /// What is made read-only behind the relocations must not be on a page of this section.
    void checkWritable(const section_t& section) const {
        static const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
        for (size_t i = 0; i < file.segments.size(); ++i) {
            const segment_t segment = file.segments[i];
            if (segment.p_type != PT_GNU_RELRO || section.sh_size == 0) {
                continue;
            }
            if (segment.p_memsz > ALL - segment.p_vaddr) {
                fail("one of its segments cannot be loaded");
            }
            const uint64_t begin = segment.p_vaddr / page * page;
            const uint64_t end = (segment.p_vaddr + segment.p_memsz) / page * page;
            if (begin < uint64_t{section.sh_addr} + section.sh_size && section.sh_addr < end) {
                fail("its data would be made read-only");
            }
        }
    }

    // ---- The dynamic table ---------------------------------------------------------------------

    void readDynamic() {
        for (size_t i = 0; i < file.sections.size(); ++i) {
            const section_t section = file.sections[i];
            if (section.sh_type == SHT_DYNAMIC) {
                const segment_t segment = needSegment(PT_DYNAMIC, section);
                const auto table = file.template table<dynamic_t>(
                    segment.p_offset, segment.p_filesz / sizeof(dynamic_t), sizeof(dynamic_t),
                    "its dynamic table");
                readEntries(table);
                return;
            }
        }
        fail("it has no dynamic table");
    }

    void readEntries(const ElfTable<dynamic_t>& table) {
        for (size_t i = 0; i < table.size(); ++i) {
            const dynamic_t entry = table[i];
            const int64_t tag = entry.d_tag;
            if (tag == DT_NULL) {
                return;
            }
            if (tag == DT_NEEDED || tag == DT_AUXILIARY || tag == DT_FILTER) {
                libraries.push_back(entry.d_un.d_val);
            } else {
                twice = twice || dynamic.count(tag) != 0;
                dynamic[tag] = entry.d_un.d_val;
            }
        }
        fail("its dynamic table has no end");
    }

    [[noreturn]] static void failDynamic() {
        fail("its dynamic table points to what is not there");
    }

    std::optional<uint64_t> valueOf(int64_t tag) const {
        const auto entry = dynamic.find(tag);
        return entry == dynamic.end() ? std::nullopt : std::optional<uint64_t>(entry->second);
    }

    void need(int64_t tag, uint64_t value) const {
        if (valueOf(tag) != value) {
            failDynamic();
        }
    }

    void checkDynamic() const {
        checkNames();
        checkRelocations();
        checkFunctions(DT_INIT_ARRAY, DT_INIT_ARRAYSZ, SHT_INIT_ARRAY);
        checkFunctions(DT_FINI_ARRAY, DT_FINI_ARRAYSZ, SHT_FINI_ARRAY);
        checkFunction(DT_INIT, ".init");
        checkFunction(DT_FINI, ".fini");
        checkHashes();
        checkVersions();
        const auto slots = valueOf(DT_PLTGOT);
        if (slots && loadedAt(*slots, sizeof(word_t)) == nullptr) {
            failDynamic();
        }
        if (twice) {
            fail("its dynamic table says something twice");
        }
    }

    /// The symbols and their names are those of the sections, and every name is one of these.
    void checkNames() const {
        const section_t symbols = file.dynamicSymbols();
        const section_t names = file.namesOf(symbols);
        const ElfRange text = file.bytesOf(names);
        need(DT_SYMTAB, symbols.sh_addr);
        need(DT_SYMENT, sizeof(typename Elf::symbol_t));
        need(DT_STRTAB, names.sh_addr);
        need(DT_STRSZ, names.sh_size);
        if (text.length == 0 || text.data[text.length - 1] != 0) {
            fail("its table of names has no end");
        }
        const auto table = file.symbolsOf(symbols);
        for (size_t i = 0; i < table.size(); ++i) {
            checkName(table[i].st_name, text);
        }
        for (const uint64_t name : libraries) {
            checkName(name, text);
        }
        for (const int64_t tag : {DT_SONAME, DT_RPATH, DT_RUNPATH}) {
            checkName(valueOf(tag).value_or(0), text);
        }
    }

    static void checkName(uint64_t offset, const ElfRange& names) {
        if (offset >= names.length) {
            fail("a name is not in its table of names");
        }
    }

    // ---- Relocations ---------------------------------------------------------------------------

    void checkRelocations() const {
        checkTable(DT_RELA, DT_RELASZ, SHT_RELA);
        checkTable(DT_REL, DT_RELSZ, SHT_REL);
        checkTable(RELR, RELR_LENGTH, RELR_SECTION);
        checkEntries(DT_RELA, DT_RELAENT, sizeof(typename Elf::rela_t));
        checkEntries(DT_REL, DT_RELENT, sizeof(typename Elf::rel_t));
        checkEntries(RELR, RELR_ENTRY, sizeof(word_t));
        const uint64_t type = valueOf(DT_PLTREL).value_or(0);
        if (valueOf(DT_JMPREL).has_value() != (type == DT_REL || type == DT_RELA)) {
            failDynamic();
        }
        checkTable(DT_JMPREL, DT_PLTRELSZ, type == DT_RELA ? SHT_RELA : SHT_REL);
        for (size_t i = 0; i < file.sections.size(); ++i) {
            checkApplied(file.sections[i]);
        }
        checkRelative<typename Elf::rela_t>(DT_RELA, DT_RELASZ, DT_RELACOUNT);
        checkRelative<typename Elf::rel_t>(DT_REL, DT_RELSZ, DT_RELCOUNT);
    }

    // Not in every system's elf.h.
    static constexpr int64_t RELR_LENGTH = 35;
    static constexpr int64_t RELR = 36;
    static constexpr int64_t RELR_ENTRY = 37;
    static constexpr uint32_t RELR_SECTION = 19;

    /// Such a table is one or several sections as wholes.
    void checkTable(int64_t addressTag, int64_t lengthTag, uint32_t type) const {
        const auto address = valueOf(addressTag);
        const auto length = valueOf(lengthTag);
        if (address.has_value() != length.has_value()) {
            failDynamic();
        }
        if (!address || *length == 0) {
            return;
        }
        bool begins = false;
        bool ends = false;
        for (size_t i = 0; i < file.sections.size(); ++i) {
            const section_t section = file.sections[i];
            if (isLoaded(section) && section.sh_type == type) {
                begins = begins || section.sh_addr == *address;
                ends =
                    ends || (section.sh_addr >= *address && section.sh_addr - *address <= *length &&
                             section.sh_size == *length - (section.sh_addr - *address));
            }
        }
        if (!begins || !ends || loadedAt(*address, *length) == nullptr) {
            failDynamic();
        }
    }

    void checkEntries(int64_t addressTag, int64_t lengthTag, uint64_t length) const {
        if (valueOf(addressTag)) {
            need(lengthTag, length);
        }
    }

    /// A section with relocations is in one of the tables.
    void checkApplied(const section_t& section) const {
        if (isLoaded(section) && (section.sh_type == SHT_REL || section.sh_type == SHT_RELA) &&
            !isWithin(section, DT_REL, DT_RELSZ) && !isWithin(section, DT_RELA, DT_RELASZ) &&
            !isWithin(section, DT_JMPREL, DT_PLTRELSZ)) {
            failDynamic();
        }
    }

    bool isWithin(const section_t& section, int64_t addressTag, int64_t lengthTag) const {
        const uint64_t address = valueOf(addressTag).value_or(ALL);
        const uint64_t length = valueOf(lengthTag).value_or(0);
        return section.sh_addr >= address && section.sh_addr - address <= length &&
               section.sh_size <= length - (section.sh_addr - address);
    }

    /// As many at the begin as this says are of one kind and without a symbol.
    template <class T>
    void checkRelative(int64_t addressTag, int64_t lengthTag, int64_t countTag) const {
        const uint64_t count = valueOf(countTag).value_or(0);
        if (count == 0) {
            return;
        }
        const uint64_t address = valueOf(addressTag).value_or(0);
        const uint64_t length = valueOf(lengthTag).value_or(0);
        if (count > length / sizeof(T)) {
            failDynamic();
        }
        const ElfTable<T> table(loadedBytes(address, length));
        const uint64_t info = table[0].r_info;
        for (size_t i = 0; i < count; ++i) {
            if (table[i].r_info != info) {
                failDynamic();
            }
        }
    }

    // ---- What else the dynamic table points to -------------------------------------------------

    static bool isLoaded(const section_t& section) {
        return (section.sh_flags & SHF_ALLOC) != 0 && section.sh_size != 0;
    }

    ElfRange loadedBytes(uint64_t address, uint64_t length) const {
        const segment_t* const load = loadedAt(address, length);
        if (load == nullptr) {
            failDynamic();
        }
        return file.range(load->p_offset + (address - load->p_vaddr), length,
                          "one of its segments");
    }

    /// The section that an entry points to: there is one of this type exactly if there is the entry.
    std::optional<section_t> sectionOf(int64_t tag, uint32_t type) const {
        std::optional<section_t> found;
        for (size_t i = 0; i < file.sections.size(); ++i) {
            const section_t section = file.sections[i];
            if (isLoaded(section) && section.sh_type == type) {
                found = section;
            }
        }
        const auto address = valueOf(tag);
        if (found.has_value() != address.has_value() || (found && found->sh_addr != *address)) {
            failDynamic();
        }
        return found;
    }

    ElfRange bytesOf(const section_t& section) const {
        return file.range(section.sh_offset, section.sh_size, "one of its sections");
    }

    void checkFunctions(int64_t addressTag, int64_t lengthTag, uint32_t type) const {
        const auto section = sectionOf(addressTag, type);
        if (section) {
            need(lengthTag, section->sh_size);
        }
    }

    /// It is what the section of this name begins with, where there is one.
    void checkFunction(int64_t tag, const char* name) const {
        const auto address = valueOf(tag);
        const segment_t* const load = address ? loadedAt(*address, 1) : nullptr;
        if (address && (load == nullptr || (load->p_flags & PF_X) == 0)) {
            failDynamic();
        }
        const ElfRange names = file.bytesOf(file.sectionNames());
        for (size_t i = 0; address && i < file.sections.size(); ++i) {
            const section_t section = file.sections[i];
            if (isNameAt(names, section.sh_name, name) && section.sh_addr != *address) {
                failDynamic();
            }
        }
    }

    void checkHashes() const {
        const section_t symbols = file.dynamicSymbols();
        const auto table = file.symbolsOf(symbols);
        const auto hash = sectionOf(DT_HASH, SHT_HASH);
        const auto gnuHash = sectionOf(DT_GNU_HASH, SHT_GNU_HASH);
        if (gnuHash) {
            GnuHash<Elf>(bytesOf(*gnuHash), table, file.bytesOf(file.namesOf(symbols))).check();
        }
        // The entries have another length on a few machines.
        if (hash && hash->sh_entsize == sizeof(uint64_t)) {
            checkOldHash(ElfTable<uint64_t>(bytesOf(*hash)), table.size());
        } else if (hash) {
            checkOldHash(ElfTable<uint32_t>(bytesOf(*hash)), table.size());
        } else if (!gnuHash) {
            failDynamic();
        }
    }

    void checkVersions() const {
        const section_t symbols = file.dynamicSymbols();
        const auto needed = sectionOf(DT_VERNEED, SHT_GNU_verneed);
        const auto defined = sectionOf(DT_VERDEF, SHT_GNU_verdef);
        const auto versions = sectionOf(DT_VERSYM, SHT_GNU_versym);
        ElfVersions known(file.bytesOf(file.namesOf(symbols)), libraries);
        if (needed) {
            known.addNeeded(bytesOf(*needed), valueOf(DT_VERNEEDNUM).value_or(0));
        }
        if (defined) {
            known.addDefined(bytesOf(*defined), valueOf(DT_VERDEFNUM).value_or(0));
        }
        if (versions) {
            known.check(bytesOf(*versions), file.symbolsOf(symbols).size());
        } else if (needed || defined) {
            failDynamic();
        }
    }

    // ---- Symbols -------------------------------------------------------------------------------

    void checkSymbols() const {
        const section_t section = file.dynamicSymbols();
        const auto symbols = file.symbolsOf(section);
        for (size_t i = 1; i < symbols.size(); ++i) {
            const symbol_t symbol = symbols[i];
            const bool local = ELF64_ST_BIND(symbol.st_info) == STB_LOCAL;
            if (local != (i < section.sh_info) || !isInItsSection(symbol)) {
                fail("one of its symbols is not where it belongs");
            }
        }
    }

    bool isInItsSection(const symbol_t& symbol) const {
        if (symbol.st_shndx == SHN_UNDEF) {
            // With another visibility it would be taken as defined in this file.
            return ELF64_ST_VISIBILITY(symbol.st_other) == STV_DEFAULT;
        }
        if (symbol.st_shndx >= SHN_LORESERVE) {
            return true;
        }
        if (symbol.st_shndx >= file.sections.size()) {
            return false;
        }
        const section_t section = file.sections[symbol.st_shndx];
        const unsigned type = ELF64_ST_TYPE(symbol.st_info);
        if (type == STT_TLS) {
            return threadData && symbol.st_value <= threadData->p_memsz &&
                   symbol.st_size <= threadData->p_memsz - symbol.st_value;
        }
        const bool code = type == STT_FUNC || type == STT_GNU_IFUNC;
        // Of a function the lowest bit may tell the kind of its instructions.
        const uint64_t mark = code && file.header.e_machine == EM_ARM ? symbol.st_value & 1U : 0;
        const uint64_t address = symbol.st_value - mark;
        if (address < section.sh_addr || (code && (section.sh_flags & SHF_EXECINSTR) == 0)) {
            return false;
        }
        // What has no type may mark the end of a section, or the first round address behind it.
        const uint64_t within = address - section.sh_addr;
        return (!code && type != STT_OBJECT) ||
               (within <= section.sh_size && symbol.st_size <= section.sh_size - within);
    }

    const ElfFile<Elf> file;
    std::vector<segment_t> loads;
    std::optional<segment_t> threadData;
    std::map<int64_t, uint64_t> dynamic;  ///< the last entry of each tag, as the loader takes it
    bool twice = false;                   ///< whether there was another one
    std::vector<uint64_t> libraries;      ///< their names
};

}  // namespace vek::program
