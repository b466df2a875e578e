/// @file
/// Reads what a shared object exports out of its file, without loading it.
///
/// Loading runs the initialisers of an object, so what it says of itself must be read before. Bytes
/// from a file are not to be trusted: whatever they are, nothing beyond them is read.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "libvekutil/utility.h"

namespace vek::program {

/// The file is no shared object, or not one for this machine; what() is the reason.
class ElfError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What an ELF file is made for.
struct ElfMachine {
    uint8_t wordClass;  ///< ELFCLASS32 or ELFCLASS64
    uint8_t byteOrder;  ///< ELFDATA2LSB or ELFDATA2MSB
    uint16_t machine;

    bool operator==(const ElfMachine& other) const {
        return wordClass == other.wordClass && byteOrder == other.byteOrder &&
               machine == other.machine;
    }
};

/// What this program is made for.
ElfMachine hostMachine();

/// The bytes of the data object that the shared object `file` exports under `name`, as they are
/// before any relocation. Throws ElfError where the file is not well-formed, is not for `machine`,
/// whose byte order is the host's, or has no such object.
byteVec_t readElfObject(const byteVec_t& file, const std::string& name, const ElfMachine& machine);

/// Throws ElfError where `file` does not export a function under `name`: one in code that is loaded,
/// and not one that the loader itself would call to learn the address of another.
void needElfFunction(const byteVec_t& file, const std::string& name, const ElfMachine& machine);

/// Throws ElfError where a section with code or data is not in a segment that is loaded, as the loader,
/// which knows no sections, would put 0 in its place; and where the segments do not lie within 4 GiB,
/// as some systems reserve memory page by page.
void needElfLoading(const byteVec_t& file, const ElfMachine& machine);

}  // namespace vek::program
