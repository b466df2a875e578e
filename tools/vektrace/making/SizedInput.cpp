#include "tools/vektrace/making/SizedInput.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "tools/vektrace/program/inputs.h"

namespace vek::program {

namespace {

constexpr size_t PIECE = 0x10000;

/// A file that is gone with its descriptor; null with errno.
std::FILE* openNameless() {
    const char* const folder = std::getenv("TMPDIR");
    std::string path = (folder != nullptr && *folder != '\0' ? folder : "/tmp");
    path += "/vektrace-XXXXXX";
    const int fd = mkstemp(path.data());
    if (fd == -1) {
        return nullptr;
    }
    static_cast<void>(unlink(path.c_str()));
    return fdopen(fd, "w+");
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
    total = static_cast<uint64_t>(std::max<off_t>(status.st_size - position, 0));
}

bool SizedInput::read(byteVec_t& piece) {
    readSome(spooled ? fileno(spooled.get()) : file.get(), piece, total - done);
    if (piece.empty() && done < total) {
        throw Failure(name, done, "it has become shorter while it was read");
    }
    done += piece.size();
    return !piece.empty();
}

void SizedInput::spool() {
    spooled.reset(openNameless());
    if (!spooled) {
        throw Failure("a temporary file", systemReason(errno));
    }
    byteVec_t piece;
    do {
        readSome(file.get(), piece, std::numeric_limits<uint64_t>::max());
        writeToSpool(piece);
        total += piece.size();
    } while (!piece.empty());
    static_cast<void>(lseek(fileno(spooled.get()), 0, SEEK_SET));
}

void SizedInput::readSome(int from, byteVec_t& piece, uint64_t most) {
    piece.resize(static_cast<size_t>(std::min<uint64_t>(most, PIECE)));
    ssize_t count = -1;
    do {
        if (session.stopped()) {
            throw Interrupted();
        }
        count = ::read(from, piece.data(), piece.size());
    } while (count == -1 && errno == EINTR);
    if (count == -1) {
        fail(errno);
    }
    piece.resize(static_cast<size_t>(count));
}

void SizedInput::writeToSpool(const byteVec_t& piece) {
    size_t written = 0;
    while (written < piece.size()) {
        const ssize_t count =
            write(fileno(spooled.get()), piece.data() + written, piece.size() - written);
        if (count >= 0) {
            written += static_cast<size_t>(count);
        } else if (errno != EINTR) {
            throw Failure("a temporary file", systemReason(errno));
        }
    }
}

void SizedInput::fail(int error) const { throw Failure(name, systemReason(error)); }

}  // namespace vek::program
