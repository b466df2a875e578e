/// @file
/// The text of messages, rendered into memory that is used again and again.
#pragma once

#include <ostream>
#include <streambuf>
#include <string_view>
#include <vector>

#include "libvektrace/MessageBase.h"

namespace vek::program {

class MessageText {
public:
    MessageText();

    /// What the message's print writes, or why it could not; valid until the next call. Only
    /// std::bad_alloc passes through.
    std::string_view render(const MessageBase& message);

private:
    class Buffer : public std::streambuf {
    public:
        Buffer();
        void clear() { setp(memory.data(), memory.data() + memory.size()); }
        std::string_view view() const { return {pbase(), static_cast<size_t>(pptr() - pbase())}; }

    private:
        int_type overflow(int_type c) override;

        std::vector<char> memory;
    };

    void reset();

    Buffer buffer;
    std::ostream stream;
};

}  // namespace vek::program
