/// @file
/// Bytes of a file or a pipe whose number is known before the first of them is read.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "libvekutil/utility.h"
#include "tools/vektrace/program/FileDescriptor.h"
#include "tools/vektrace/program/Session.h"

namespace vek::program {

class SizedInput {
public:
    /// "-" is standard input, from where it stands. What is no regular file is first copied into
    /// one without a name, in the folder that TMPDIR names. Throws Failure, and Interrupted when
    /// the session was stopped.
    SizedInput(Session& session, const std::string& path);

    uint64_t size() const { return total; }

    /// Replaces `piece` by the bytes that come next. False behind the last one. Throws like the
    /// constructor, also for a file that has become shorter; what has been added to one is left
    /// out.
    bool read(byteVec_t& piece);

private:
    void spool();
    /// What the system hands out of at most `most` bytes; nothing at the end.
    void readSome(const FileDescriptor& from, byteVec_t& piece, uint64_t most);
    void writeToSpool(const byteVec_t& piece);
    [[noreturn]] void fail(int error) const;
    [[noreturn]] void failReading(const FileDescriptor& from, int error) const;

    Session& session;
    const std::string name;
    const FileDescriptor file;
    std::unique_ptr<const FileDescriptor> spooled;  ///< null: the file itself is read
    uint64_t total = 0;
    uint64_t done = 0;
};

}  // namespace vek::program
