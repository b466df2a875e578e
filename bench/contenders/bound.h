/// @file
/// The hand-written bound, whose two halves lie in units of their own.
#pragma once

namespace bench {

void addBoundForBytes(const char* name);
void addBoundForText(const char* name);

}  // namespace bench
