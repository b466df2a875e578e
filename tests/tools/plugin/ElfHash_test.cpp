#include "tools/vektrace/plugin/ElfHash.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using namespace vek::program;

namespace {

std::string refusal(const std::function<void()>& check) {
    try {
        check();
    } catch (const ElfError& e) {
        return e.what();
    }
    return "it was taken";
}

constexpr char TAKEN[] = "it was taken";
constexpr char REASON[] = "its hash table does not fit its symbols";

template <class Entry>
ElfTable<Entry> tableOf(const std::vector<Entry>& entries) {
    return ElfTable<Entry>(
        ElfRange{reinterpret_cast<const uint8_t*>(entries.data()), entries.size() * sizeof(Entry)});
}

// ---- DT_GNU_HASH -------------------------------------------------------------------------------

constexpr char NAMES[] = "\0a\0b\0c";
/// 5381 * 33 + the character: those of a and c are even.
constexpr uint32_t HASH_A = 0x2B606;
constexpr uint32_t HASH_B = HASH_A + 1;
constexpr uint32_t HASH_C = HASH_A + 2;

/// A table with a and c in one chain, and b in another; a test may spoil something.
template <class Elf>
struct Table {
    std::vector<uint32_t> header{2, 2, 1, 6};
    typename Elf::word_t filter = filterOf(HASH_A) | filterOf(HASH_B) | filterOf(HASH_C);
    std::vector<uint32_t> buckets{2, 4};
    std::vector<uint32_t> hashes{HASH_A & ~1U, HASH_C | 1U, HASH_B | 1U};
    typename Elf::symbol_t symbols[5] = {};

    Table() {
        symbols[2].st_name = 1;
        symbols[3].st_name = 5;
        symbols[4].st_name = 3;
    }

    static typename Elf::word_t filterOf(uint32_t hash) {
        constexpr uint32_t BITS = 8 * sizeof(typename Elf::word_t);
        const typename Elf::word_t one = 1;
        return one << hash % BITS | one << (hash >> 6) % BITS;
    }

    byteVec_t bytes() const {
        byteVec_t all;
        const auto add = [&](const void* data, size_t length) {
            const auto* const begin = static_cast<const uint8_t*>(data);
            all.insert(all.end(), begin, begin + length);
        };
        add(header.data(), 4 * header.size());
        add(&filter, sizeof filter);
        add(buckets.data(), 4 * buckets.size());
        add(hashes.data(), 4 * hashes.size());
        return all;
    }
};

template <class Elf>
class GnuHashes : public testing::Test {
protected:
    static std::string refusalOf(const byteVec_t& bytes, const Table<Elf>& table) {
        return refusal([&] {
            const ElfRange symbols = {reinterpret_cast<const uint8_t*>(table.symbols),
                                      sizeof table.symbols};
            const ElfRange names = {reinterpret_cast<const uint8_t*>(NAMES), sizeof NAMES};
            GnuHash<Elf>({bytes.data(), bytes.size()}, ElfTable<typename Elf::symbol_t>(symbols),
                         names)
                .check();
        });
    }
    static std::string refusalWith(const std::function<void(Table<Elf>&)>& spoil) {
        Table<Elf> table;
        spoil(table);
        return refusalOf(table.bytes(), table);
    }
};

class ClassNames {
public:
    template <class Elf>
    static std::string GetName(int) {
        return sizeof(typename Elf::word_t) == 4 ? "Of32Bits" : "Of64Bits";
    }
};

using classes_t = testing::Types<Elf32, Elf64>;
TYPED_TEST_SUITE(GnuHashes, classes_t, ClassNames);

}  // namespace

TYPED_TEST(GnuHashes, ThatFitAreTaken) {
    EXPECT_EQ(this->refusalWith([](Table<TypeParam>&) {}), TAKEN);
}

TYPED_TEST(GnuHashes, AreRefusedWithAHeaderThatDoesNotFit) {
    using table_t = Table<TypeParam>;
    for (const uint32_t buckets : {0U, 1U, 3U, UINT32_MAX}) {
        EXPECT_EQ(this->refusalWith([&](table_t& t) { t.header[0] = buckets; }), REASON);
    }
    for (const uint32_t first : {0U, 1U, 3U, 6U, UINT32_MAX}) {
        EXPECT_EQ(this->refusalWith([&](table_t& t) { t.header[1] = first; }), REASON);
    }
    for (const uint32_t filters : {0U, 2U, 3U, UINT32_MAX, 0x80000000U}) {
        EXPECT_EQ(this->refusalWith([&](table_t& t) { t.header[2] = filters; }), REASON);
    }
    EXPECT_EQ(this->refusalWith([&](table_t& t) { t.header[3] = 32; }), REASON);
}

TYPED_TEST(GnuHashes, AreRefusedWithBucketsThatDoNotLeadToTheBeginOfTheirChain) {
    using table_t = Table<TypeParam>;
    for (const uint32_t symbol : {0U, 1U, 3U, 4U, 5U, UINT32_MAX}) {
        EXPECT_EQ(this->refusalWith([&](table_t& t) { t.buckets[0] = symbol; }), REASON);
    }
    // Each symbol has a chain of its own, and bucket 1 has none.
    const auto withUnused = [](uint32_t unused) {
        return [=](table_t& t) {
            t.header[0] = 4;
            t.buckets = {3, unused, 2, 4};
            t.hashes[0] |= 1U;
        };
    };
    EXPECT_EQ(this->refusalWith(withUnused(0)), TAKEN);
    EXPECT_EQ(this->refusalWith(withUnused(2)), REASON);
}

TYPED_TEST(GnuHashes, AreRefusedWithChainsThatDoNotEnd) {
    using table_t = Table<TypeParam>;
    EXPECT_EQ(this->refusalWith([](table_t& t) { t.hashes[2] &= ~1U; }), REASON);
    EXPECT_EQ(this->refusalWith([](table_t& t) { t.hashes[1] &= ~1U; }), REASON);
    EXPECT_EQ(this->refusalWith([](table_t& t) { t.hashes[0] |= 1U; }), REASON);
}

TYPED_TEST(GnuHashes, AreRefusedThatAreOfOtherNames) {
    using table_t = Table<TypeParam>;
    EXPECT_EQ(this->refusalWith([](table_t& t) { t.hashes[0] ^= 0x100; }), REASON);
    EXPECT_EQ(this->refusalWith([](table_t& t) { t.symbols[2].st_name = 3; }), REASON);
    EXPECT_EQ(this->refusalWith([](table_t& t) { t.filter = 0; }), REASON);
}

TYPED_TEST(GnuHashes, AreRefusedThatAreCut) {
    const Table<TypeParam> table;
    for (byteVec_t bytes = table.bytes(); !bytes.empty();) {
        bytes.pop_back();
        // In memory of its own, so that reading beyond its end does not go unnoticed.
        EXPECT_EQ(this->refusalOf(byteVec_t(bytes), table), REASON) << bytes.size();
    }
}

// ---- DT_HASH -----------------------------------------------------------------------------------

namespace {

/// Of four symbols, 1 and 3 in one chain and 2 in the other.
template <class Entry>
std::string oldRefusal(const std::function<void(std::vector<Entry>&)>& spoil) {
    std::vector<Entry> entries = {2, 4, 1, 2, 0, 3, 0, 0};
    spoil(entries);
    return refusal([&] { checkOldHash(tableOf(entries), 4); });
}

template <class Entry>
class OldHashes : public testing::Test {};

class EntryNames {
public:
    template <class Entry>
    static std::string GetName(int) {
        return sizeof(Entry) == sizeof(uint32_t) ? "Of32Bits" : "Of64Bits";
    }
};

using entries_t = testing::Types<uint32_t, uint64_t>;
TYPED_TEST_SUITE(OldHashes, entries_t, EntryNames);

}  // namespace

TYPED_TEST(OldHashes, ThatFitAreTaken) {
    EXPECT_EQ(oldRefusal<TypeParam>([](auto&) {}), TAKEN);
}

TYPED_TEST(OldHashes, AreRefusedWithOtherNumbersThanTheySay) {
    for (const auto number : {TypeParam{0}, TypeParam{3}, static_cast<TypeParam>(-1)}) {
        EXPECT_EQ(oldRefusal<TypeParam>([&](auto& table) { table[0] = number; }), REASON);
        EXPECT_EQ(oldRefusal<TypeParam>([&](auto& table) { table[1] = number; }), REASON);
    }
    EXPECT_EQ(oldRefusal<TypeParam>([](auto& table) { table.pop_back(); }), REASON);
    EXPECT_EQ(oldRefusal<TypeParam>([](auto& table) { table.resize(1); }), REASON);
}

TYPED_TEST(OldHashes, AreRefusedThatLeadToNoSymbol) {
    for (size_t i = 2; i < 8; ++i) {
        const bool reached = i != 4;  // symbol 0 is in no chain
        EXPECT_EQ(oldRefusal<TypeParam>([&](auto& table) { table[i] = 4; }),
                  reached ? REASON : TAKEN);
    }
}

TYPED_TEST(OldHashes, AreRefusedWithChainsThatDoNotEnd) {
    EXPECT_EQ(oldRefusal<TypeParam>([](auto& table) { table[7] = 1; }), REASON);
    EXPECT_EQ(oldRefusal<TypeParam>([](auto& table) { table[6] = 2; }), REASON);
}
