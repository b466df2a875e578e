/// @file
/// The verbs, in the order in which the help lists them.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/vektrace/program/Session.h"

namespace vek::program {

/// Adds a verb with its options, which live as long as `program`; `session` outlives both.
using addVerb_t = void (*)(CLI::App& program, Session& session);

void addDump(CLI::App& program, Session& session);
void addInfo(CLI::App& program, Session& session);
void addCheck(CLI::App& program, Session& session);
void addFilter(CLI::App& program, Session& session);
void addRecover(CLI::App& program, Session& session);
void addMerge(CLI::App& program, Session& session);
void addSplit(CLI::App& program, Session& session);
void addExport(CLI::App& program, Session& session);
void addImport(CLI::App& program, Session& session);
void addSample(CLI::App& program, Session& session);
void addDamage(CLI::App& program, Session& session);
void addPlugins(CLI::App& program, Session& session);
void addCompletion(CLI::App& program, Session& session);
/// The last one: it lists the others.
void addHelp(CLI::App& program, Session& session);

inline constexpr addVerb_t VERBS[] = {
    addDump,   addInfo,   addCheck,  addFilter, addRecover, addMerge,      addSplit,
    addExport, addImport, addSample, addDamage, addPlugins, addCompletion, addHelp,
};

}  // namespace vek::program
