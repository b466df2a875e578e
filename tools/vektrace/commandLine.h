/// @file
/// The whole command line, and the run of what it asks for.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/vektrace/program/Session.h"

namespace vek::program {

/// Gives `program` its options and verbs.
void addCommandLine(CLI::App& program, Session& session);

/// Reads the command line, does what it asks for, and returns the exit status.
int run(int argc, const char* const* argv);

}  // namespace vek::program
