/// @file
/// The least that dumping a trace can cost: bare_dump TRACE
///
/// Scans the trace in memory, decodes every record, prints it into one buffer and writes that when
/// it is full. No gaps, no escapes, no options.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <iostream>
#include <streambuf>

#include "libvekstream/RecordScanner.h"
#include "libvekstream/decodeRecord.h"

namespace {

class Output : public std::streambuf {
public:
    Output() { setp(buffer.data(), buffer.data() + buffer.size()); }
    int_type overflow(int_type c) override {
        writeOut();
        return traits_type::eq_int_type(c, traits_type::eof())
                   ? traits_type::not_eof(c)
                   : sputc(traits_type::to_char_type(c));
    }
    void writeOut() {
        for (const char* from = pbase(); from != pptr();) {
            const ssize_t count = write(STDOUT_FILENO, from, static_cast<size_t>(pptr() - from));
            if (count <= 0) {
                std::exit(1);
            }
            from += count;
        }
        setp(buffer.data(), buffer.data() + buffer.size());
    }

private:
    std::array<char, 0x10000> buffer;
};

void dump(const uint8_t* data, size_t length) {
    MessageBase::registerMessages();
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    static Output output;
    std::ostream os(&output);
    RecordScanner scanner;
    scanner.setInput(data, length);
    for (TraceSpan span; scanner.next(span);) {
        if (const auto message = decodeRecord(span)) {
            message->print(os).put('\n');
        }
    }
    output.writeOut();
}

}  // namespace

int main(int argc, char** argv) {
    const int fd = argc == 2 ? open(argv[1], O_RDONLY | O_CLOEXEC) : -1;
    struct stat status = {};
    if (fd < 0 || fstat(fd, &status) != 0) {
        std::cerr << "usage: bare_dump TRACE\n";
        return 2;
    }
    const auto length = static_cast<size_t>(status.st_size);
    const void* const data = mmap(nullptr, length, PROT_READ, MAP_PRIVATE, fd, 0);
    if (data == MAP_FAILED) {
        std::cerr << "the trace cannot be mapped\n";
        return 1;
    }
    dump(static_cast<const uint8_t*>(data), length);
}
