/// @file
/// Whether the hash tables of a shared object's file fit its symbols. The loader follows them
/// without looking where they lead.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tools/vektrace/plugin/ElfFile.h"

namespace vek::program {

inline bool isPowerOfTwo(uint64_t number) { return (number & (number - 1)) == 0; }

inline void needHash(bool fits) {
    if (!fits) {
        throw ElfError("its hash table does not fit its symbols");
    }
}

/// The table of the tag DT_GNU_HASH: a header, a Bloom filter, buckets with the first symbol of a
/// chain each, and the hash of each symbol from the first one on, whose lowest bit ends a chain.
template <class Elf>
class GnuHash {
public:
    using symbols_t = ElfTable<typename Elf::symbol_t>;

    /// All names must be among `names`, which must end with a 0.
    GnuHash(const ElfRange& _section, const symbols_t& _symbols, const ElfRange& _names)
        : section(_section), symbols(_symbols), names(_names) {
        const auto header = next<uint32_t>(4);
        first = header[1];
        shift = header[3];
        needHash(header[0] > 0 && header[2] > 0 && isPowerOfTwo(header[2]) && shift < 32 &&
                 first > 0 && first <= symbols.size());
        filter = next<word_t>(header[2]);
        buckets = next<uint32_t>(header[0]);
        hashes = next<uint32_t>(symbols.size() - first);
    }

    /// Throws ElfError.
    void check() const {
        size_t chains = 0;
        bool ended = true;
        size_t bucket = 0;
        for (size_t i = 0; i < hashes.size(); ++i) {
            const uint32_t hash = hashOf(symbols[first + i].st_name);
            needHash((hash | 1U) == (hashes[i] | 1U) && isInFilter(hash));
            if (ended) {
                bucket = hash % buckets.size();
                needHash(buckets[bucket] == first + i);
                ++chains;
            }
            needHash(hash % buckets.size() == bucket);
            ended = (hashes[i] & 1U) != 0;
        }
        needHash(ended && usedBuckets() == chains);
    }

private:
    using word_t = typename Elf::word_t;

    /// The part of the section behind the one before.
    template <class T>
    ElfTable<T> next(uint64_t count) {
        const uint64_t length = count * sizeof(T);
        needHash(length <= section.length - position);
        const ElfTable<T> part(partOf(section, position, length, "its hash table"));
        position += static_cast<size_t>(length);
        return part;
    }

    uint32_t hashOf(uint32_t name) const {
        constexpr uint64_t ALL = 0xFFFFFFFF;
        uint64_t hash = 5381;
        for (const uint8_t* c = names.data + name; *c != 0; ++c) {
            hash = (hash * 33 + *c) & ALL;
        }
        return static_cast<uint32_t>(hash);
    }

    bool isInFilter(uint32_t hash) const {
        constexpr size_t BITS = 8 * sizeof(word_t);
        const uint64_t word = filter[(hash / BITS) & (filter.size() - 1)];
        return ((word >> hash % BITS) & (word >> (hash >> shift) % BITS) & 1U) != 0;
    }

    size_t usedBuckets() const {
        size_t used = 0;
        for (size_t i = 0; i < buckets.size(); ++i) {
            used += buckets[i] != 0 ? 1U : 0U;
        }
        return used;
    }

    const ElfRange section;
    const symbols_t symbols;
    const ElfRange names;
    size_t position = 0;
    uint32_t first = 0;  ///< the symbol that the first hash is of
    uint32_t shift = 0;
    ElfTable<word_t> filter;
    ElfTable<uint32_t> buckets;
    ElfTable<uint32_t> hashes;
};

/// The table of the tag DT_HASH: numbers of buckets and of symbols, the first symbol of a chain for
/// each bucket, and the next one in its chain for each symbol. Throws ElfError.
template <class Entry>
void checkOldHash(const ElfTable<Entry>& table, size_t symbols) {
    needHash(table.size() >= 2);
    const uint64_t buckets = table[0];
    needHash(buckets > 0 && table[1] == symbols && symbols <= table.size() - 2 &&
             buckets <= table.size() - 2 - symbols);
    size_t steps = 0;
    for (size_t bucket = 0; bucket < buckets; ++bucket) {
        for (uint64_t i = table[2 + bucket]; i != 0;
             i = table[static_cast<size_t>(2 + buckets + i)]) {
            // A symbol is in one chain and there once.
            needHash(i < symbols && ++steps < symbols);
        }
    }
}

}  // namespace vek::program
