/// @file
/// Every contender adds its operations to the suite. Those of the libraries that may be missing are
/// built when CMake finds them.
#pragma once

namespace bench {

void addOurs();
void addBound();
void addPlain();
void addFmt();
void addAbsl();
void addSpdlog();
void addProtobuf();
void addMsgpack();
void addTins();

}  // namespace bench
