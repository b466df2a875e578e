/// @file
/// What nearly every test includes, compiled once where VEKTRACE_UNITY is on. Tests include what they
/// use all the same, as the daily build does without this.
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
