/// @file
/// The text of messages, rendered into memory that is used again and again.
#pragma once

#include <cstddef>
#include <ios>
#include <ostream>
#include <streambuf>
#include <string_view>
#include <vector>

#include "libvektrace/MessageBase.h"

namespace vek::program {

class MessageText {
public:
    MessageText();

    /// What the message's print writes, or why it could not; valid until the next call. Where a class
    /// spoils the stream it is what was written before. Only std::bad_alloc passes through, also where
    /// there is no memory for the text.
    std::string_view render(const MessageBase& message);

private:
    class Buffer : public std::streambuf {
    public:
        Buffer();
        void clear();
        /// Whether there was memory for all of the text. A stream keeps what its buffer throws to
        /// itself.
        bool isWhole() const { return whole; }
        std::string_view view() const { return {pbase(), static_cast<size_t>(pptr() - pbase())}; }

    private:
        int_type overflow(int_type c) override;
        void begin() { setp(memory.data(), memory.data() + memory.size()); }

        std::vector<char> memory;
        bool whole = true;
    };

    void reset();
    void say(std::string_view failure);

    Buffer buffer;
    std::ios untouched;  ///< the state that every text begins with
    std::ostream stream;
    bool touched = true;  ///< whether the stream's state may be another one
};

}  // namespace vek::program
