// The order in which `vektrace merge` takes records.

#include "tools/vektrace/copying/TimeMerge.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tools/copying/traceBytes.h"

namespace {

using vek::program::TimeMerge;

/// Traces whose records have the given times; the payload's length is the number of the trace.
class Traces {
public:
    explicit Traces(const std::vector<std::vector<timeStamp_t>>& times) {
        for (const auto& trace : times) {
            records.emplace_back();
            for (const timeStamp_t time : trace) {
                records.back().push_back(recordBytes(MSGID_CAN, time, records.size() - 1));
            }
        }
    }

    std::vector<TimeMerge::source_t> sources() const {
        std::vector<TimeMerge::source_t> result;
        for (const auto& trace : records) {
            result.push_back([&trace, at = size_t{0}](TraceSpan& span) mutable {
                if (at == trace.size()) {
                    return false;
                }
                span = spanOf(trace[at++]);
                return true;
            });
        }
        return result;
    }

private:
    std::vector<std::vector<byteVec_t>> records;
};

/// "a1 b2 ": trace a's record with the time 1, then trace b's with the time 2.
std::string order(TimeMerge& merge) {
    std::string text;
    for (TraceSpan record; merge.next(record);) {
        const size_t trace = record.recordLength() - MessageBase::MO_BASE_DERIVED;
        EXPECT_EQ(trace, merge.source());
        text += static_cast<char>('a' + trace);
        text += std::to_string(MessageBase::getTimeStamp(record.record())) + ' ';
    }
    return text;
}

std::string merged(const std::vector<std::vector<timeStamp_t>>& times) {
    const Traces traces(times);
    TimeMerge merge(traces.sources());
    return order(merge);
}

TEST(TimeMerge, OfNoTracesIsEmpty) { EXPECT_EQ(merged({}), ""); }

TEST(TimeMerge, OfEmptyTracesIsEmpty) { EXPECT_EQ(merged({{}, {}}), ""); }

TEST(TimeMerge, TakesTheEarliestFirst) {
    EXPECT_EQ(merged({{1, 4, 7}, {2, 5}, {}, {3, 6}}), "a1 b2 d3 a4 b5 d6 a7 ");
}

TEST(TimeMerge, TakesEqualTimesInTheOrderOfTheTraces) {
    EXPECT_EQ(merged({{5, 5}, {4, 5}, {5}}), "b4 a5 a5 b5 c5 ");
}

TEST(TimeMerge, LeavesATraceThatStepsBackInItsOwnOrder) {
    EXPECT_EQ(merged({{10, 5, 20}, {7, 15}}), "b7 a10 a5 b15 a20 ");
}

TEST(TimeMerge, CountsTheStepsBackOfEachTrace) {
    const Traces traces({{3, 2, 1, 1, 5}, {1, 2}});
    TimeMerge merge(traces.sources());
    order(merge);
    EXPECT_EQ(merge.stepsBack(0), 2u);
    EXPECT_EQ(merge.stepsBack(1), 0u);
}

TEST(TimeMerge, ComparesTimesOfAllSixtyFourBits) {
    EXPECT_EQ(merged({{~timeStamp_t{0}}, {timeStamp_t{1} << 63, 0}}),
              "b9223372036854775808 b0 a18446744073709551615 ");
}

/// The slowest way to say it: again and again, the first of the earliest heads.
std::string plainlyMerged(std::vector<std::vector<timeStamp_t>> times) {
    std::string text;
    for (;;) {
        size_t earliest = times.size();
        for (size_t i = 0; i < times.size(); ++i) {
            if (!times[i].empty() &&
                (earliest == times.size() || times[i].front() < times[earliest].front())) {
                earliest = i;
            }
        }
        if (earliest == times.size()) {
            return text;
        }
        text += static_cast<char>('a' + earliest);
        text += std::to_string(times[earliest].front()) + ' ';
        times[earliest].erase(times[earliest].begin());
    }
}

TEST(TimeMerge, IsThePlainMergeOfRandomTraces) {
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        std::vector<std::vector<timeStamp_t>> times(random() % 9);
        for (auto& trace : times) {
            trace.resize(random() % 12);
            for (auto& time : trace) {
                time = random() % 10;
            }
        }
        ASSERT_EQ(merged(times), plainlyMerged(times));
    }
}

}  // namespace
