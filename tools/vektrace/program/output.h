/// @file
/// What a verb makes: a trace or other bytes, or text.
#pragma once

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "libvekstream/TraceSpan.h"
#include "libvekstream/TraceWriter.h"
#include "tools/vektrace/program/Session.h"

namespace vek::program {

struct OutputOptions {
    std::string path = "-";
    bool force = false;
    bool needed = false;  ///< that nobody reads it on is a failure
};

/// Adds --output and --force.
void addOutput(CLI::App& verb, OutputOptions& options);

/// Whether two outputs are one: the same file, which need not exist yet, or both standard output,
/// which may have been redirected to a file that the other one names.
bool isSameTarget(const std::string& one, const std::string& other);

/// Bytes into a file, or to standard output.
///
/// A file has its name only once commit() returned, and then as a whole. Refused is an output that is
/// one of the inputs; without --force a file that exists, and a terminal.
class Output {
public:
    /// `inputs` are the paths that are read, as inputPaths returns them. Throws Failure.
    Output(Session& session, const OutputOptions& options, const std::vector<std::string>& inputs);

    /// Throws Failure when nothing more can be written, ClosedOutput when nobody reads it any more.
    void write(const uint8_t* data, size_t length);
    void write(const TraceSpan& span) { write(span.data, span.length); }
    /// Hands on what was written so far.
    void flush();
    /// Throws like write(), and Interrupted when the session was stopped, with no file then.
    void commit();

    uint64_t size() const { return writer->size(); }
    /// The file's path, or "standard output".
    const std::string& displayName() const { return name; }
    /// Whether there is a file to which commit() gives its name, and not a stream or a device.
    bool isFile() const { return file; }
    /// A descriptor from which all that was written to the file is read. Only commit() may follow.
    int readBack();

private:
    void openStandardOutput(bool force);
    void refuseTerminal(int fd, bool force) const;
    void openFile(const std::string& path, bool force);
    template <class Step>
    void guarded(const Step& step);
    void throwInterruptedOrExists(const TraceException& e) const;

    Session& session;
    std::string name;
    bool file = false;
    const bool needed;
    std::unique_ptr<TraceWriter> writer;
};

/// Once nothing more is written: some file systems tell only then that they did not keep what they
/// took. Throws Failure.
void closeStandardOutput();

/// What turns a terminal's colours on, and off again.
inline constexpr char BOLD[] = "\x1b[1m";
inline constexpr char RED[] = "\x1b[31m";
inline constexpr char YELLOW[] = "\x1b[33m";
inline constexpr char PLAIN[] = "\x1b[0m";

/// Lines of text to standard output, through a buffer.
class TextOutput {
public:
    /// Throws Failure when standard output is one of the inputs.
    TextOutput(Session& session, const std::vector<std::string>& inputs);
    TextOutput(const TextOutput&) = delete;
    TextOutput& operator=(const TextOutput&) = delete;

    /// Throws Failure, ClosedOutput or Interrupted.
    void write(std::string_view text) {
        buffer.append(text);
        if (buffer.size() >= CAPACITY) {
            writeOut(buffer.size() / CAPACITY * CAPACITY);
        }
    }
    template <class... Arguments>
    void print(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        fmt::format_to(std::back_inserter(buffer), format, std::forward<Arguments>(arguments)...);
        write({});
    }
    /// A line, which `color` turns on where standard output has colours; null: none.
    void writeLine(std::string_view text, const char* color = nullptr) {
        const bool painted = color != nullptr && hasColor;
        buffer += painted ? color : "";
        buffer += text;
        buffer += painted ? PLAIN : "";
        write("\n");
    }
    /// Must be called at the end: what the destructor finds is dropped. Throws like write().
    void flush() { writeOut(buffer.size()); }

private:
    /// What a pipe holds: with more at once its writer waits for the reader and the other way round.
    static constexpr size_t CAPACITY = 65536;

    void writeOut(size_t length);

    Session& session;
    const bool hasColor;
    std::string buffer;
    uint64_t written = 0;
};

}  // namespace vek::program
