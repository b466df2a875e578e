/// @file
/// The stream that every contender writes text to: it is made once and its memory never grows, so
/// that neither the construction of a stream nor an allocation is part of what is timed.
#pragma once

#include <ostream>
#include <streambuf>
#include <string_view>
#include <vector>

namespace bench {

class FixedBuffer : public std::streambuf {
public:
    explicit FixedBuffer(size_t room) : memory(room) { reset(); }
    void reset() { setp(memory.data(), memory.data() + memory.size()); }
    std::string_view text() const { return {pbase(), static_cast<size_t>(pptr() - pbase())}; }

private:
    std::vector<char> memory;
};

class FixedStream : public std::ostream {
public:
    explicit FixedStream(size_t room) : std::ostream(nullptr), buffer(room) { rdbuf(&buffer); }
    /// Begins anew at the first character; flags and fill stay.
    void reset() { buffer.reset(); }
    std::string_view text() const { return buffer.text(); }

private:
    FixedBuffer buffer;
};

}  // namespace bench
