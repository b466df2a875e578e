#include "tools/vektrace/program/MessageText.h"

#include <fmt/format.h>

#include <locale>
#include <new>

namespace vek::program {

namespace {

constexpr size_t INITIAL_SIZE = 4096;

}  // namespace

MessageText::Buffer::Buffer() : memory(INITIAL_SIZE) { clear(); }

MessageText::Buffer::int_type MessageText::Buffer::overflow(int_type c) {
    const size_t used = view().size();
    memory.resize(2 * memory.size());
    clear();
    // A text is far below what an int counts: the longest one is that of 65535 bytes in hexadecimal.
    pbump(static_cast<int>(used));
    return traits_type::eq_int_type(c, traits_type::eof()) ? traits_type::not_eof(c)
                                                           : sputc(traits_type::to_char_type(c));
}

MessageText::MessageText() : stream(&buffer) { stream.imbue(std::locale::classic()); }

/// A class may leave the stream's state behind as it likes.
void MessageText::reset() {
    buffer.clear();
    stream.clear();
    stream.flags(std::ios::skipws | std::ios::dec);
    stream.fill(' ');
    stream.width(0);
    stream.precision(6);
}

std::string_view MessageText::render(const MessageBase& message) {
    reset();
    try {
        message.print(stream);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& e) {
        stream << " [its text failed: " << e.what() << ']';
    } catch (...) {
        stream << " [its text failed]";
    }
    return buffer.view();
}

}  // namespace vek::program
