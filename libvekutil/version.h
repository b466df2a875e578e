/// @file
/// The version of VekTrace: of the headers at compile time, of the library at run time.
///
/// The three numbers are written here, and the build reads them from this file. All
/// libraries of an installation, and the program, have the same version.
#pragma once

#include "libvekutil/export.h"

/// Raised where programs must be compiled anew, and may have to be changed.
#define VEKTRACE_VERSION_MAJOR 1

/// Raised where something was added. What was compiled with a lower one runs as it did.
#define VEKTRACE_VERSION_MINOR 0

/// Raised where something was corrected, and nothing added.
#define VEKTRACE_VERSION_PATCH 0

/// The version of these headers as a number that grows with it, for `#if` too: 2003004 is 2.3.4.
#define VEKTRACE_VERSION_NUMBER \
    (VEKTRACE_VERSION_MAJOR * 1000000 + VEKTRACE_VERSION_MINOR * 1000 + VEKTRACE_VERSION_PATCH)

/// The version of these headers as a literal, as "2.3.4".
#define VEKTRACE_VERSION_STRING              \
    VEKTRACE_TEXT_OF(VEKTRACE_VERSION_MAJOR) \
    "." VEKTRACE_TEXT_OF(VEKTRACE_VERSION_MINOR) "." VEKTRACE_TEXT_OF(VEKTRACE_VERSION_PATCH)

/// Not for users: the literal for what a macro expands to. The second one, so that it is expanded.
#define VEKTRACE_TEXT_OF(macro) VEKTRACE_TEXT(macro)
#define VEKTRACE_TEXT(expanded) #expanded

/// The VEKTRACE_VERSION_STRING that the library was built with. Where it is shared this may be
/// another version than that of the headers a program was compiled with. The text is never freed.
/// May be called from any thread at any time, also before main.
VEK_EXPORT const char* vektraceVersion() noexcept;

/// The VEKTRACE_VERSION_NUMBER that the library was built with. A program has all that it was
/// compiled with where this is not below its own VEKTRACE_VERSION_NUMBER and the major versions are
/// the same, which the shared library's name ensures. Callable as vektraceVersion is.
VEK_EXPORT int vektraceVersionNumber() noexcept;
