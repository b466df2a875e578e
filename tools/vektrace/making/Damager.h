/// @file
/// Damages bytes that go by: runs of them are cut out, put in or zeroed, and single ones changed.
///
/// What happens where depends on the plan and the number of bytes alone, not on the bytes or on the
/// pieces in which they come. The input is divided into as many equal parts as there are runs, and
/// every part has one, of a random kind, length and place: so runs never meet, and none is lost.
/// The single bytes to change are drawn, all with the same chance, from those that no run takes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

#include "tools/vektrace/making/Random.h"

namespace vek::program {

struct DamagePlan {
    uint64_t seed = 1;
    uint64_t changes = 0;   ///< single bytes that get another value
    uint64_t cuts = 0;      ///< runs that are left out
    uint64_t inserts = 0;   ///< runs of random bytes that are put in front of a byte
    uint64_t zeros = 0;     ///< runs that become 0
    uint64_t maxRun = 256;  ///< bytes; not 0

    uint64_t runs() const { return cuts + inserts + zeros; }
    /// Whether `total` bytes are enough: one for every run, and for every change one that no run
    /// takes.
    bool fits(uint64_t total) const;
};

enum damage_t : int { DAMAGE_CHANGE, DAMAGE_CUT, DAMAGE_INSERT, DAMAGE_ZERO };

/// "change", "cut", "insert", "zero".
const char* damageName(damage_t kind);

/// One thing that was done. Both offsets are of its first byte; of bytes that were cut out the
/// output has none, and the offset there is of the byte behind them. Likewise for inserted ones in
/// the input.
struct DamageDone {
    damage_t kind;
    uint64_t inputOffset;
    uint64_t outputOffset;
    uint64_t length;
    uint8_t before;  ///< of a changed byte
    uint8_t after;
};

/// The runs of a plan, from the first one to the last.
class DamageRuns {
public:
    struct Run {
        damage_t kind;
        uint64_t offset;  ///< in the input
        uint64_t length;
    };

    /// At least as many bytes as runs.
    DamageRuns(const DamagePlan& plan, uint64_t total);

    std::optional<Run> next();

private:
    damage_t drawKind();

    Random random;
    uint64_t left[DAMAGE_ZERO + 1];  ///< runs to come, by kind
    const uint64_t maxRun;
    const uint64_t runs;
    const uint64_t total;
    uint64_t done = 0;
};

class Damager {
public:
    using writer_t = std::function<void(const uint8_t* bytes, size_t length)>;
    using observer_t = std::function<void(const DamageDone& done)>;

    /// `total` bytes will be taken, for which the plan is fit.
    Damager(const DamagePlan& plan, uint64_t total, writer_t writer, observer_t observer);

    /// The next bytes of the input.
    void take(const uint8_t* bytes, size_t length);

private:
    void copy(const uint8_t* bytes, size_t length);
    void beginRun();
    void insert(uint64_t length);
    void takeRun(size_t length);
    void write(const uint8_t* bytes, size_t length);
    void report(damage_t kind, uint64_t length);

    DamageRuns runs;
    Random places;
    Random values;
    const writer_t writer;
    const observer_t observer;
    std::optional<DamageRuns::Run> run;  ///< the one that is going on or comes next
    uint64_t runLeft = 0;                ///< input bytes of the one that is going on
    uint64_t eligible;                   ///< input bytes to come that no run takes
    uint64_t changesLeft;
    uint64_t taken = 0;
    uint64_t written = 0;
    byteVec_t scratch;
};

}  // namespace vek::program
