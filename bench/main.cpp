/// @file
/// Compares what the contenders do, then times them:
///
///     bench one|two ROUNDS REGEX [GOOGLE BENCHMARK OPTION...]
///
/// "one" times the cases with one thread, "two" those with two, and REGEX selects among their
/// names. A round times every contender of a case once, one directly after the other in random
/// order, so that they can be compared however the machine's speed changes. Writes one JSON
/// document of Google Benchmark per case and round.

#include <cstdlib>
#include <iostream>
#include <string_view>

#include "cases/decode.h"
#include "cases/scan.h"
#include "contenders/contenders.h"
#include "suite/Suite.h"

namespace {

void addContenders() {
    bench::addOurs();
    bench::addBound();
    bench::addPlain();
    bench::addScans();
#ifdef BENCH_HAS_FMT
    bench::addFmt();
#endif
#ifdef BENCH_HAS_ABSL
    bench::addAbsl();
#endif
#ifdef BENCH_HAS_SPDLOG
    bench::addSpdlog();
#endif
#ifdef BENCH_HAS_PROTOBUF
    bench::addProtobuf();
#endif
#ifdef BENCH_HAS_MSGPACK
    bench::addMsgpack();
#endif
#ifdef BENCH_HAS_TINS
    bench::addTins();
#endif
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const std::string_view threads = argc == 4 ? argv[1] : "";
    if (threads != "one" && threads != "two") {
        std::cerr << "usage: bench one|two ROUNDS REGEX [GOOGLE BENCHMARK OPTION...]\n";
        return 2;
    }
    bench::registerCreators();
    addContenders();
    bench::keepOnly(std::regex(argv[3]), threads == "two");
    if (!bench::outcomesAgree()) {
        std::cerr << "the contenders do not do the same: nothing is timed\n";
        return 1;
    }
    bench::registerBenchmarks();
    for (long round = std::strtol(argv[2], nullptr, 10); round > 0; --round) {
        bench::runRound();
    }
    benchmark::Shutdown();
}
