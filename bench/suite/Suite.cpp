#include "suite/Suite.h"

#include <sched.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <set>

#include "support/allocations.h"

namespace bench {

namespace {

/// Not below the number of inputs that any case goes through in turn.
constexpr int COMPARED_RUNS = 256;
constexpr int COUNTED_RUNS = 64;

std::vector<Contender>& mutableContenders() {
    static std::vector<Contender> all;
    return all;
}

std::string excerpt(const std::string& outcome) {
    constexpr size_t LENGTH = 120;
    std::string text;
    for (const char c : outcome.substr(0, LENGTH)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= ' ' && byte <= '~') {
            text += c;
        } else {
            text += "\\x";
            text += "0123456789abcdef"[byte / 16];
            text += "0123456789abcdef"[byte % 16];
        }
    }
    return text;
}

bool agree(const Contender& first, const Contender& second) {
    const auto one = first.make();
    const auto other = second.make();
    for (int run = 0; run != COMPARED_RUNS; ++run) {
        const std::string expected = one->outcome();
        const std::string found = other->outcome();
        if (found != expected || found.empty()) {
            std::cerr << "MISMATCH in case \"" << first.caseName << "\", run " << run << '\n'
                      << "  " << first.name << " (" << expected.size() << "): " << excerpt(expected)
                      << '\n'
                      << "  " << second.name << " (" << found.size() << "): " << excerpt(found)
                      << '\n';
            return false;
        }
    }
    return true;
}

double allocationsPerRun(Runner& runner) {
    for (int run = 0; run != COUNTED_RUNS; ++run) {
        runner.run();
    }
    const long before = allocationsMade();
    for (int run = 0; run != COUNTED_RUNS; ++run) {
        runner.run();
    }
    return static_cast<double>(allocationsMade() - before) / COUNTED_RUNS;
}

/// Puts every thread on a processor of its own, from the first moment on.
void occupyProcessor(int index) {
    cpu_set_t allowed;
    sched_getaffinity(0, sizeof allowed, &allowed);
    for (size_t cpu = 0; cpu != CPU_SETSIZE; ++cpu) {
        if (CPU_ISSET(cpu, &allowed) && index-- == 0) {
            cpu_set_t mine;
            CPU_ZERO(&mine);
            CPU_SET(cpu, &mine);
            sched_setaffinity(0, sizeof mine, &mine);
            return;
        }
    }
}

void timeThreads(benchmark::State& state, const Contender& contender) {
    cpu_set_t before;
    sched_getaffinity(0, sizeof before, &before);
    occupyProcessor(state.thread_index());
    contender.make()->time(state);
    sched_setaffinity(0, sizeof before, &before);
}

}  // namespace

const std::vector<Contender>& contenders() { return mutableContenders(); }

void add(Contender contender) { mutableContenders().push_back(std::move(contender)); }

void keepOnly(const std::regex& pattern, bool threaded) {
    const auto isDropped = [&](const Contender& c) {
        return c.threaded != threaded || !std::regex_search(c.caseName, pattern);
    };
    auto& all = mutableContenders();
    all.erase(std::remove_if(all.begin(), all.end(), isDropped), all.end());
}

bool outcomesAgree() {
    std::map<std::string, const Contender*> firsts;
    bool agreed = true;
    for (const Contender& contender : contenders()) {
        const auto [first, isNew] = firsts.emplace(contender.caseName, &contender);
        if (!isNew) {
            agreed = agree(*first->second, contender) && agreed;
        }
    }
    return agreed;
}

void registerBenchmarks() {
    for (const Contender& contender : contenders()) {
        const std::string name = contender.caseName + '/' + contender.name;
        if (contender.threaded) {
            benchmark::RegisterBenchmark(
                name.c_str(), [&contender](auto& state) { timeThreads(state, contender); })
                ->ThreadRange(1, 2)
                ->UseRealTime();
            continue;
        }
        const double allocations = allocationsPerRun(*contender.make());
        benchmark::RegisterBenchmark(name.c_str(), [&contender, allocations](auto& state) {
            contender.make()->time(state);
            state.counters["allocations"] = allocations;
        });
    }
}

void runRound() {
    std::set<std::string> done;
    for (const Contender& contender : contenders()) {
        if (done.insert(contender.caseName).second) {
            benchmark::JSONReporter reporter;
            reporter.SetOutputStream(&std::cout);
            benchmark::RunSpecifiedBenchmarks(&reporter, '^' + contender.caseName + '/');
        }
    }
}

}  // namespace bench
