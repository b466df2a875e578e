#include "libvekstream/TraceWriter.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "libvekstream/detail/IoError.h"
#include "libvekstream/detail/OutputFile.h"

using namespace vek::detail;

namespace {

/// What is collected before it is written.
constexpr size_t CAPACITY = 0x10000;

/// How late a flag is seen that is set without a signal, or by one that comes before the waiting.
constexpr int INTERVAL_MS = 50;
constexpr int FOREVER = -1;

/// Where the caller's descriptor does not wait by itself. Not for long, where there is a flag.
void waitUntilWritable(int fd, bool hasFlag) {
    pollfd asked = {fd, POLLOUT, 0};
    ::poll(&asked, 1, hasFlag ? INTERVAL_MS : FOREVER);
}

/// Some of the bytes; returns how many, at least one. Throws IoError, also when it would wait, or a
/// signal interrupts, and `stop` is set.
size_t writeSome(int fd, const uint8_t* data, size_t length, const std::atomic<bool>* stop) {
    for (;;) {
        const ssize_t some = ::write(fd, data, length);
        if (some > 0) {
            return static_cast<size_t>(some);
        }
        if (some == 0) {
            throw IoError("the system takes no more bytes");
        }
        if (errno != EAGAIN && errno != EINTR) {
            throwIoError(errno);
        }
        if (stop != nullptr && *stop) {
            throw IoError(EINTR);
        }
        if (errno == EAGAIN) {
            waitUntilWritable(fd, stop != nullptr);
        }
    }
}

}  // namespace

struct TraceWriter::File : OutputFile {
    using OutputFile::OutputFile;

    static std::unique_ptr<File> open(const std::string& path, existing_t existing) {
        try {
            return std::make_unique<File>(path, existing == EXISTING_REPLACE);
        } catch (const IoError& error) {
            throw TraceException(error.reason(), 0, error.error());
        }
    }
};

TraceWriter::TraceWriter(const std::string& path, existing_t existing)
    : file(File::open(path, existing)), fd(file->descriptor()) {
    buffer.reserve(CAPACITY);
}

TraceWriter::TraceWriter(int _fd) : fd(_fd) { buffer.reserve(CAPACITY); }

TraceWriter::~TraceWriter() = default;

void TraceWriter::write(const uint8_t* data, size_t length) {
    checkUsable();
    if (length > CAPACITY - buffer.size()) {
        flush();
    }
    taken += length;
    if (length < CAPACITY) {
        buffer.insert(buffer.end(), data, data + length);
    } else {
        writeOut(data, length);
    }
}

void TraceWriter::flush() {
    checkUsable();
    writeOut(buffer.data(), buffer.size());
    buffer.clear();
}

void TraceWriter::commit() {
    flush();
    const TraceException end("written behind the end", written);
    if (file != nullptr) {
        try {
            file->commit();
        } catch (const IoError& error) {
            file.reset();
            fail(error);
        }
    }
    failure = end;
}

void TraceWriter::writeOut(const uint8_t* data, size_t length) {
    try {
        while (length > 0) {
            const size_t some = writeSome(fd, data, length, stop);
            written += some;
            data += some;
            length -= some;
            if (length > 0 && stop != nullptr && *stop) {
                throw IoError(EINTR);  // it would have waited, had the signal not come
            }
        }
    } catch (const IoError& error) {
        fail(error);
    }
}

void TraceWriter::checkUsable() const {
    if (failure) {
        throw TraceException(*failure);
    }
}

void TraceWriter::fail(const IoError& error) {
    // Without its reason first, which may be what there is no memory for.
    failure.emplace("", written, error.error());
    failure = TraceException(error.reason(), written, error.error());
    throw TraceException(*failure);
}
