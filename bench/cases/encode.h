/// @file
/// Cases: a record is encoded and appended to memory that is used again and again. The outcome is
/// the record's bytes.
#pragma once

#include <iterator>

#include "cases/Fields.h"
#include "suite/Suite.h"

namespace bench {

struct EncodeCase {
    const char* name;
    Fields fields;
};

/// No payload, 8, 64 and 1400 bytes.
const std::vector<EncodeCase>& encodeCases();

/// Adds a contender to every encoding case.
template <class Encoder>
void addEncoder(const std::string& name) {
    for (const EncodeCase& c : encodeCases()) {
        add<Encoder>(c.name, name, c.fields);
    }
}

}  // namespace bench
