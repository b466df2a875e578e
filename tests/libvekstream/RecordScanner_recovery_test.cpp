// How much of a damaged trace is found again, and how much is found where there is nothing. The
// figures stand in docs/recovery.md; they are the same everywhere, since the damage is.

#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include "libvekstream/scanner/effort.h"
#include "libvekstream/scanner/scan.h"
#include "libvekstream/scanner/traces.h"

namespace {

// ---- Damage ------------------------------------------------------------------------------------

struct DamagedTrace {
    Trace trace;                  ///< the bytes as they are after the damage
    std::vector<bool> isDamaged;  ///< of each byte
};

using damage_t = void (*)(DamagedTrace&, bool marked, Dice&);

void spoil(DamagedTrace& damaged, size_t at, uint8_t byte) {
    damaged.trace.bytes[at] = byte;
    damaged.isDamaged[at] = true;
}

/// Gives a byte another value.
void spoil(DamagedTrace& damaged, size_t at, Dice& dice) {
    const auto change = static_cast<uint8_t>(dice.between(1, 255));
    spoil(damaged, at, damaged.trace.bytes[at] ^ change);
}

template <size_t perThousand>
void spoilBytes(DamagedTrace& damaged, bool /*marked*/, Dice& dice) {
    for (size_t at = 0; at < damaged.trace.bytes.size(); ++at) {
        if (dice.below(1000) < perThousand) {
            spoil(damaged, at, dice);
        }
    }
}

template <size_t perThousand>
void spoilPayloads(DamagedTrace& damaged, bool marked, Dice& dice) {
    for (const Placed& placed : damaged.trace.records) {
        for (size_t at = marked ? 16 : 14; at < placed.length; ++at) {
            if (dice.below(1000) < perThousand) {
                spoil(damaged, static_cast<size_t>(placed.offset) + at, dice);
            }
        }
    }
}

/// What a storage shows that lost every tenth of its sectors.
void loseSectors(DamagedTrace& damaged, bool /*marked*/, Dice& dice) {
    constexpr size_t SECTOR = 512;
    for (size_t begin = 0; begin + SECTOR <= damaged.trace.bytes.size(); begin += SECTOR) {
        if (dice.oneIn(10)) {
            for (size_t at = begin; at < begin + SECTOR; ++at) {
                spoil(damaged, at, uint8_t{0});
            }
        }
    }
}

DamagedTrace damagedTrace(damage_t damageDone, bool marked) {
    constexpr size_t RECORDS = 200000;
    Dice dice(2024);
    DamagedTrace damaged{randomTrace(dice, marked, RECORDS, 32), {}};
    damaged.isDamaged.resize(damaged.trace.bytes.size());
    damageDone(damaged, marked, dice);
    return damaged;
}

// ---- What is found -----------------------------------------------------------------------------

struct Found {
    uint64_t intact = 0;     ///< records of which no byte is damaged
    uint64_t recovered = 0;  ///< of these, those that are yielded as they are
    uint64_t invented = 0;   ///< records that are yielded where none was

    bool atLeast(uint64_t perThousand) const { return recovered * 1000 >= intact * perThousand; }
};

bool isIntact(const DamagedTrace& damaged, const Placed& placed) {
    for (size_t i = 0; i < placed.length; ++i) {
        if (damaged.isDamaged[static_cast<size_t>(placed.offset) + i]) {
            return false;
        }
    }
    return true;
}

Found found(const DamagedTrace& damaged, const std::vector<TraceSpan>& spans) {
    std::map<uint64_t, size_t> yielded;
    for (const TraceSpan& span : spans) {
        if (span.isRecord()) {
            yielded.emplace(span.offset, span.length);
        }
    }
    Found result;
    result.invented = yielded.size();
    for (const Placed& placed : damaged.trace.records) {
        const auto span = yielded.find(placed.offset);
        const bool isThere = span != yielded.end() && span->second == placed.length;
        const bool intact = isIntact(damaged, placed);
        result.intact += intact ? 1U : 0U;
        result.recovered += intact && isThere ? 1U : 0U;
        result.invented -= isThere ? 1U : 0U;
    }
    return result;
}

Found foundMarked(damage_t damageDone, sizeRule_t rule) {
    const DamagedTrace damaged = damagedTrace(damageDone, true);
    return found(damaged, spansAtOnce(damaged.trace.bytes, FRAMING_MARKED, rule));
}

Found foundUnmarked(damage_t damageDone) {
    const DamagedTrace damaged = damagedTrace(damageDone, false);
    return found(damaged, spansAtOnce(damaged.trace.bytes, FRAMING_UNMARKED, RULE_PREFER_CHAIN));
}

std::ostream& operator<<(std::ostream& os, const Found& found) {
    return os << found.recovered << " of " << found.intact << ", and " << found.invented
              << " invented";
}

// ---- Floors ------------------------------------------------------------------------------------

constexpr damage_t SPOIL_ONE_IN_1000 = spoilBytes<1>;
constexpr damage_t SPOIL_20_IN_1000 = spoilBytes<20>;
constexpr damage_t SPOIL_PAYLOADS = spoilPayloads<20>;

TEST(Recovery, FindsNearlyAllIntactRecordsWhenOneByteInAThousandIsDamaged) {
    const Found result = foundMarked(SPOIL_ONE_IN_1000, RULE_PREFER_CHAIN);
    EXPECT_GT(result.intact, 180000U);
    EXPECT_TRUE(result.atLeast(995)) << result;
}

TEST(Recovery, FindsMostIntactRecordsWhenOneByteInFiftyIsDamaged) {
    const Found result = foundMarked(SPOIL_20_IN_1000, RULE_PREFER_CHAIN);
    EXPECT_GT(result.intact, 80000U);
    EXPECT_TRUE(result.atLeast(890)) << result;
}

TEST(Recovery, LosesNoIntactRecordToDamagedPayloads) {
    for (const auto rule : {RULE_PREFER_CHAIN, RULE_TRUST_SIZES}) {
        const Found result = foundMarked(SPOIL_PAYLOADS, rule);
        EXPECT_EQ(result.recovered, result.intact);
        EXPECT_EQ(result.invented, 0U);
    }
    const Found unmarked = foundUnmarked(SPOIL_PAYLOADS);
    EXPECT_EQ(unmarked.recovered, unmarked.intact);
    EXPECT_EQ(unmarked.invented, 0U);
}

// Nothing but its size field tells where such a record ends: one that is damaged and happens to lead
// to the beginning of a later record swallows all that lies between.
TEST(Recovery, FindsFewerWhereSizesAreTrusted) {
    EXPECT_TRUE(foundMarked(SPOIL_ONE_IN_1000, RULE_TRUST_SIZES).atLeast(970));
    EXPECT_TRUE(foundMarked(SPOIL_20_IN_1000, RULE_TRUST_SIZES).atLeast(630));
}

TEST(Recovery, FindsFewerWhereThereAreNoMarkers) {
    EXPECT_TRUE(foundUnmarked(SPOIL_ONE_IN_1000).atLeast(925));
    EXPECT_TRUE(foundUnmarked(SPOIL_20_IN_1000).atLeast(505));
}

TEST(Recovery, FindsNearlyAllIntactRecordsBetweenLostSectors) {
    EXPECT_TRUE(foundMarked(loseSectors, RULE_PREFER_CHAIN).atLeast(999));
    EXPECT_TRUE(foundMarked(loseSectors, RULE_TRUST_SIZES).atLeast(999));
    EXPECT_TRUE(foundUnmarked(loseSectors).atLeast(995));
}

// ---- The document ------------------------------------------------------------------------------

/// "99.12 % (3)": of the intact records, and in parentheses how many were invented.
std::string cell(const Found& found) {
    const uint64_t hundredths = found.recovered * 10000 / found.intact;
    char text[64];
    std::snprintf(text, sizeof text, "%u.%02u %% (%u)", static_cast<unsigned>(hundredths / 100),
                  static_cast<unsigned>(hundredths % 100), static_cast<unsigned>(found.invented));
    return text;
}

std::string row(const char* what, damage_t damageDone) {
    return std::string("| ") + what + " | " + cell(foundMarked(damageDone, RULE_PREFER_CHAIN)) +
           " | " + cell(foundMarked(damageDone, RULE_TRUST_SIZES)) + " | " +
           cell(foundUnmarked(damageDone)) + " |";
}

std::string documentedTable() {
    std::ifstream document(DOCUMENTS "/recovery.md");
    std::string table;
    for (std::string line; std::getline(document, line);) {
        table += line.rfind("| ", 0) == 0 ? line + "\n" : "";
    }
    return table;
}

TEST(Recovery, AchievesWhatTheDocumentSays) {
    std::string table = "| damage | marked, chain preferred | marked, sizes trusted | unmarked |\n";
    for (const std::string& line :
         {row("0.1 % of the bytes", SPOIL_ONE_IN_1000), row("2 % of the bytes", SPOIL_20_IN_1000),
          row("2 % of the payloads' bytes", SPOIL_PAYLOADS),
          row("every tenth sector of 512 bytes is 00", loseSectors)}) {
        table += line + "\n";
    }
    EXPECT_EQ(documentedTable(), table);
}

// ---- Noise -------------------------------------------------------------------------------------

/// A window of noise that moves on as the scanner does.
class Noise {
public:
    explicit Noise(uint64_t length) : remaining(length), window(WINDOW) { refill(0); }

    /// Gives the scanner what it has not seen; false when there is nothing new.
    bool give(RecordScanner& scanner) {
        const auto seen = static_cast<size_t>(scanner.position() - begin);
        if (begun && remaining == 0) {
            return false;
        }
        if (begun) {
            refill(seen);
        }
        begun = true;
        scanner.setInput(
            window.data(), window.size(),
            remaining == 0 ? RecordScanner::INPUT_ENDS : RecordScanner::INPUT_CONTINUES);
        return true;
    }

private:
    static constexpr size_t WINDOW = 4 << 20;

    void refill(size_t seen) {
        const size_t kept = begun ? window.size() - seen : 0;
        std::copy(window.end() - static_cast<ptrdiff_t>(kept), window.end(), window.begin());
        window.resize(kept + static_cast<size_t>(std::min<uint64_t>(remaining, WINDOW - kept)));
        for (size_t at = kept; at < window.size(); at += 8) {
            const uint64_t number = dice.number();
            std::memcpy(window.data() + at, &number, std::min<size_t>(8, window.size() - at));
        }
        remaining -= window.size() - kept;
        begin += seen;
    }

    Dice dice{99};
    uint64_t remaining;
    uint64_t begin = 0;
    byteVec_t window;
    bool begun = false;
};

uint64_t recordsInNoise(uint64_t length, framing_t framing, sizeRule_t rule) {
    Noise noise(length);
    RecordScanner scanner(framing, rule);
    uint64_t records = 0;
    while (noise.give(scanner)) {
        for (TraceSpan span; scanner.next(span);) {
            records += span.isRecord() ? 1U : 0U;
        }
    }
    EXPECT_EQ(scanner.position(), length);
    return records;
}

// With an effort of 16 this is a whole GiB.
constexpr uint64_t NOISE = 64 << 20;

TEST(Recovery, FindsNoMarkedRecordInNoise) {
    EXPECT_EQ(recordsInNoise(NOISE * testEffort(), FRAMING_MARKED, RULE_PREFER_CHAIN), 0U);
}

TEST(Recovery, FindsNoUnmarkedRecordInNoise) {
    EXPECT_EQ(recordsInNoise(NOISE * testEffort(), FRAMING_UNMARKED, RULE_PREFER_CHAIN), 0U);
}

}  // namespace
