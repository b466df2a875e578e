#include "tools/vektrace/program/MessageText.h"

#include <cstddef>
#include <exception>
#include <locale>
#include <new>
#include <string>
#include <typeinfo>

namespace vek::program {

namespace {

constexpr size_t INITIAL_SIZE = 4096;

}  // namespace

MessageText::Buffer::Buffer() : memory(INITIAL_SIZE) { clear(); }

void MessageText::Buffer::clear() {
    begin();
    whole = true;
}

MessageText::Buffer::int_type MessageText::Buffer::overflow(int_type c) {
    const size_t used = view().size();
    whole = false;
    memory.resize(2 * memory.size());
    whole = true;
    begin();
    // A text is far below what an int counts: the longest one is that of 65535 bytes in hexadecimal.
    pbump(static_cast<int>(used));
    return traits_type::eq_int_type(c, traits_type::eof()) ? traits_type::not_eof(c)
                                                           : sputc(traits_type::to_char_type(c));
}

MessageText::MessageText() : untouched(nullptr), stream(&buffer) {
    untouched.imbue(std::locale::classic());
}

/// A class may leave the stream's state behind as it likes.
void MessageText::reset() {
    buffer.clear();
    stream.exceptions(std::ios::goodbit);
    stream.copyfmt(untouched);
    stream.rdbuf(&buffer);
}

void MessageText::say(std::string_view failure) {
    // Into the buffer, as the stream may take nothing any more.
    buffer.sputn(failure.data(), static_cast<std::streamsize>(failure.size()));
}

std::string_view MessageText::render(const MessageBase& message) {
    if (touched) {
        reset();
    } else {
        buffer.clear();
    }
    touched = true;
    try {
        message.print(stream);
        // The library's own class leaves everything as it was, and a reset takes as long as a text.
        touched = typeid(message) != typeid(InvalidMessage) || !stream.good();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& e) {
        say(std::string(" [its text failed: ") + e.what() + ']');
    } catch (...) {
        say(" [its text failed]");
    }
    if (!buffer.isWhole()) {
        throw std::bad_alloc();
    }
    return buffer.view();
}

}  // namespace vek::program
