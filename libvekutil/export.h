/// @file
/// The mark for everything that the shared libraries offer to their users.
///
/// The libraries are compiled with hidden symbols; what carries this mark stays visible. Classes
/// that cross a library's border as a type (thrown, caught, cast) carry it too, so that there is
/// one type information for all shared objects of a process.
#pragma once

/// Stands in front of a declaration, or between `class` and the name.
#define VEK_EXPORT __attribute__((visibility("default")))

/// The same for a part of such a class that stays the library's own.
#define VEK_HIDDEN __attribute__((visibility("hidden")))
