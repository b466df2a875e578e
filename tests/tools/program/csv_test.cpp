#include "tools/vektrace/program/csv.h"

#include <gtest/gtest.h>

namespace vek::program {
namespace {

TEST(CsvRow, EndsWithCrLfAndBeginsAnew) {
    CsvRow row;
    row.add("a");
    row.add(uint64_t{18446744073709551615U});
    row.add("");
    EXPECT_EQ(row.finish(), "a,18446744073709551615,\r\n");
    row.add("");
    row.add("b");
    EXPECT_EQ(row.finish(), ",b\r\n");
}

TEST(CsvRow, QuotesWhatWouldDivideIt) {
    CsvRow row;
    for (const char* const field : {"a,b", "say \"x\"", "two\nlines", "cr\r", " blank ", "'"}) {
        row.add(field);
    }
    EXPECT_EQ(row.finish(), "\"a,b\",\"say \"\"x\"\"\",\"two\nlines\",\"cr\r\", blank ,'\r\n");
}

}  // namespace
}  // namespace vek::program
