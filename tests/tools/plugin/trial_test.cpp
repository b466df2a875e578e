#include "tools/vektrace/plugin/trial.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>

#include "tools/vektrace/program/errors.h"

using namespace vek::program;

namespace {

std::string endOf(const std::function<void()>& task,
                  std::chrono::seconds most = std::chrono::seconds(60)) {
    static const std::atomic<bool> stop = false;
    try {
        runOnTrial(task, most, stop);
        return "well";
    } catch (const TrialError& e) {
        return e.what();
    }
}

}  // namespace

TEST(Trial, OfWhatReturnsOrThrowsEndsWell) {
    EXPECT_EQ(endOf([] {}), "well");
    EXPECT_EQ(endOf([] { throw std::runtime_error("as it may"); }), "well");
    EXPECT_EQ(endOf([] { throw 1; }), "well");
}

TEST(Trial, ChangesNothingHere) {
    int value = 1;
    EXPECT_EQ(endOf([&] { value = 2; }), "well");
    EXPECT_EQ(value, 1);
}

TEST(Trial, TellsTheSignalThatEndedIt) {
    EXPECT_EQ(endOf([] { raise(SIGKILL); }), "ends the process: Killed");
    EXPECT_EQ(endOf([] { raise(SIGTERM); }), "ends the process: Terminated");
}

TEST(Trial, TellsThatACallEndedIt) {
    EXPECT_EQ(endOf([] { _exit(3); }), "ends the process");
    // This status is the one of success, at which nothing was tried to the end.
    EXPECT_EQ(endOf([] { _exit(0); }), "ends the process");
}

TEST(Trial, EndsWhatTakesTooLong) {
    const auto wait = [] {
        for (;;) {
            pause();
        }
    };
    EXPECT_EQ(endOf(wait, std::chrono::seconds(0)), "takes too long");
    EXPECT_EQ(endOf(wait, std::chrono::seconds(1)), "takes too long");
}

TEST(Trial, OfAProcessThatIsToStopIsInterrupted) {
    const std::atomic<bool> stop = true;
    const auto wait = [] {
        for (;;) {
            pause();
        }
    };
    EXPECT_THROW(runOnTrial(wait, std::chrono::seconds(60), stop), Interrupted);
    EXPECT_EQ(waitpid(-1, nullptr, 0), -1) << "no child is left";
}

TEST(Trial, IsTheSameWhereTheEndOfChildrenIsIgnored) {
    const auto before = signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(endOf([] {}), "well");
    EXPECT_EQ(endOf([] { raise(SIGKILL); }), "ends the process: Killed");
    signal(SIGCHLD, before);
}

TEST(Trial, HasNoInputAndShowsNoOutput) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const std::string end = endOf([] {
        std::cout << "out" << std::flush;
        std::cerr << "err";
        char byte = 0;
        if (read(STDIN_FILENO, &byte, 1) != 0) {
            _exit(1);
        }
    });
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(end, "well");
}
