#include "tools/vektrace/making/Damager.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace vek::program {

namespace {

/// The uses of random numbers, each of which has a stream of its own.
enum stream_t : uint64_t { STREAM_RUNS = 1, STREAM_PLACES = 2, STREAM_VALUES = 3 };

/// The most bytes that are handled at once.
constexpr size_t DAMAGED_PIECE = 0x10000;

/// Input bytes that no run takes.
uint64_t eligibleBytes(const DamagePlan& plan, uint64_t total) {
    uint64_t eligible = total;
    DamageRuns runs(plan, total);
    while (const auto run = runs.next()) {
        eligible -= run->kind == DAMAGE_INSERT ? 0 : run->length;
    }
    return eligible;
}

}  // namespace

const char* damageName(damage_t kind) {
    static constexpr const char* NAMES[] = {"change", "cut", "insert", "zero"};
    return NAMES[kind];
}

bool DamagePlan::fits(uint64_t total) const {
    // Each for itself first, since their sum may be more than 64 bits hold.
    return cuts <= total && inserts <= total - cuts && zeros <= total - cuts - inserts &&
           changes <= eligibleBytes(*this, total);
}

// ---- Runs --------------------------------------------------------------------------------------

DamageRuns::DamageRuns(const DamagePlan& plan, uint64_t _total)
    : random(plan.seed, STREAM_RUNS),
      left{0, plan.cuts, plan.inserts, plan.zeros},
      maxRun(plan.maxRun),
      runs(plan.runs()),
      total(_total) {}

std::optional<DamageRuns::Run> DamageRuns::next() {
    if (done == runs) {
        return std::nullopt;
    }
    // Parts of a length, the first ones a byte longer where it does not come out even.
    const uint64_t part = total / runs;
    const uint64_t longer = total % runs;
    const uint64_t begin = done * part + std::min(done, longer);
    const uint64_t end = begin + part + (done < longer ? 1 : 0);
    ++done;
    const uint64_t offset = begin + random.below(end - begin);
    const damage_t kind = drawKind();
    const uint64_t room = kind == DAMAGE_INSERT ? maxRun : std::min(maxRun, end - offset);
    return Run{kind, offset, 1 + random.below(room)};
}

damage_t DamageRuns::drawKind() {
    uint64_t place = random.below(left[DAMAGE_CUT] + left[DAMAGE_INSERT] + left[DAMAGE_ZERO]);
    damage_t kind = DAMAGE_CUT;
    while (place >= left[kind]) {
        place -= left[kind];
        kind = static_cast<damage_t>(kind + 1);
    }
    --left[kind];
    return kind;
}

// ---- Bytes -------------------------------------------------------------------------------------

Damager::Damager(const DamagePlan& plan, uint64_t total, writer_t _writer, observer_t _observer)
    : runs(plan, total),
      places(plan.seed, STREAM_PLACES),
      values(plan.seed, STREAM_VALUES),
      writer(std::move(_writer)),
      observer(std::move(_observer)),
      eligible(eligibleBytes(plan, total)),
      changesLeft(plan.changes) {
    run = runs.next();
}

void Damager::take(const uint8_t* bytes, size_t length) {
    while (length > 0) {
        if (runLeft == 0 && run && run->offset == taken) {
            beginRun();
            continue;
        }
        uint64_t piece = std::min<uint64_t>(length, DAMAGED_PIECE);
        if (runLeft > 0) {
            piece = std::min(piece, runLeft);
            takeRun(static_cast<size_t>(piece));
        } else {
            piece = run ? std::min(piece, run->offset - taken) : piece;
            copy(bytes, static_cast<size_t>(piece));
        }
        bytes += piece;
        length -= static_cast<size_t>(piece);
    }
}

/// An insertion takes no input: it is over at once.
void Damager::beginRun() {
    report(run->kind, run->length);
    if (run->kind == DAMAGE_INSERT) {
        insert(run->length);
        run = runs.next();
    } else {
        runLeft = run->length;
    }
}

void Damager::insert(uint64_t length) {
    while (length > 0) {
        scratch.resize(static_cast<size_t>(std::min<uint64_t>(length, DAMAGED_PIECE)));
        values.fill(scratch.data(), scratch.size());
        write(scratch.data(), scratch.size());
        length -= scratch.size();
    }
}

void Damager::takeRun(size_t length) {
    if (run->kind == DAMAGE_ZERO) {
        scratch.assign(length, 0);
        write(scratch.data(), length);
    }
    taken += length;
    runLeft -= length;
    if (runLeft == 0) {
        run = runs.next();
    }
}

void Damager::copy(const uint8_t* bytes, size_t length) {
    if (changesLeft == 0) {
        write(bytes, length);
        taken += length;
        return;
    }
    scratch.assign(bytes, bytes + length);
    for (uint8_t& byte : scratch) {
        // Of the bytes that are left, so many are still to be changed.
        if (places.below(eligible--) < changesLeft) {
            --changesLeft;
            const uint8_t before = byte;
            byte = static_cast<uint8_t>(byte ^ values.between(1, UINT8_MAX));
            observer({DAMAGE_CHANGE, taken, written, 1, before, byte});
        }
        ++taken;
        ++written;
    }
    writer(scratch.data(), scratch.size());
}

void Damager::write(const uint8_t* bytes, size_t length) {
    writer(bytes, length);
    written += length;
}

void Damager::report(damage_t kind, uint64_t length) {
    observer({kind, taken, written, length, 0, 0});
}

}  // namespace vek::program
