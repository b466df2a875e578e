#include "tools/vektrace/program/output.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include "tools/vektrace/program/inputs.h"
#include "tools/vektrace/program/waiting.h"

namespace vek::program {

namespace {

constexpr char STANDARD_OUTPUT[] = "standard output";

template <class Target>
void refuseInputs(const Target& target, const std::string& name,
                  const std::vector<std::string>& inputs) {
    for (const std::string& input : inputs) {
        if (isSameFile(target, input)) {
            throw Failure(name, "is also an input (" + inputName(input) + ")");
        }
    }
}

/// Also under another name, as where it was redirected to this file or pipe. Devices are shared without
/// harm.
bool isStandardOutput(const std::string& path) {
    struct stat own = {};
    struct stat other = {};
    return fstat(STDOUT_FILENO, &own) == 0 && stat(path.c_str(), &other) == 0 &&
           !S_ISCHR(own.st_mode) && own.st_dev == other.st_dev && own.st_ino == other.st_ino;
}

}  // namespace

bool isSameTarget(const std::string& one, const std::string& other) {
    const auto target = [](std::filesystem::path path) {
        std::error_code error;
        // Whatever a link leads to need not be there.
        for (int links = 0; links < 40 && std::filesystem::is_symlink(path, error); ++links) {
            path = path.parent_path() / std::filesystem::read_symlink(path, error);
        }
        std::filesystem::path real = std::filesystem::absolute(path, error);
        real = error ? real : std::filesystem::weakly_canonical(real, error);
        return error ? path.lexically_normal() : real;  // whoever opens it tells why
    };
    if (one != "-" && other != "-") {
        return target(one) == target(other);
    }
    return one == other || isStandardOutput(one == "-" ? other : one);
}

// ---- Bytes -------------------------------------------------------------------------------------

void addOutput(CLI::App& verb, OutputOptions& options) {
    verb.add_option("-o,--output", options.path,
                    "Write to this file, which is there as a whole or not at all; - is standard "
                    "output.")
        ->type_name("FILE")
        ->default_str("-");
    verb.add_flag("-f,--force", options.force,
                  "Replace a file that exists; write bytes to a terminal.");
}

Output::Output(Session& _session, const OutputOptions& options,
               const std::vector<std::string>& inputs)
    : session(_session),
      name(options.path == "-" ? STANDARD_OUTPUT : options.path),
      needed(options.needed) {
    if (options.path == "-") {
        refuseInputs(STDOUT_FILENO, name, inputs);
        openStandardOutput(options.force);
    } else {
        refuseInputs(options.path, name, inputs);
        openFile(options.path, options.force);
    }
    writer->setStop(session.stopFlag());
}

void Output::openStandardOutput(bool force) {
    refuseTerminal(STDOUT_FILENO, force);
    writer = std::make_unique<TraceWriter>(STDOUT_FILENO);
}

void Output::refuseTerminal(int fd, bool force) const {
    if (!force && isatty(fd) == 1) {
        throw Failure(name, "is a terminal; --force writes bytes to it, --output into a file");
    }
}

void Output::openFile(const std::string& path, bool force) {
    try {
        writer = std::make_unique<TraceWriter>(
            path, force ? TraceWriter::EXISTING_REPLACE : TraceWriter::EXISTING_REFUSE);
    } catch (const TraceException& e) {
        throwInterruptedOrExists(e);
        throw Failure(name, e.what());
    }
    struct stat status = {};
    file = fstat(writer->descriptor(), &status) == 0 && S_ISREG(status.st_mode);
    refuseTerminal(writer->descriptor(), force);
}

template <class Step>
void Output::guarded(const Step& step) {
    try {
        step();
    } catch (const TraceException& e) {
        throwInterruptedOrExists(e);
        if (e.error() == EPIPE && !file && !needed) {
            throw ClosedOutput();
        }
        throw Failure(name, e.offset(), e.what());
    }
}

void Output::throwInterruptedOrExists(const TraceException& e) const {
    if (e.error() == EINTR && session.stopped()) {
        throw Interrupted();
    }
    if (e.error() == EEXIST) {
        throw Failure(name, "exists; --force replaces it");
    }
}

void Output::write(const uint8_t* data, size_t length) {
    guarded([&] { writer->write(data, length); });
}

void Output::flush() {
    guarded([&] { writer->flush(); });
}

void Output::commit() {
    if (session.stopped()) {
        throw Interrupted();
    }
    guarded([&] { writer->commit(); });
}

int Output::readBack() {
    flush();
    const int fd = writer->descriptor();
    if (lseek(fd, 0, SEEK_SET) != 0) {
        throw Failure(name, systemReason(errno));
    }
    return fd;
}

void closeStandardOutput() {
    if (::close(STDOUT_FILENO) != 0 && errno != EINTR) {  // closed it is
        throw Failure(STANDARD_OUTPUT, systemReason(errno));
    }
}

// ---- Text --------------------------------------------------------------------------------------

TextOutput::TextOutput(Session& _session, const std::vector<std::string>& inputs)
    : session(_session), hasColor(_session.hasColor(STDOUT_FILENO)) {
    refuseInputs(STDOUT_FILENO, STANDARD_OUTPUT, inputs);
    session.textOnTerminal = isatty(STDOUT_FILENO) == 1;
    buffer.reserve(2 * CAPACITY);
}

void TextOutput::writeOut(size_t length) {
    std::string_view rest = std::string_view(buffer).substr(0, length);
    while (!rest.empty()) {
        const ssize_t count = ::write(STDOUT_FILENO, rest.data(), rest.size());
        if (count == 0) {
            throw Failure(STANDARD_OUTPUT, written, "the system takes no more bytes");
        }
        if (count > 0) {
            written += static_cast<size_t>(count);
            rest.remove_prefix(static_cast<size_t>(count));
            if (!rest.empty() && session.stopped()) {
                throw Interrupted();  // it would have waited, had the signal not come
            }
        } else if (errno == EPIPE) {
            throw ClosedOutput();
        } else if (errno != EINTR && errno != EAGAIN) {
            throw Failure(STANDARD_OUTPUT, written, systemReason(errno));
        } else if (session.stopped()) {
            throw Interrupted();
        } else if (errno == EAGAIN) {
            // Whoever opened the other end wants no waiting, but has no room either.
            static_cast<void>(isReadySoon(STDOUT_FILENO, POLLOUT));
        }
    }
    buffer.erase(0, length);
}

}  // namespace vek::program
