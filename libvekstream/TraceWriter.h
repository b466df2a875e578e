/// @file
/// Writes a file that is there as a whole under its name, or not at all.
///
/// Threads: one writer is used by one thread at a time.
#pragma once

#include <string>

#include "libvekstream/TraceException.h"
#include "libvekutil/utility.h"

class VEK_EXPORT TraceWriter {
public:
    enum existing_t : int {
        EXISTING_REFUSE = 0,   ///< an error, also when the file appears while this one is written
        EXISTING_REPLACE = 1,  ///< by the new file, in one step; its permissions are kept
    };

    /// Writes beside `path`, in the same folder under a name of its own. Throws TraceException when
    /// that is refused, or the file exists and is not to be replaced.
    explicit TraceWriter(const std::string& path, existing_t existing = EXISTING_REFUSE);
    /// Writes to `fd` as it is: a pipe, a terminal. It stays the caller's and open.
    explicit TraceWriter(int fd);
    /// Without a commit() removes what was written to a file.
    ~TraceWriter();
    TraceWriter(const TraceWriter&) = delete;
    TraceWriter& operator=(const TraceWriter&) = delete;

    /// Takes over a copy of the bytes; writes when there are enough. Throws TraceException when the
    /// system refuses: nothing can be written from then on.
    void write(const uint8_t* data, size_t length);
    void write(const byteVec_t& bytes) { write(bytes.data(), bytes.size()); }
    /// Writes what was taken over so far.
    void flush();
    /// Writes the rest, makes a file safe on its storage and gives it its name. Throws TraceException
    /// and leaves no file, when the system refuses. Nothing is written behind it.
    void commit();

    /// Bytes taken over.
    uint64_t size() const { return written + buffer.size(); }

private:
    void writeOut();
    [[noreturn]] void fail(const char* what, int error);

    byteVec_t buffer;
    uint64_t written = 0;
    int fd = -1;
    std::string path;
    std::string temporary;  ///< empty: not a file, or one that has got its name or is gone
    existing_t existing = EXISTING_REPLACE;
};
