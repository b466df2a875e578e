/// @file
/// The traces that a verb reads.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "libvekstream/TraceReader.h"
#include "tools/vektrace/program/FileDescriptor.h"
#include "tools/vektrace/program/Progress.h"
#include "tools/vektrace/program/Session.h"

namespace vek::program {

struct InputOptions {
    std::vector<std::string> paths;  ///< as given; see inputPaths
    framing_t framing = FRAMING_DETECT;
    sizeRule_t rule = RULE_TRUST_SIZES;
    bool follow = false;
};

/// Adds FILE... and --framing.
void addInputs(CLI::App& verb, InputOptions& options);
/// Adds --prefer-chain, for verbs that leave the choice to the user.
void addSizeRule(CLI::App& verb, InputOptions& options);

/// The paths, "-" for standard input. Without a path: standard input; throws NoInput when that is a
/// terminal.
std::vector<std::string> inputPaths(const InputOptions& options);

/// What `path` is called in texts: itself, or "standard input".
std::string inputName(const std::string& path);

/// Whether both are the same file, or the same block device. Standard input is "-".
bool isSameFile(int fd, const std::string& inputPath);
bool isSameFile(const std::string& path, const std::string& inputPath);

/// How many bytes the inputs have in all; 0 where that cannot be told.
uint64_t totalSize(const std::vector<std::string>& paths);

/// One open trace.
class Input {
public:
    /// `progress`, where not null, is told what is read. Throws like FileDescriptor.
    Input(Session& session, const std::string& path, const InputOptions& options,
          Progress* progress = nullptr);

    /// Takes the next span, whose bytes are valid until the next call. False at the end, when the
    /// session was stopped, and when reading failed, of which the session was told.
    bool next(TraceSpan& span);

    const std::string& path() const { return inputPath; }
    const std::string& name() const { return inputDisplayName; }
    bool failed() const { return readingFailed; }
    uint64_t ambiguities() const { return reader->ambiguities(); }
    framing_t framing() const { return reader->framing(); }

private:
    bool read(TraceSpan& span);

    Session& session;
    const std::string inputPath;
    const std::string inputDisplayName;
    const FileDescriptor file;
    std::unique_ptr<TraceReader> reader;
    Progress* const progress;
    uint64_t bytesTold = 0;
    bool readingFailed = false;
};

/// Opens the inputs one after the other for `visit`, and shows the progress. One that cannot be
/// opened is told to the session and left out. Once `isDone` none is opened any more.
void forEachInput(
    Session& session, const InputOptions& options, const std::function<void(Input&)>& visit,
    const std::function<bool()>& isDone = [] { return false; });

}  // namespace vek::program
