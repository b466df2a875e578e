#include "tools/vektrace/making/SizedInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <limits>

#include "tools/vektrace/program/inputs.h"
#include "tools/vektrace/program/waiting.h"

namespace vek::program {

namespace {

constexpr size_t INPUT_PIECE = 0x10000;
constexpr char TEMPORARY[] = "a temporary file";

/// A file that is gone when it is closed.
std::unique_ptr<const FileDescriptor> openNameless() {
    const char* const folder = std::getenv("TMPDIR");
    std::string path = (folder != nullptr && *folder != '\0' ? folder : "/tmp");
    path += "/vektrace-XXXXXX";
    auto file = std::make_unique<const FileDescriptor>(mkostemp(path.data(), O_CLOEXEC), TEMPORARY);
    static_cast<void>(unlink(path.c_str()));
    return file;
}

}  // namespace

SizedInput::SizedInput(Session& _session, const std::string& path)
    : session(_session),
      name(inputName(path)),
      file(path == "-" ? FileDescriptor(STDIN_FILENO) : FileDescriptor(path, O_RDONLY)) {
    struct stat status = {};
    if (fstat(file.get(), &status) != 0) {
        fail(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        spool();
        return;
    }
    const off_t position = lseek(file.get(), 0, SEEK_CUR);
    if (position == -1) {
        fail(errno);
    }
    total = static_cast<uint64_t>(std::max<off_t>(status.st_size - position, 0));
}

bool SizedInput::read(byteVec_t& piece) {
    readSome(spooled ? *spooled : file, piece, total - done);
    if (piece.empty() && done < total) {
        throw Failure(name, done, "it has become shorter while it was read");
    }
    done += piece.size();
    return !piece.empty();
}

void SizedInput::spool() {
    spooled = openNameless();
    byteVec_t piece;
    do {
        readSome(file, piece, std::numeric_limits<uint64_t>::max());
        writeToSpool(piece);
        total += piece.size();
    } while (!piece.empty());
    if (lseek(spooled->get(), 0, SEEK_SET) != 0) {
        throw Failure(TEMPORARY, systemReason(errno));
    }
}

void SizedInput::readSome(const FileDescriptor& from, byteVec_t& piece, uint64_t most) {
    piece.resize(static_cast<size_t>(std::min<uint64_t>(most, INPUT_PIECE)));
    const ssize_t count = readWaiting(session, from.get(), piece.data(), piece.size());
    if (count == -1) {
        failReading(from, errno);
    }
    piece.resize(static_cast<size_t>(count));
}

void SizedInput::writeToSpool(const byteVec_t& piece) {
    size_t written = 0;
    while (written < piece.size()) {
        const ssize_t count = write(spooled->get(), piece.data() + written, piece.size() - written);
        if (count == 0) {
            throw Failure(TEMPORARY, "the system takes no more bytes");
        }
        if (count > 0) {
            written += static_cast<size_t>(count);
        } else if (errno != EINTR) {
            throw Failure(TEMPORARY, systemReason(errno));
        }
    }
}

void SizedInput::fail(int error) const { throw Failure(name, systemReason(error)); }

void SizedInput::failReading(const FileDescriptor& from, int error) const {
    if (&from == &file) {
        throw Failure(name, spooled ? total : done, systemReason(error));
    }
    throw Failure(TEMPORARY, done, systemReason(error));
}

}  // namespace vek::program
