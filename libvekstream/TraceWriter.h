/// @file
/// Writes a file that is there as a whole under its name, or not at all.
///
/// Threads: one writer is used by one thread at a time. Only the flag of setStop may be set from
/// elsewhere, also from a signal handler.
///
/// Signals: where nobody reads a pipe any more, or a file reaches the process's limit, the system
/// sends SIGPIPE or SIGXFSZ. A program that wants the exception instead ignores these.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "libvekstream/TraceException.h"
#include "libvekutil/utility.h"

namespace vek::detail {
class IoError;
}

/// Collects bytes, writes them, and gives a file its name in the end.
class VEK_EXPORT TraceWriter {
public:
    /// What becomes of a file that is there already.
    enum existing_t : int {
        EXISTING_REFUSE = 0,   ///< an error, also when the file appears while this one is written
        EXISTING_REPLACE = 1,  ///< by the new file, in one step; its permission bits are kept
    };

    /// Writes beside `path`, in the same folder under a name of its own; where `path` is a symbolic
    /// link, beside the file that it leads to. A pipe or a device is written to as it is, a block device
    /// only with EXISTING_REPLACE. Throws TraceException when that is refused, or the file exists and
    /// is not to be replaced, and std::bad_alloc.
    ///
    /// Until the writer is gone the folder keeps its name, and where `path` is relative, the process
    /// its working directory: else commit() fails, and what was written stays under its own name.
    explicit TraceWriter(const std::string& path, existing_t existing = EXISTING_REFUSE);
    /// Writes to `fd` as it is: a pipe, a terminal. It stays the caller's and open. Throws only
    /// std::bad_alloc.
    explicit TraceWriter(int fd);
    /// Without a commit() removes what was written to a file, and drops what is not written yet.
    ~TraceWriter();
    TraceWriter(const TraceWriter&) = delete;
    TraceWriter& operator=(const TraceWriter&) = delete;

    /// Where not null: once it is true, a write that would have to wait fails with EINTR, and so does
    /// one of which the system takes a part only: it may wait with the rest. Must outlive the writer.
    ///
    /// While it waits for a descriptor with O_NONBLOCK the writer looks at the flag now and then. Into
    /// one that blocks it is the system that waits, and looks at no flag: only a signal ends that, one
    /// that is handled without SA_RESTART and comes when the write waits already.
    void setStop(const std::atomic<bool>* _stop) { stop = _stop; }

    /// Takes over a copy of the bytes; writes when there are enough. Throws TraceException when the
    /// system refuses, with the number of bytes that were written as its offset: nothing can be
    /// written from then on, and whoever tries gets the same exception.
    /// @{
    void write(const uint8_t* data, size_t length);
    void write(const byteVec_t& bytes) { write(bytes.data(), bytes.size()); }
    /// @}
    /// Writes what was taken over so far; throws as write() does.
    void flush();
    /// Writes the rest, makes a file safe on its storage and gives it its name. Throws TraceException
    /// and leaves no file, when the system refuses. (Only when the folder cannot be made safe the
    /// file has its name already.) Nothing can be written behind it. After std::bad_alloc
    /// it can be tried again, unless the system had refused a write.
    void commit();

    /// Bytes taken over.
    uint64_t size() const { return taken; }
    /// What is written to; stays the writer's. Between flush() and commit() a file can be read by it,
    /// under whatever name; nothing may be written once its position was changed.
    int descriptor() const { return fd; }

private:
    struct File;

    void writeOut(const uint8_t* data, size_t length);
    void checkUsable() const;
    [[noreturn]] void fail(const vek::detail::IoError& error);

    byteVec_t buffer;
    uint64_t taken = 0;
    uint64_t written = 0;
    std::unique_ptr<File> file;  ///< null: the descriptor is the caller's
    int fd;
    const std::atomic<bool>* stop = nullptr;
    std::optional<TraceException> failure;
};
