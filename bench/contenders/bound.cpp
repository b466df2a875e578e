#include "contenders/bound.h"

#include "contenders/contenders.h"

void bench::addBound() {
    constexpr const char* NAME = "bound";
    addBoundForBytes(NAME);
    addBoundForText(NAME);
}
