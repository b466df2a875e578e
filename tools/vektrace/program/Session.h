/// @file
/// One run of the program: what the command line says to all verbs, what is told on standard error,
/// and the exit status that comes of it.
///
/// Threads: used by the main thread only.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "tools/vektrace/program/errors.h"

namespace vek::program {

class Session {
public:
    enum when_t : int { WHEN_AUTO = 0, WHEN_ALWAYS = 1, WHEN_NEVER = 2 };

    Session();
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // What the command line says.
    when_t color = WHEN_AUTO;
    when_t progress = WHEN_AUTO;
    std::vector<std::string> plugins;  ///< files to load
    std::function<void()> work;        ///< what the chosen verb does

    // One line each on standard error, behind "vektrace: ". The text names the file.

    /// Something could not be done; goes on, and the status is STATUS_FAILED.
    void error(const std::string& text);
    /// Something of the trace is damaged or lost; the status is STATUS_LOSS or worse.
    void loss(const std::string& text);
    /// Has no part in the status.
    void note(const std::string& text);

    /// The worst so far: STATUS_FAILED, then STATUS_LOSS.
    status_t status() const { return worst; }
    void worsen(status_t status);

    /// Whether a signal asked for an end.
    bool stopped() const { return stop.load(std::memory_order_relaxed); }
    const std::atomic<bool>* stopFlag() const { return &stop; }

    /// Whether text on this descriptor has colours: as --color says, else on a terminal unless
    /// NO_COLOR is set.
    bool hasColor(int fd) const;

    /// Set by text output: a line of progress between those of text would tear them apart.
    bool textOnTerminal = false;

    /// Shows a line on standard error that the next one takes the place of; other text wipes it away.
    void showTransient(const std::string& text);
    /// Ends the line that is shown, or wipes it away.
    void endTransient(bool keep);

private:
    void say(const std::string& text);

    const std::atomic<bool>& stop;
    status_t worst = STATUS_COMPLETE;
    bool transientShown = false;
};

}  // namespace vek::program
