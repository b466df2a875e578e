#include "tools/vektrace/plugin/ElfSymbol.h"

#include <elf.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>

#include "support/hex.h"
#include "tools/vektrace/making/Random.h"

using namespace vek::program;

namespace {

struct Class32 {
    static constexpr uint8_t NUMBER = ELFCLASS32;
    using header_t = Elf32_Ehdr;
    using segment_t = Elf32_Phdr;
    using section_t = Elf32_Shdr;
    using symbol_t = Elf32_Sym;
};

struct Class64 {
    static constexpr uint8_t NUMBER = ELFCLASS64;
    using header_t = Elf64_Ehdr;
    using segment_t = Elf64_Phdr;
    using section_t = Elf64_Shdr;
    using symbol_t = Elf64_Sym;
};

constexpr char NAMES[] = "\0other\0wanted";
constexpr uint8_t DATA[] = {1, 2, 3, 4};
/// Where the bytes of the file are loaded to.
constexpr uint32_t BASE = 0x4000;
constexpr uint16_t MACHINE = EM_SPARC;

/// The smallest shared object that exports something, as its parts, so that a test may spoil one.
template <class Elf>
struct Parts {
    typename Elf::header_t header{};
    typename Elf::segment_t segments[2]{};
    typename Elf::section_t sections[3]{};
    typename Elf::symbol_t symbols[3]{};
    char names[sizeof NAMES];
    uint8_t data[sizeof DATA];

    Parts();
    byteVec_t file() const {
        const auto* const begin = reinterpret_cast<const uint8_t*>(this);
        return byteVec_t(begin, begin + offsetof(Parts, data) + sizeof data);
    }
};

template <class Elf>
Parts<Elf>::Parts() {
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = Elf::NUMBER;
    header.e_ident[EI_DATA] = hostMachine().byteOrder;
    header.e_type = ET_DYN;
    header.e_machine = MACHINE;
    header.e_phoff = offsetof(Parts, segments);
    header.e_phentsize = sizeof segments[0];
    header.e_phnum = 2;
    header.e_shoff = offsetof(Parts, sections);
    header.e_shentsize = sizeof sections[0];
    header.e_shnum = 3;
    // The first segment has nothing of the file.
    segments[0].p_type = PT_NOTE;
    segments[1].p_type = PT_LOAD;
    segments[1].p_vaddr = BASE;
    segments[1].p_offset = offsetof(Parts, data);
    segments[1].p_filesz = sizeof data;
    segments[1].p_memsz = sizeof data + 4;
    sections[1].sh_type = SHT_DYNSYM;
    sections[1].sh_offset = offsetof(Parts, symbols);
    sections[1].sh_size = sizeof symbols;
    sections[1].sh_entsize = sizeof symbols[0];
    sections[1].sh_link = 2;
    sections[2].sh_type = SHT_STRTAB;
    sections[2].sh_offset = offsetof(Parts, names);
    sections[2].sh_size = sizeof names;
    symbols[1].st_name = 1;
    symbols[2].st_name = 7;
    symbols[2].st_info = ELF64_ST_INFO(STB_GLOBAL, STT_OBJECT);
    symbols[2].st_shndx = 1;
    symbols[2].st_value = BASE + 1;
    symbols[2].st_size = 2;
    std::memcpy(names, NAMES, sizeof names);
    std::memcpy(data, DATA, sizeof data);
}

template <class Elf>
class ElfSymbol : public testing::Test {
protected:
    static byteVec_t read(const byteVec_t& file, const std::string& name = "wanted") {
        return readElfObject(file, name, {Elf::NUMBER, hostMachine().byteOrder, MACHINE});
    }

    /// Why a file is refused of which one thing is not as it should be.
    static std::string refusal(const std::function<void(Parts<Elf>&)>& spoil) {
        Parts<Elf> parts;
        spoil(parts);
        try {
            return "it was read: " + hex(read(parts.file()));
        } catch (const ElfError& e) {
            return e.what();
        }
    }

    /// Why a file is refused as one with the function "other", of which one thing is as it should not
    /// be.
    static std::string functionRefusal(const std::function<void(Parts<Elf>&)>& spoil) {
        Parts<Elf> parts;
        parts.symbols[1].st_info = ELF64_ST_INFO(STB_GLOBAL, STT_FUNC);
        parts.symbols[1].st_shndx = 1;
        parts.symbols[1].st_value = BASE + 3;
        parts.segments[1].p_flags = PF_R | PF_X;
        spoil(parts);
        try {
            needElfFunction(parts.file(), "other", {Elf::NUMBER, hostMachine().byteOrder, MACHINE});
            return "it was taken";
        } catch (const ElfError& e) {
            return e.what();
        }
    }

    /// The same for a section with all that the segment loads.
    static std::string sectionRefusal(const std::function<void(Parts<Elf>&)>& spoil) {
        Parts<Elf> parts;
        parts.sections[0].sh_type = SHT_PROGBITS;
        parts.sections[0].sh_flags = SHF_ALLOC;
        parts.sections[0].sh_addr = BASE;
        parts.sections[0].sh_size = sizeof DATA;
        spoil(parts);
        try {
            needElfLoading(parts.file(), {Elf::NUMBER, hostMachine().byteOrder, MACHINE});
            return "it was taken";
        } catch (const ElfError& e) {
            return e.what();
        }
    }
};

using classes_t = testing::Types<Class32, Class64>;

class ClassNames {
public:
    template <class Elf>
    static std::string GetName(int) {
        return Elf::NUMBER == ELFCLASS32 ? "Of32Bits" : "Of64Bits";
    }
};

TYPED_TEST_SUITE(ElfSymbol, classes_t, ClassNames);

}  // namespace

TYPED_TEST(ElfSymbol, ReadsTheBytesOfAnObject) {
    EXPECT_EQ(hex(this->read(Parts<TypeParam>().file())), "02 03");
}

TYPED_TEST(ElfSymbol, ReadsTheBytesUpToTheEndOfASegment) {
    Parts<TypeParam> parts;
    parts.symbols[2].st_size = 3;
    EXPECT_EQ(hex(this->read(parts.file())), "02 03 04");
}

TYPED_TEST(ElfSymbol, FindsAWeakObject) {
    Parts<TypeParam> parts;
    parts.symbols[2].st_info = ELF64_ST_INFO(STB_WEAK, STT_OBJECT);
    EXPECT_EQ(hex(this->read(parts.file())), "02 03");
}

TYPED_TEST(ElfSymbol, FindsNothingButADefinedAndExportedObjectOfThatName) {
    using parts_t = Parts<TypeParam>;
    const char* const missing = "it does not export wanted";
    EXPECT_EQ(this->refusal([](parts_t& p) { p.symbols[2].st_shndx = SHN_UNDEF; }), missing);
    EXPECT_EQ(this->refusal(
                  [](parts_t& p) { p.symbols[2].st_info = ELF64_ST_INFO(STB_GLOBAL, STT_FUNC); }),
              missing);
    EXPECT_EQ(this->refusal(
                  [](parts_t& p) { p.symbols[2].st_info = ELF64_ST_INFO(STB_LOCAL, STT_OBJECT); }),
              missing);
    EXPECT_EQ(this->refusal([](parts_t& p) { p.symbols[2].st_name = 8; }), missing);
    EXPECT_EQ(this->refusal([](parts_t& p) { p.symbols[2].st_name = 6; }), missing);
}

TYPED_TEST(ElfSymbol, RefusesANameThatReachesBeyondTheNames) {
    using parts_t = Parts<TypeParam>;
    const char* const missing = "it does not export wanted";
    // Without the 0 at its end the name is another one, whatever comes behind.
    EXPECT_EQ(this->refusal([](parts_t& p) { --p.sections[2].sh_size; }), missing);
    EXPECT_EQ(this->refusal([](parts_t& p) { p.symbols[2].st_name = UINT32_MAX; }), missing);
    EXPECT_EQ(this->refusal([](parts_t& p) { p.sections[2].sh_size = 0; }), missing);
}

TYPED_TEST(ElfSymbol, RefusesAnObjectThatIsNotInTheFile) {
    using parts_t = Parts<TypeParam>;
    const char* const missing = "the object is not in the file";
    EXPECT_EQ(this->refusal([](parts_t& p) { p.symbols[2].st_size = 4; }), missing);
    EXPECT_EQ(this->refusal([](parts_t& p) { p.symbols[2].st_value = BASE - 1; }), missing);
    EXPECT_EQ(this->refusal([](parts_t& p) { p.symbols[2].st_value = BASE + 5; }), missing);
    EXPECT_EQ(this->refusal([](parts_t& p) {
        p.symbols[2].st_size = static_cast<decltype(p.symbols[2].st_size)>(-1);
    }),
              missing);
    EXPECT_EQ(this->refusal([](parts_t& p) { p.segments[1].p_type = PT_NOTE; }), missing);
}

TYPED_TEST(ElfSymbol, TakesAFunction) {
    EXPECT_EQ(this->functionRefusal([](Parts<TypeParam>&) {}), "it was taken");
}

TYPED_TEST(ElfSymbol, RefusesAsAFunctionWhatIsNoneOrNotExported) {
    using parts_t = Parts<TypeParam>;
    const char* const other = "its other is not a function";
    for (const uint8_t type :
         {uint8_t{STT_NOTYPE}, uint8_t{STT_OBJECT}, uint8_t{STT_TLS}, uint8_t{STT_GNU_IFUNC}}) {
        EXPECT_EQ(this->functionRefusal([&](parts_t& p) {
            p.symbols[1].st_info = static_cast<uint8_t>(ELF64_ST_INFO(STB_GLOBAL, type));
        }),
                  other)
            << int{type};
    }
    // What the loader finds may be either of them.
    EXPECT_EQ(this->functionRefusal([](parts_t& p) { p.symbols[2].st_name = 1; }), other);
    const char* const missing = "it does not export other";
    EXPECT_EQ(this->functionRefusal([](parts_t& p) { p.symbols[1].st_shndx = SHN_UNDEF; }),
              missing);
    EXPECT_EQ(this->functionRefusal(
                  [](parts_t& p) { p.symbols[1].st_info = ELF64_ST_INFO(STB_LOCAL, STT_FUNC); }),
              missing);
}

TYPED_TEST(ElfSymbol, RefusesAFunctionThatIsNotInCode) {
    using parts_t = Parts<TypeParam>;
    const char* const elsewhere = "its other is not in its code";
    EXPECT_EQ(this->functionRefusal([](parts_t& p) { p.segments[1].p_flags = PF_R | PF_W; }),
              elsewhere);
    EXPECT_EQ(this->functionRefusal([](parts_t& p) { p.symbols[1].st_value = BASE - 1; }),
              elsewhere);
    EXPECT_EQ(this->functionRefusal([](parts_t& p) { p.symbols[1].st_value = BASE + 4; }),
              elsewhere);
    EXPECT_EQ(this->functionRefusal([](parts_t& p) { p.segments[1].p_type = PT_NOTE; }), elsewhere);
}

TYPED_TEST(ElfSymbol, TakesSectionsThatAreLoaded) {
    EXPECT_EQ(this->sectionRefusal([](Parts<TypeParam>&) {}), "it was taken");
}

TYPED_TEST(ElfSymbol, RefusesASectionOfWhichNotAllIsLoaded) {
    using parts_t = Parts<TypeParam>;
    const char* const missing = "its segments do not load all of its sections";
    EXPECT_EQ(this->sectionRefusal([](parts_t& p) { --p.segments[1].p_filesz; }), missing);
    EXPECT_EQ(this->sectionRefusal([](parts_t& p) { --p.sections[0].sh_addr; }), missing);
    EXPECT_EQ(this->sectionRefusal([](parts_t& p) { ++p.sections[0].sh_addr; }), missing);
    EXPECT_EQ(this->sectionRefusal([](parts_t& p) { p.segments[1].p_type = PT_NOTE; }), missing);
}

TYPED_TEST(ElfSymbol, TakesASectionThatIsNotLoadedWhereNothingOfItIsNeeded) {
    using parts_t = Parts<TypeParam>;
    const auto elsewhere = [](parts_t& p) { p.sections[0].sh_addr = BASE - 1; };
    const auto taken = [&](const std::function<void(parts_t&)>& change) {
        return this->sectionRefusal([&](parts_t& p) {
            elsewhere(p);
            change(p);
        });
    };
    EXPECT_EQ(taken([](parts_t& p) { p.sections[0].sh_flags = SHF_WRITE; }), "it was taken");
    EXPECT_EQ(taken([](parts_t& p) { p.sections[0].sh_type = SHT_NOBITS; }), "it was taken");
    EXPECT_EQ(taken([](parts_t& p) { p.sections[0].sh_size = 0; }), "it was taken");
}

TYPED_TEST(ElfSymbol, RefusesSegmentsThatAreNotInOneRangeOfMemory) {
    using parts_t = Parts<TypeParam>;
    const char* const apart = "its segments do not lie within 4 GiB of memory";
    const auto refusal = [&](const std::function<void(parts_t&)>& change) {
        return this->sectionRefusal([&](parts_t& p) {
            p.segments[0].p_type = PT_LOAD;
            change(p);
        });
    };
    EXPECT_EQ(refusal([](parts_t&) {}), "it was taken");
    const auto higher = [](parts_t& p) { p.segments[0].p_vaddr = BASE + 1; };
    EXPECT_EQ(refusal(higher), apart);
    // The address of what each thread gets is only one to copy from.
    const auto forThreads = [](parts_t& p) { p.segments[0].p_type = PT_TLS; };
    EXPECT_EQ(refusal([&](parts_t& p) { higher(p), forThreads(p); }), "it was taken");
    using length_t = decltype(parts_t::header.e_entry);
    if constexpr (sizeof(length_t) == 8) {
        constexpr length_t MOST = 0x100000000;
        EXPECT_EQ(refusal([](parts_t& p) { p.segments[1].p_memsz = MOST - BASE; }), "it was taken");
        EXPECT_EQ(refusal([](parts_t& p) { p.segments[1].p_memsz = MOST - BASE + 1; }), apart);
        EXPECT_EQ(refusal([&](parts_t& p) { p.segments[0].p_memsz = MOST, forThreads(p); }),
                  "it was taken");
        EXPECT_EQ(refusal([&](parts_t& p) { p.segments[0].p_memsz = MOST + 1, forThreads(p); }),
                  apart);
    }
}

TYPED_TEST(ElfSymbol, RefusesTablesThatReachBeyondTheFile) {
    using parts_t = Parts<TypeParam>;
    EXPECT_EQ(this->refusal([](parts_t& p) { p.header.e_phoff = sizeof p; }),
              "its table of segments reaches beyond the end of the file");
    EXPECT_EQ(this->refusal([](parts_t& p) { p.header.e_shnum = UINT16_MAX; }),
              "its table of sections reaches beyond the end of the file");
    EXPECT_EQ(this->refusal([](parts_t& p) {
        p.sections[1].sh_size = static_cast<decltype(p.sections[1].sh_size)>(-1);
    }),
              "its table of symbols reaches beyond the end of the file");
    EXPECT_EQ(this->refusal([](parts_t& p) {
        p.sections[1].sh_offset = static_cast<decltype(p.sections[1].sh_offset)>(-1);
    }),
              "its table of symbols reaches beyond the end of the file");
    EXPECT_EQ(this->refusal([](parts_t& p) { p.sections[2].sh_offset = sizeof p; }),
              "its table of names reaches beyond the end of the file");
    EXPECT_EQ(this->refusal([](parts_t& p) {
        p.segments[1].p_offset = static_cast<decltype(p.segments[1].p_offset)>(-1);
    }),
              "one of its segments reaches beyond the end of the file");
}

TYPED_TEST(ElfSymbol, RefusesTablesOfOtherEntries) {
    using parts_t = Parts<TypeParam>;
    EXPECT_EQ(this->refusal([](parts_t& p) { p.header.e_phentsize = 1; }),
              "its table of segments has entries of a wrong length");
    EXPECT_EQ(this->refusal([](parts_t& p) { p.header.e_shentsize = 0; }),
              "its table of sections has entries of a wrong length");
    EXPECT_EQ(this->refusal([](parts_t& p) { p.sections[1].sh_entsize = 8; }),
              "its table of symbols has entries of a wrong length");
}

TYPED_TEST(ElfSymbol, RefusesAnObjectWithoutExports) {
    using parts_t = Parts<TypeParam>;
    EXPECT_EQ(this->refusal([](parts_t& p) { p.sections[1].sh_type = SHT_SYMTAB; }),
              "it has no table of exported symbols");
    EXPECT_EQ(this->refusal([](parts_t& p) { p.header.e_shentsize = p.header.e_shnum = 0; }),
              "it has no table of sections");
    EXPECT_EQ(this->refusal([](parts_t& p) { p.sections[1].sh_link = 3; }),
              "its symbols have no names");
}

TYPED_TEST(ElfSymbol, RefusesWhatIsNoSharedObject) {
    using parts_t = Parts<TypeParam>;
    EXPECT_EQ(this->refusal([](parts_t& p) { p.header.e_type = ET_EXEC; }), "not a shared object");
    EXPECT_EQ(this->refusal([](parts_t& p) { p.header.e_ident[0] = 0; }), "not a shared object");
}

TYPED_TEST(ElfSymbol, RefusesWhatIsMadeForAnotherMachine) {
    using parts_t = Parts<TypeParam>;
    const char* const other = "made for another kind of machine";
    EXPECT_EQ(this->refusal([](parts_t& p) { p.header.e_machine = EM_68K; }), other);
    EXPECT_EQ(this->refusal([](parts_t& p) { p.header.e_ident[EI_CLASS] = ELFCLASSNONE; }), other);
    EXPECT_EQ(this->refusal([](parts_t& p) { p.header.e_ident[EI_DATA] ^= 3; }), other);
}

TYPED_TEST(ElfSymbol, RefusesAFileThatIsCut) {
    const byteVec_t file = Parts<TypeParam>().file();
    for (size_t length = 0; length < offsetof(Parts<TypeParam>, data) + 3; ++length) {
        // In memory of its own, so that reading beyond its end does not go unnoticed.
        const byteVec_t cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_THROW(this->read(cut), ElfError) << length;
    }
}

TYPED_TEST(ElfSymbol, ReadsNothingBeyondTheFileWhateverItsBytesAre) {
    const byteVec_t file = Parts<TypeParam>().file();
    Random random(1, 0);
    size_t refused = 0;
    for (int i = 0; i < 20000; ++i) {
        byteVec_t spoilt = file;
        for (uint64_t changes = 1 + random.below(4); changes > 0; --changes) {
            const auto place = static_cast<size_t>(random.below(spoilt.size()));
            spoilt[place] = static_cast<uint8_t>(random.below(3) == 0 ? 0xff : random.next());
        }
        try {
            EXPECT_LE(this->read(spoilt).size(), spoilt.size());
        } catch (const ElfError&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 1000u);
}

TEST(ElfFile, OfThisMachineIsRead) {
    std::ifstream stream(VEKTRACE_TEST_PLUGIN, std::ios::binary);
    const byteVec_t file{std::istreambuf_iterator<char>(stream), {}};
    const byteVec_t info = readElfObject(file, "vektracePluginInfo", hostMachine());
    ASSERT_GT(info.size(), 8u);
    EXPECT_EQ(hex(info.data(), 8), "56 45 4B 50 4C 55 47 00");
    EXPECT_THROW(readElfObject(file, "vektraceRegisterMessages", hostMachine()), ElfError);
}
