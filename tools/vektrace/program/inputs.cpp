#include "tools/vektrace/program/inputs.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>

#include "tools/vektrace/program/verb.h"

namespace vek::program {

// ---- Options -----------------------------------------------------------------------------------

void addInputs(CLI::App& verb, InputOptions& options) {
    verb.add_option("FILE", options.paths,
                    "Traces to read, plain or compressed; - is standard input, which is also read "
                    "when none is named.")
        ->type_name("");
    addChoice<framing_t>(
        verb, "--framing", options.framing,
        {{"detect", FRAMING_DETECT}, {"marked", FRAMING_MARKED}, {"unmarked", FRAMING_UNMARKED}},
        "Whether records have a sync marker in front.");
}

void addSizeRule(CLI::App& verb, InputOptions& options) {
    verb.add_flag_callback(
        "--prefer-chain", [&options] { options.rule = RULE_PREFER_CHAIN; },
        "Where whole records fill another one exactly, or eight in a row lie inside of it, take "
        "them for records and not it.");
}

std::vector<std::string> inputPaths(const InputOptions& options) {
    if (std::count(options.paths.begin(), options.paths.end(), "-") > 1) {
        throw UsageError("standard input can be read once only");
    }
    if (!options.paths.empty()) {
        return options.paths;
    }
    if (isatty(STDIN_FILENO) == 1) {
        throw NoInput();
    }
    return {"-"};
}

std::string inputName(const std::string& path) { return path == "-" ? "standard input" : path; }

// ---- Files -------------------------------------------------------------------------------------

namespace {

bool getStatus(const std::string& path, struct stat& status) {
    return (path == "-" ? fstat(STDIN_FILENO, &status) : stat(path.c_str(), &status)) == 0;
}

/// Devices that are no storage are shared without harm: a terminal, /dev/null.
bool isStorage(const struct stat& status) {
    return S_ISREG(status.st_mode) || S_ISBLK(status.st_mode);
}

bool isSame(const struct stat& a, const std::string& inputPath) {
    struct stat b = {};
    return isStorage(a) && getStatus(inputPath, b) && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

bool isSameFile(int fd, const std::string& inputPath) {
    struct stat status = {};
    return fstat(fd, &status) == 0 && isSame(status, inputPath);
}

bool isSameFile(const std::string& path, const std::string& inputPath) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && isSame(status, inputPath);
}

uint64_t totalSize(const std::vector<std::string>& paths) {
    uint64_t total = 0;
    for (const std::string& path : paths) {
        struct stat status = {};
        if (!getStatus(path, status) || !S_ISREG(status.st_mode)) {
            return 0;
        }
        total += static_cast<uint64_t>(status.st_size);
    }
    return total;
}

// ---- Reading -----------------------------------------------------------------------------------

Input::Input(Session& _session, const std::string& path, const InputOptions& options,
             Progress* _progress)
    : session(_session),
      inputPath(path),
      inputDisplayName(inputName(path)),
      file(path == "-" ? FileDescriptor(STDIN_FILENO) : FileDescriptor(path, O_RDONLY)),
      progress(_progress) {
    struct stat status = {};
    if (fstat(file.get(), &status) == 0 && S_ISDIR(status.st_mode)) {
        throw Failure(inputDisplayName, systemReason(EISDIR));
    }
    TraceReaderOptions readerOptions;
    readerOptions.framing = options.framing;
    readerOptions.rule = options.rule;
    readerOptions.follow = options.follow;
    readerOptions.stop = session.stopFlag();
    reader = std::make_unique<TraceReader>(file.get(), readerOptions);
}

bool Input::next(TraceSpan& span) {
    if (session.stopped() || !read(span)) {
        return false;
    }
    if (progress != nullptr && reader->bytesRead() != bytesTold) {
        progress->advance(reader->bytesRead() - bytesTold);
        bytesTold = reader->bytesRead();
    }
    // What a stop cuts off at the end is not the trace's fault.
    return !session.stopped();
}

bool Input::read(TraceSpan& span) {
    try {
        return reader->next(span);
    } catch (const TraceException& e) {
        readingFailed = true;
        session.error(failureText(inputDisplayName, e.offset(), e.what()));
        return false;
    }
}

void forEachInput(Session& session, const InputOptions& options,
                  const std::function<void(Input&)>& visit, const std::function<bool()>& isDone) {
    const std::vector<std::string> paths = inputPaths(options);
    Progress progress(session, options.follow ? 0 : totalSize(paths));
    for (const std::string& path : paths) {
        if (session.stopped() || isDone()) {
            return;
        }
        std::unique_ptr<Input> input;
        try {
            input = std::make_unique<Input>(session, path, options, &progress);
        } catch (const Failure& e) {
            session.error(e.what());
            continue;
        } catch (const Interrupted&) {
            return;  // as when a signal comes while one is read
        }
        visit(*input);
    }
}

}  // namespace vek::program
