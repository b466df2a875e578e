#include "libvekstream/detail/CompressedSource.h"

#include <cstring>

#include "libvekstream/detail/IoError.h"

namespace vek::detail {

namespace {

/// Less than this is no harm, however short its compressed form is.
constexpr uint64_t ALWAYS_ALLOWED = 0x1000000;

}  // namespace

CompressedSource::CompressedSource(const char* _prefix, const CompressedInput& input)
    : end(buffer + input.headLength),
      prefix(_prefix),
      rest(input.rest),
      expansionLimit(input.expansionLimit),
      loaded(input.headLength) {
    std::memcpy(buffer, input.head, input.headLength);
}

size_t CompressedSource::read(uint8_t* to, size_t room) {
    checkExpansion();
    while (!rest.stopped()) {
        const size_t length = decompress(to, room);
        if (length > 0) {
            given += length;
            return length;
        }
        if (begin == end && !refill()) {
            checkEnd();
            break;
        }
    }
    return 0;
}

bool CompressedSource::refill() {
    const size_t length = rest.read(buffer, CAPACITY);
    loaded += length;
    begin = buffer;
    end = buffer + length;
    return length > 0;
}

void CompressedSource::checkExpansion() const {
    const uint64_t used = loaded - static_cast<size_t>(end - begin);
    if (given > ALWAYS_ALLOWED && expansionLimit > 0 && (given - 1) / expansionLimit >= used) {
        fail("expands more than the limit allows");
    }
}

void CompressedSource::checkEnd() const {
    if (!rest.stopped() && !isWhole()) {
        fail("truncated");
    }
}

void CompressedSource::fail(const char* what) const { throw IoError(what, prefix); }

}  // namespace vek::detail
