// The library names ten simple messages; who uses another one names it.
// error: undefined (reference|symbol).*SimpleMessage<.*>::messageName
#include <iostream>

#include "libvektrace/SimpleMessage.h"

#ifndef FAULT
template <>
const char SimpleMessage<MSGID_PING>::messageName[] = "PING";
#endif

int main() { std::cout << SimpleMessage<MSGID_PING>(0).toString() << '\n'; }
