#include "examples/trace_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "libvekutil/datablock.h"

// ---- Files -------------------------------------------------------------------------------------

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using file_t = std::unique_ptr<std::FILE, FileCloser>;

[[noreturn]] void failWithErrno(const std::string& path) {
    throw std::runtime_error(path + ": " + std::generic_category().message(errno));
}

}  // namespace

byteVec_t readFile(const std::string& path) {
    constexpr size_t PIECE = 65536;
    const file_t file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        failWithErrno(path);
    }
    byteVec_t bytes;
    size_t count = 0;
    do {
        bytes.resize(bytes.size() + PIECE);
        count = std::fread(&bytes[bytes.size() - PIECE], 1, PIECE, file.get());
        bytes.resize(bytes.size() - PIECE + count);
    } while (count == PIECE);
    if (std::ferror(file.get()) != 0) {
        failWithErrno(path);
    }
    return bytes;
}

namespace {

/// Removes the file at the end of the scope, unless it was renamed meanwhile.
struct TemporaryFile {
    explicit TemporaryFile(std::string _path) : path(std::move(_path)) {}
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { static_cast<void>(std::remove(path.c_str())); }

    const std::string path;
};

void checkTarget(const std::string& path) {
    if (std::filesystem::path(path).extension() != TRACE_SUFFIX) {
        throw std::runtime_error(path + ": a trace is named *" + TRACE_SUFFIX);
    }
    const auto status = std::filesystem::symlink_status(path);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw std::runtime_error(path + ": exists and is no regular file");
    }
}

/// On the disk when it returns true; else errno says why not.
bool writeAndSync(std::FILE* file, const byteVec_t& bytes) {
    return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size() &&
           std::fflush(file) == 0 && fsync(fileno(file)) == 0;
}

}  // namespace

void writeTraceFile(const std::string& path, const byteVec_t& trace) {
    checkTarget(path);
    // The process ID and "x" keep two programs that write the same trace out of each other's way.
    const std::string temporaryPath = path + '.' + std::to_string(getpid()) + ".part";
    file_t file(std::fopen(temporaryPath.c_str(), "wbx"));
    if (!file) {
        failWithErrno(path);
    }
    const TemporaryFile temporary(temporaryPath);
    if (!writeAndSync(file.get(), trace) || std::fclose(file.release()) != 0 ||
        std::rename(temporary.path.c_str(), path.c_str()) != 0) {
        failWithErrno(path);
    }
}

void finishOutput() {
    if (!std::cout.flush()) {
        throw std::runtime_error("standard output: cannot be written");
    }
}

// ---- Records -----------------------------------------------------------------------------------

void appendRecord(byteVec_t& trace, const MessageBase& message) {
    if (message.createByteArray(trace, true, true) == 0) {
        throw std::runtime_error("cannot be encoded: " + message.toString());
    }
}

namespace {

constexpr size_t MARKER_LENGTH = sizeof MessageBase::SYNC_MARKER;
constexpr size_t SIZE_FIELD_LENGTH = MessageBase::MO_MSGID;
constexpr size_t MIN_SIZE = MessageBase::MO_BASE_DERIVED - SIZE_FIELD_LENGTH;

}  // namespace

RecordCursor::RecordCursor(const std::string& _path, const byteVec_t& _trace)
    : path(_path), trace(_trace), marked(startsWithMarker(0)) {}

bool RecordCursor::startsWithMarker(size_t position) const {
    return trace.size() - position >= MARKER_LENGTH &&
           byteArrayToUint16(&trace[position]) == MessageBase::SYNC_MARKER;
}

bool RecordCursor::next() {
    offset = end;
    if (offset == trace.size()) {
        return false;
    }
    if (marked && !startsWithMarker(offset)) {
        fail("no sync marker where a record should begin");
    }
    begin = offset + (marked ? MARKER_LENGTH : 0);
    end = begin + SIZE_FIELD_LENGTH + checkedSize(begin);
    return true;
}

size_t RecordCursor::checkedSize(size_t position) const {
    const size_t left = trace.size() - position;
    if (left < SIZE_FIELD_LENGTH) {
        fail("truncated record: ends within its size field");
    }
    const size_t size = MessageBase::getMessageSize(&trace[position]);
    if (size < MIN_SIZE) {
        fail("its size field holds " + std::to_string(size) + ", a record's at least " +
             std::to_string(MIN_SIZE));
    }
    if (size > left - SIZE_FIELD_LENGTH) {
        fail("truncated record: its size field holds " + std::to_string(size) + ", only " +
             std::to_string(left - SIZE_FIELD_LENGTH) + " bytes follow");
    }
    return size;
}

void RecordCursor::fail(const std::string& reason) const {
    throw std::runtime_error(path + ": byte " + std::to_string(offset) + ": " + reason);
}
