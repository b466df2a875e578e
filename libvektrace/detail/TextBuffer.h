/// @file
/// Collects text in a small buffer on the stack and passes it on in as few pieces as possible: one
/// write to a stream costs as much as formatting a dozen bytes.
#pragma once

#include <cstring>
#include <ostream>
#include <string>
#include <string_view>

namespace vek::detail {

inline void passOn(std::ostream& sink, const char* text, size_t length) {
    sink.write(text, static_cast<std::streamsize>(length));
}

inline void passOn(std::string& sink, const char* text, size_t length) {
    sink.append(text, length);
}

/// `Sink` is a stream or a string, and must outlive the buffer. What is still in the buffer when
/// it is destroyed is dropped: end with flush().
template <class Sink>
class TextBuffer {
public:
    static constexpr size_t CAPACITY = 1024;

    // Only what was put in is ever read, and clearing a kilobyte would cost more than a short text.
    // cppcheck-suppress uninitMemberVar
    explicit TextBuffer(Sink& _sink) : sink(_sink) {}

    /// Text of any length; not null, also when it is empty.
    void put(std::string_view text) {
        if (text.size() > CAPACITY) {
            flush();
            passOn(sink, text.data(), text.size());
        } else {
            std::memcpy(reserve(text.size()), text.data(), text.size());
            end += text.size();
        }
    }

    /// Room for `length` characters, at most CAPACITY; commit() tells what was used of it.
    char* reserve(size_t length) {
        if (length > static_cast<size_t>(buffer + CAPACITY - end)) {
            flush();
        }
        return end;
    }
    void commit(char* newEnd) { end = newEnd; }

    void flush() {
        if (end != buffer) {
            passOn(sink, buffer, static_cast<size_t>(end - buffer));
            end = buffer;
        }
    }

private:
    Sink& sink;
    char* end = buffer;
    char buffer[CAPACITY];
};

}  // namespace vek::detail
