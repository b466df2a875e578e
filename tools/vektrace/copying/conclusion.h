/// @file
/// What is told of the inputs of a copy, and whether it is kept.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/vektrace/program/inputs.h"
#include "tools/vektrace/program/losses.h"
#include "tools/vektrace/program/output.h"

namespace vek::program {

/// The inputs that were opened, and how they ended.
class InputTally {
public:
    void add(const Input& input) { add(input.path(), input.failed()); }
    void add(const std::string& path, bool inputFailed);

    /// Whether there was one at all, and each could be read to its end.
    bool isWhole() const { return !opened.empty() && !failed; }
    const std::vector<std::string>& paths() const { return opened; }

private:
    std::vector<std::string> opened;
    bool failed = false;
};

/// Tells of the gaps of an input as a loss, if there are any: "FILE: 3 gaps, 70 bytes (...)
/// dropped".
void reportGaps(Session& session, const Input& input, const GapTotals& gaps,
                const std::string& whatBecame);

/// Said of an output without markers, in which records that stood apart stand side by side.
inline constexpr char UNREADABLE[] =
    "without sync markers these records are not all told apart: their identifiers are unknown, or "
    "their times too far from each other";

/// The ledger beside an output, or null where none is wanted. Lines may go to a terminal. Throws
/// UsageError where both are the same, and what Output's constructor throws.
std::unique_ptr<Output> openLedger(Session& session, const std::optional<std::string>& path,
                                   const OutputOptions& output,
                                   const std::vector<std::string>& inputs);

/// Commits the ledger, if there is one, and then the output that it accounts for: the output is never
/// there without it. Where the output fails then, the session is told that the ledger is there alone.
void commitWithLedger(Session& session, Output* ledger, Output& output);

/// Commits the output when every input that could be opened was read to its end, or else leaves no
/// file: one whose end is missing looks like a whole one. Throws what Output::commit throws.
void conclude(Session& session, Output& output, const InputTally& inputs);

}  // namespace vek::program
