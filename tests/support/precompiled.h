/// @file
/// What nearly every test includes, compiled once. Tests include what they use all the same: with
/// CMAKE_DISABLE_PRECOMPILE_HEADERS they do without this.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>
