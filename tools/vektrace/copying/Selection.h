/// @file
/// Which records of a trace are wanted.
#pragma once

#include <bitset>
#include <optional>

#include "libvekstream/TraceSpan.h"

namespace vek::program {

/// A record is wanted when it meets every condition that is set.
struct Selection {
    using identifiers_t = std::bitset<0x10000>;

    identifiers_t identifiers = identifiers_t().set();  ///< at first all
    std::optional<timeStamp_t> from;
    std::optional<timeStamp_t> to;  ///< the first time that is not wanted any more
    bool undecodable = false;       ///< only what the registry cannot decode

    /// `record` is a record, not a gap.
    bool wants(const TraceSpan& record) const;

private:
    bool wantsTime(timeStamp_t time) const;
};

}  // namespace vek::program
