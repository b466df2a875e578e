/// @file
/// Whether the versions of a shared object's symbols are among those that it needs or defines. The
/// loader follows their tables without looking where they lead.
#pragma once

#include <elf.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

#include "tools/vektrace/plugin/ElfFile.h"

namespace vek::program {

/// The entries are the same for 32 and 64 bits.
class ElfVersions {
public:
    /// `libraries` are the names of those that are loaded with it. Both must be among `names`, which
    /// must end with a 0.
    ElfVersions(const ElfRange& _names, const std::vector<uint64_t>& _libraries)
        : names(_names), libraries(_libraries) {}

    /// The table of the tag DT_VERNEED. Throws ElfError.
    void addNeeded(const ElfRange& section, uint64_t count) {
        uint64_t place = 0;
        for (uint64_t left = count; left > 0; --left) {
            const auto entry = get<Elf64_Verneed>(section, place);
            need(isLibrary(entry.vn_file));
            addNeededOf(section, place + entry.vn_aux, entry.vn_cnt);
            place = next(place, entry.vn_next, left);
        }
    }

    /// The table of the tag DT_VERDEF. Throws ElfError.
    void addDefined(const ElfRange& section, uint64_t count) {
        uint64_t place = 0;
        for (uint64_t left = count; left > 0; --left) {
            const auto entry = get<Elf64_Verdef>(section, place);
            add(entry.vd_ndx);
            checkNamesOf(section, place + entry.vd_aux, entry.vd_cnt);
            place = next(place, entry.vd_next, left);
        }
    }

    /// The table of the tag DT_VERSYM, with one number for each symbol. Throws ElfError.
    void check(const ElfRange& section, size_t symbols) const {
        const ElfTable<uint16_t> table(section);
        need(table.size() == symbols);
        for (size_t i = 0; i < table.size(); ++i) {
            const uint32_t number = table[i] & NUMBER;
            need(number <= VER_NDX_GLOBAL || numbers.count(number) != 0);
        }
    }

private:
    static constexpr uint32_t NUMBER = 0x7FFF;  ///< the highest bit hides a symbol

    static void need(bool fits) {
        if (!fits) {
            throw ElfError("its versions do not fit its symbols");
        }
    }

    template <class T>
    static T get(const ElfRange& section, uint64_t place) {
        need(place <= section.length && sizeof(T) <= section.length - place);
        return ElfTable<T>(partOf(section, place, sizeof(T), "its versions"))[0];
    }

    /// Where the entry behind this one is: there is one exactly if more are left.
    static uint64_t next(uint64_t place, uint32_t distance, uint64_t left) {
        need((distance == 0) == (left == 1));
        return place + distance;
    }

    void addNeededOf(const ElfRange& section, uint64_t place, uint64_t count) {
        need(count > 0);
        for (uint64_t left = count; left > 0; --left) {
            const auto entry = get<Elf64_Vernaux>(section, place);
            need(entry.vna_name < names.length);
            add(entry.vna_other);
            place = next(place, entry.vna_next, left);
        }
    }

    void checkNamesOf(const ElfRange& section, uint64_t place, uint64_t count) const {
        need(count > 0);
        for (uint64_t left = count; left > 0; --left) {
            const auto entry = get<Elf64_Verdaux>(section, place);
            need(entry.vda_name < names.length);
            place = next(place, entry.vda_next, left);
        }
    }

    void add(uint32_t number) { need(numbers.insert(number & NUMBER).second); }

    bool isLibrary(uint32_t name) const {
        need(name < names.length);
        for (const uint64_t library : libraries) {
            if (std::strcmp(text(name), text(library)) == 0) {
                return true;
            }
        }
        return false;
    }

    const char* text(uint64_t name) const {
        return reinterpret_cast<const char*>(names.data + name);
    }

    const ElfRange names;
    const std::vector<uint64_t>& libraries;
    std::set<uint32_t> numbers;
};

}  // namespace vek::program
