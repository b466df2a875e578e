#include <gtest/gtest.h>
#include <link.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "tools/vektrace/plugin/ElfSymbol.h"

using namespace vek::program;

namespace {

using header_t = ElfW(Ehdr);
using segment_t = ElfW(Phdr);
using section_t = ElfW(Shdr);
using dynamic_t = ElfW(Dyn);
using symbol_t = ElfW(Sym);

/// A plugin for this machine, of which a test may spoil something.
class File {
public:
    File() {
        std::ifstream stream(VEKTRACE_TEST_PLUGIN, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(stream), {});
    }

    template <class Entry>
    Entry get(size_t offset) const {
        Entry entry;
        std::memcpy(&entry, bytes.data() + offset, sizeof entry);
        return entry;
    }
    template <class Entry>
    void change(size_t offset, const std::function<void(Entry&)>& spoil) {
        auto entry = get<Entry>(offset);
        spoil(entry);
        std::memcpy(bytes.data() + offset, &entry, sizeof entry);
    }

    header_t header() const { return get<header_t>(0); }

    size_t count(int64_t type) const {
        size_t found = 0;
        for (size_t i = 0; i < header().e_phnum; ++i) {
            const auto segment = get<segment_t>(header().e_phoff + i * sizeof(segment_t));
            found += int64_t{segment.p_type} == type ? 1 : 0;
        }
        return found;
    }

    /// The `number`th segment of this type.
    void changeSegment(int64_t type, const std::function<void(segment_t&)>& spoil,
                       size_t number = 0) {
        for (size_t i = 0; i < header().e_phnum; ++i) {
            const size_t offset = header().e_phoff + i * sizeof(segment_t);
            if (int64_t{get<segment_t>(offset).p_type} != type) {
                continue;
            }
            if (number == 0) {
                change(offset, spoil);
                return;
            }
            --number;
        }
        ADD_FAILURE() << "there is no such segment";
    }

    void changeDynamic(int64_t tag, const std::function<void(dynamic_t&)>& spoil) {
        for (size_t i = 0; i < header().e_shnum; ++i) {
            const auto section = get<section_t>(header().e_shoff + i * sizeof(section_t));
            for (size_t entry = 0;
                 section.sh_type == SHT_DYNAMIC && entry < section.sh_size / sizeof(dynamic_t);
                 ++entry) {
                const size_t offset = section.sh_offset + entry * sizeof(dynamic_t);
                if (get<dynamic_t>(offset).d_tag == tag) {
                    change(offset, spoil);
                    return;
                }
            }
        }
        ADD_FAILURE() << "there is no such entry";
    }

    /// The section of this type; all 0 where there is none.
    section_t section(uint64_t type) const {
        for (size_t i = 0; i < header().e_shnum; ++i) {
            const auto entry = get<section_t>(header().e_shoff + i * sizeof(section_t));
            if (entry.sh_type == type) {
                return entry;
            }
        }
        return {};
    }

    /// Entry `index` of the section of this type.
    template <class Entry>
    void changeEntry(uint64_t type, size_t index, const std::function<void(Entry&)>& spoil) {
        ASSERT_GE(section(type).sh_size, (index + 1) * sizeof(Entry));
        change(section(type).sh_offset + index * sizeof(Entry), spoil);
    }

    std::string refusal() const {
        try {
            checkElfLayout(bytes, hostMachine());
        } catch (const ElfError& e) {
            return e.what();
        }
        return "it was taken";
    }

private:
    byteVec_t bytes;
};

std::string refusalOfSegment(int64_t type, const std::function<void(segment_t&)>& spoil,
                             size_t number = 0) {
    File file;
    file.changeSegment(type, spoil, number);
    return file.refusal();
}

std::string refusalOfDynamic(int64_t tag, const std::function<void(dynamic_t&)>& spoil) {
    File file;
    file.changeDynamic(tag, spoil);
    return file.refusal();
}

template <class Entry>
std::string refusalOfEntry(uint64_t type, size_t index, const std::function<void(Entry&)>& spoil) {
    File file;
    file.changeEntry(type, index, spoil);
    return file.refusal();
}

/// ARM has other tables than PT_GNU_EH_FRAME.
bool hasSegment(int64_t type) { return type != PT_GNU_EH_FRAME || File().count(type) > 0; }

constexpr char BEYOND[] = "one of its segments reaches beyond the end of the file";
constexpr char ELSEWHERE[] = "its dynamic table points to what is not there";

/// Of relocations, as the machine has them.
const bool ADDENDS = File().section(SHT_RELA).sh_size != 0;
const int64_t TABLE = ADDENDS ? DT_RELA : DT_REL;
const int64_t TABLE_LENGTH = ADDENDS ? DT_RELASZ : DT_RELSZ;

void makeHuge(dynamic_t& entry) { entry.d_un.d_val = static_cast<decltype(entry.d_un.d_val)>(-1); }

}  // namespace

TEST(ElfLayout, OfAPluginIsTaken) { EXPECT_EQ(File().refusal(), "it was taken"); }

TEST(ElfLayout, IsRefusedWithASegmentBeyondTheFile) {
    for (const int64_t type : {PT_LOAD, PT_DYNAMIC, PT_GNU_EH_FRAME}) {
        if (!hasSegment(type)) {
            continue;
        }
        EXPECT_EQ(refusalOfSegment(type,
                                   [](segment_t& segment) {
                                       segment.p_offset =
                                           static_cast<decltype(segment.p_offset)>(-4096);
                                   }),
                  BEYOND);
        EXPECT_EQ(refusalOfSegment(type, [](segment_t& segment) { segment.p_filesz += 1 << 24; }),
                  BEYOND);
    }
}

TEST(ElfLayout, IsRefusedWithSegmentsThatCannotBeLoaded) {
    const char* const reason = "one of its segments cannot be loaded";
    EXPECT_EQ(refusalOfSegment(PT_LOAD, [](segment_t& segment) { segment.p_memsz = 1; }), reason);
    EXPECT_EQ(refusalOfSegment(PT_LOAD, [](segment_t& segment) { ++segment.p_vaddr; }), reason);
    EXPECT_EQ(refusalOfSegment(PT_LOAD,
                               [](segment_t& segment) {
                                   segment.p_vaddr = static_cast<decltype(segment.p_vaddr)>(-4096);
                                   segment.p_memsz += 4096;
                               }),
              reason);
}

TEST(ElfLayout, IsRefusedWhereItTakesMoreMemoryThanAnyPluginDoes) {
    if (sizeof(segment_t::p_memsz) == sizeof(uint32_t)) {
        GTEST_SKIP() << "no address space is so large";
    }
    const auto enlarge = [](segment_t& segment) {
        segment.p_memsz += static_cast<decltype(segment.p_memsz)>(0x10000000000);
    };
    EXPECT_EQ(refusalOfSegment(PT_LOAD, enlarge, File().count(PT_LOAD) - 1),
              "it takes more than 4 GiB of memory");
}

TEST(ElfLayout, IsRefusedWithSegmentsOverEachOther) {
    EXPECT_EQ(refusalOfSegment(PT_LOAD, [](segment_t& segment) { segment.p_memsz += 1 << 20; }),
              "its segments overlap");
    EXPECT_EQ(refusalOfSegment(
                  PT_LOAD, [](segment_t& segment) { segment.p_vaddr = segment.p_offset = 0; }, 1),
              "its segments overlap");
}

TEST(ElfLayout, IsRefusedWhereSectionsAreNotLoadedAsTheyShould) {
    const char* const reason = "its segments do not load all of its sections";
    EXPECT_EQ(refusalOfSegment(PT_LOAD, [](segment_t& segment) { segment.p_flags = 0; }), reason);
    // Without one that holds no other: where there are two, code and constants are with the tables.
    if (File().count(PT_LOAD) > 2) {
        EXPECT_EQ(refusalOfSegment(
                      PT_LOAD, [](segment_t& segment) { segment.p_type = PT_NULL; }, 1),
                  reason);
    }
    File readOnly;
    for (size_t i = 0; i < 2; ++i) {
        readOnly.changeSegment(
            PT_LOAD, [](segment_t& segment) { segment.p_flags &= ~uint32_t{PF_X | PF_W}; }, i);
    }
    EXPECT_EQ(readOnly.refusal(), reason);
}

TEST(ElfLayout, IsRefusedWithSegmentsThatAreNotInMemoryWhereTheyAreLookedFor) {
    for (const int64_t type : {PT_DYNAMIC, PT_GNU_EH_FRAME, PT_GNU_RELRO}) {
        if (!hasSegment(type)) {
            continue;
        }
        EXPECT_EQ(refusalOfSegment(type, [](segment_t& segment) { segment.p_vaddr += 8; }),
                  "one of its segments is not loaded to where it is looked for");
    }
}

TEST(ElfLayout, IsRefusedWhereSomethingElseIsTakenForItsTableOfSegments) {
    EXPECT_EQ(refusalOfSegment(PT_NOTE, [](segment_t& segment) { segment.p_type = PT_PHDR; }),
              "its table of segments is not where it is looked for");
}

TEST(ElfLayout, IsRefusedWithoutASegmentThatItsSectionsNeed) {
    for (const int64_t type : {PT_DYNAMIC, PT_GNU_EH_FRAME}) {
        if (!hasSegment(type)) {
            continue;
        }
        EXPECT_EQ(refusalOfSegment(type, [](segment_t& segment) { segment.p_type = PT_NULL; }),
                  "a segment is missing");
    }
}

TEST(ElfLayout, IsRefusedWhereItsDataWouldBeMadeReadOnly) {
    EXPECT_EQ(
        refusalOfSegment(PT_GNU_RELRO, [](segment_t& segment) { segment.p_memsz += 1 << 20; }),
        "its data would be made read-only");
}

TEST(ElfLayout, IsRefusedWithADynamicTableThatPointsElsewhere) {
    for (const int64_t tag :
         {DT_SYMTAB, DT_STRTAB, DT_STRSZ, DT_SYMENT, DT_GNU_HASH, DT_INIT_ARRAY, DT_INIT_ARRAYSZ}) {
        EXPECT_EQ(refusalOfDynamic(tag, makeHuge), ELSEWHERE) << tag;
        EXPECT_EQ(refusalOfDynamic(tag, [](dynamic_t& entry) { ++entry.d_tag; }), ELSEWHERE) << tag;
    }
}

TEST(ElfLayout, IsRefusedWithNamesThatAreNotAmongItsNames) {
    EXPECT_EQ(refusalOfDynamic(DT_NEEDED, makeHuge), "a name is not in its table of names");
}

TEST(ElfLayout, IsRefusedWithADynamicTableWithoutAnEnd) {
    File file;
    for (bool ended = true; ended;) {
        // There are several, as a linker leaves room.
        file.changeDynamic(DT_NULL, [](dynamic_t& entry) { entry.d_tag = DT_NEEDED; });
        ended = file.refusal() == "it was taken";
    }
    EXPECT_EQ(file.refusal(), "its dynamic table has no end");
}

TEST(ElfLayout, IsRefusedWithADynamicTableThatSaysSomethingTwice) {
    File file;
    file.changeDynamic(DT_NULL, [](dynamic_t& entry) {
        entry.d_tag = DT_SYMENT;
        entry.d_un.d_val = sizeof(symbol_t);
    });
    EXPECT_EQ(file.refusal(), "its dynamic table says something twice");
}

TEST(ElfLayout, IsRefusedWithADynamicTableThatLacksWhatItsSectionsNeed) {
    for (const int64_t tag : {DT_INIT_ARRAY, DT_INIT_ARRAYSZ, DT_PLTREL, DT_JMPREL, DT_PLTRELSZ,
                              DT_VERSYM, DT_VERNEED, DT_GNU_HASH}) {
        EXPECT_EQ(refusalOfDynamic(tag, [](dynamic_t& entry) { entry.d_tag = 0x6f000000; }),
                  ELSEWHERE)
            << tag;
    }
}

TEST(ElfLayout, IsRefusedWhereItsFunctionsAreCalledElsewhere) {
    for (const int64_t tag : {DT_INIT_ARRAY, DT_FINI_ARRAY, DT_INIT, DT_FINI}) {
        EXPECT_EQ(refusalOfDynamic(tag, [](dynamic_t& entry) { entry.d_un.d_val += 4; }), ELSEWHERE)
            << tag;
    }
    EXPECT_EQ(refusalOfDynamic(DT_INIT_ARRAYSZ, [](dynamic_t& entry) { entry.d_un.d_val *= 2; }),
              ELSEWHERE);
}

TEST(ElfLayout, IsRefusedWithRelocationsOtherThanInItsSections) {
    for (const int64_t tag :
         {int64_t{DT_JMPREL}, int64_t{DT_PLTRELSZ}, int64_t{DT_PLTREL}, TABLE, TABLE_LENGTH}) {
        EXPECT_EQ(refusalOfDynamic(tag, [](dynamic_t& entry) { entry.d_un.d_val += 8; }), ELSEWHERE)
            << tag;
    }
}

TEST(ElfLayout, IsRefusedWithMoreRelocationsWithoutSymbolsThanItHas) {
    EXPECT_EQ(refusalOfDynamic(TABLE == DT_RELA ? DT_RELACOUNT : DT_RELCOUNT,
                               [](dynamic_t& entry) { ++entry.d_un.d_val; }),
              ELSEWHERE);
}

TEST(ElfLayout, IsRefusedWithHashesThatDoNotFitItsSymbols) {
    const char* const reason = "its hash table does not fit its symbols";
    const size_t words = File().section(SHT_GNU_HASH).sh_size / 4;
    // The last word is the hash of the last symbol, which ends a chain.
    for (const size_t index : {size_t{0}, size_t{1}, size_t{2}, size_t{3}, words - 1}) {
        EXPECT_EQ(refusalOfEntry<uint32_t>(SHT_GNU_HASH, index, [](uint32_t& word) { ++word; }),
                  reason)
            << index;
        EXPECT_EQ(
            refusalOfEntry<uint32_t>(SHT_GNU_HASH, index, [](uint32_t& word) { word = ~word; }),
            reason)
            << index;
    }
}

TEST(ElfLayout, IsRefusedWithVersionsThatDoNotFitItsSymbols) {
    const char* const reason = "its versions do not fit its symbols";
    EXPECT_EQ(
        refusalOfEntry<uint16_t>(SHT_GNU_versym, 1, [](uint16_t& number) { number = 0x7F00; }),
        reason);
    using needed_t = ElfW(Verneed);
    const auto spoil = [&](const std::function<void(needed_t&)>& how) {
        return refusalOfEntry<needed_t>(SHT_GNU_verneed, 0, how);
    };
    EXPECT_EQ(spoil([](needed_t& entry) { entry.vn_file = UINT32_MAX; }), reason);
    EXPECT_EQ(spoil([](needed_t& entry) { entry.vn_file = 0; }), reason);
    EXPECT_EQ(spoil([](needed_t& entry) { entry.vn_aux = UINT32_MAX; }), reason);
    EXPECT_EQ(spoil([](needed_t& entry) { entry.vn_cnt = 0; }), reason);
    EXPECT_EQ(spoil([](needed_t& entry) { ++entry.vn_cnt; }), reason);
    EXPECT_EQ(spoil([](needed_t& entry) { entry.vn_next = UINT32_MAX; }), reason);
    // Directly behind the one above: the first of its versions.
    using version_t = ElfW(Vernaux);
    EXPECT_EQ(refusalOfEntry<version_t>(SHT_GNU_verneed, 1,
                                        [](version_t& entry) { entry.vna_name = UINT32_MAX; }),
              reason);
    EXPECT_EQ(refusalOfEntry<version_t>(SHT_GNU_verneed, 1,
                                        [](version_t& entry) { entry.vna_other = 0x7F00; }),
              reason);
    EXPECT_EQ(refusalOfDynamic(DT_VERNEEDNUM, [](dynamic_t& entry) { ++entry.d_un.d_val; }),
              reason);
}

TEST(ElfLayout, IsRefusedWithSymbolsThatAreNotInTheirSections) {
    const char* const reason = "one of its symbols is not where it belongs";
    const auto last = File().section(SHT_DYNSYM).sh_size / sizeof(symbol_t) - 1;
    const auto spoil = [&](size_t index, const std::function<void(symbol_t&)>& how) {
        return refusalOfEntry<symbol_t>(SHT_DYNSYM, index, how);
    };
    // The last one is exported, as these have hashes.
    EXPECT_EQ(spoil(last, [](symbol_t& symbol) { symbol.st_value = 0; }), reason);
    EXPECT_EQ(spoil(last, [](symbol_t& symbol) { symbol.st_value += 1 << 24; }), reason);
    EXPECT_EQ(
        spoil(last,
              [](symbol_t& symbol) { symbol.st_size = static_cast<decltype(symbol.st_size)>(-1); }),
        reason);
    EXPECT_EQ(spoil(last, [](symbol_t& symbol) { symbol.st_shndx = 0x7F00; }), reason);
    EXPECT_EQ(spoil(last, [](symbol_t& symbol) { symbol.st_info &= 0xF; }), reason);
}

TEST(ElfLayout, IsRefusedWhereASymbolOfAnotherFileIsTakenForItsOwn) {
    const char* const reason = "one of its symbols is not where it belongs";
    File file;
    size_t undefined = file.section(SHT_DYNSYM).sh_info;
    while (file.get<symbol_t>(file.section(SHT_DYNSYM).sh_offset + undefined * sizeof(symbol_t))
               .st_shndx != SHN_UNDEF) {
        ++undefined;
    }
    const auto spoil = [&](const std::function<void(symbol_t&)>& how) {
        return refusalOfEntry<symbol_t>(SHT_DYNSYM, undefined, how);
    };
    EXPECT_EQ(spoil([](symbol_t& symbol) { symbol.st_info &= 0xF; }), reason);
    EXPECT_EQ(spoil([](symbol_t& symbol) { symbol.st_other |= STV_HIDDEN; }), reason);
    EXPECT_EQ(spoil([](symbol_t& symbol) { symbol.st_other |= STV_PROTECTED; }), reason);
    EXPECT_EQ(spoil([](symbol_t& symbol) { symbol.st_shndx = 1; }), reason);
}
