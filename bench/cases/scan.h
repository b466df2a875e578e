/// @file
/// Cases: a trace in memory is divided into records and gaps. The outcome is how many bytes were
/// accounted for.
#pragma once

#include "libvekutil/utility.h"

namespace bench {

/// Records with a marker and up to 32 bytes of payload.
const byteVec_t& cleanTrace();
/// As many bytes, of which every third begins what might be a record and is none.
const byteVec_t& hostileTrace();

/// In "scan, marked records" the bound is to copy the same bytes, in "scan, hostile input" it is to
/// scan as many bytes of records.
void addScans();

}  // namespace bench
