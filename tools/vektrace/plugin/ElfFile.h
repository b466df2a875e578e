/// @file
/// The parts of an ELF file, each read only where all of it is in the file.
#pragma once

#include <elf.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "libvekutil/utility.h"
#include "tools/vektrace/plugin/ElfSymbol.h"

namespace vek::program {

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
struct ElfRange {
    const uint8_t* data;
    size_t length;
};

/// Entries of a table that is in the file.
template <class T>
class ElfTable {
public:
    ElfTable() = default;
    explicit ElfTable(const ElfRange& range) : data(range.data), count(range.length / sizeof(T)) {}

    size_t size() const { return count; }
    /// A copy: in the file it may lie anywhere.
    T operator[](size_t index) const {
        T entry;
        std::memcpy(&entry, data + index * sizeof entry, sizeof entry);
        return entry;
    }

private:
    const uint8_t* data = nullptr;
    size_t count = 0;
};

/// A shared object's file. It must outlive this.
template <class Elf>
class ElfFile {
public:
    using header_t = typename Elf::header_t;
    using segment_t = typename Elf::segment_t;
    using section_t = typename Elf::section_t;
    using symbol_t = typename Elf::symbol_t;

    /// Throws ElfError where it is no shared object, or its tables are not in it.
    explicit ElfFile(const byteVec_t& _bytes) : bytes(_bytes) {
        const header_t header = ElfTable<header_t>(range(0, sizeof(header_t), "its header"))[0];
        if (header.e_type != ET_DYN) {
            throw ElfError("not a shared object");
        }
        segments = table<segment_t>(header.e_phoff, header.e_phnum, header.e_phentsize,
                                    "its table of segments");
        if (header.e_shnum == 0) {
            throw ElfError("it has no table of sections");
        }
        sections = table<section_t>(header.e_shoff, header.e_shnum, header.e_shentsize,
                                    "its table of sections");
    }

    /// The one place that decides whether bytes are there.
    ElfRange range(uint64_t offset, uint64_t length, const char* what) const {
        if (offset > bytes.size() || length > bytes.size() - offset) {
            throw ElfError(std::string(what) + " reaches beyond the end of the file");
        }
        return {bytes.data() + offset, static_cast<size_t>(length)};
    }

    /// A table whose entries must have the length that the format gives them.
    template <class T>
    ElfTable<T> table(uint64_t offset, uint64_t count, uint64_t entryLength,
                      const char* what) const {
        if (entryLength != sizeof(T)) {
            throw ElfError(std::string(what) + " has entries of a wrong length");
        }
        if (count > bytes.size() / sizeof(T)) {
            throw ElfError(std::string(what) + " reaches beyond the end of the file");
        }
        return ElfTable<T>(range(offset, count * sizeof(T), what));
    }

    section_t dynamicSymbols() const {
        for (size_t i = 0; i < sections.size(); ++i) {
            if (sections[i].sh_type == SHT_DYNSYM) {
                return sections[i];
            }
        }
        throw ElfError("it has no table of exported symbols");
    }

    ElfTable<symbol_t> symbolsOf(const section_t& symbols) const {
        return table<symbol_t>(symbols.sh_offset, symbols.sh_size / sizeof(symbol_t),
                               symbols.sh_entsize, "its table of symbols");
    }

    /// The section of the names of `symbols`.
    section_t namesOf(const section_t& symbols) const {
        if (symbols.sh_link >= sections.size()) {
            throw ElfError("its symbols have no names");
        }
        return sections[symbols.sh_link];
    }

    ElfRange bytesOf(const section_t& names) const {
        return range(names.sh_offset, names.sh_size, "its table of names");
    }

private:
    const byteVec_t& bytes;

public:
    ElfTable<segment_t> segments;
    ElfTable<section_t> sections;
};

}  // namespace vek::program
