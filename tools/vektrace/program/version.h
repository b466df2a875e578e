/// @file
/// What --version says.
#pragma once

#include <string>

namespace vek::program {

/// The version, then one line for every part that a build may leave out.
std::string versionText();

}  // namespace vek::program
