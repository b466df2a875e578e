/// @file
/// The contenders of all cases. What an operation gives is compared between the contenders of its
/// case before anything is timed.
///
/// An operation is a class with
///     explicit Operation(const Input&);  // all that is not to be timed
///     void run();                        // the timed operation; goes to the next input by itself
///     std::string outcome();             // runs once and tells what came out
/// Outcomes are equal among the contenders of a case: the encoded bytes, the text, or the fields.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <regex>
#include <string>
#include <vector>

namespace bench {

class Runner {
public:
    Runner() = default;
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;
    virtual ~Runner() = default;
    virtual void run() = 0;
    virtual std::string outcome() = 0;
    virtual void time(benchmark::State& state) = 0;
};

template <class Operation, class Input>
class RunnerOf : public Runner {
public:
    explicit RunnerOf(const Input& input) : operation(input) {}
    void run() override { operation.run(); }
    std::string outcome() override { return operation.outcome(); }
    void time(benchmark::State& state) override {
        for (auto _ : state) {
            operation.run();
        }
    }

private:
    Operation operation;
};

struct Contender {
    std::string caseName;
    std::string name;
    std::function<std::unique_ptr<Runner>()> make;
    /// Whether two threads at once are timed against one.
    bool threaded = false;
};

/// In the order in which they were added.
const std::vector<Contender>& contenders();

void add(Contender contender);

/// `input` must live as long as the program.
template <class Operation, class Input>
void add(const std::string& caseName, const std::string& name, const Input& input) {
    add({caseName, name, [&input] { return std::make_unique<RunnerOf<Operation, Input>>(input); }});
}

/// Drops all but the cases with one thread, or those with two, whose name `pattern` matches: the
/// former are pinned to one processor, the latter need two.
void keepOnly(const std::regex& pattern, bool threaded);

/// Compares the outcomes within every case. Returns whether all agree; if not, says where.
bool outcomesAgree();

/// Hands the contenders to Google Benchmark under the names "case/contender".
void registerBenchmarks();

/// Times every contender once, case by case.
void runRound();

}  // namespace bench
