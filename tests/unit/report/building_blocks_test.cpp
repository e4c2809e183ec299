#include <gtest/gtest.h>

#include <cmath>

#include "report/perf_table.h"
#include "report/pipe_info.h"

using Labels = std::vector<std::string>;

TEST(LimitingPipes, TiesNegativesAndZeros) {
    Labels names = {"A", "LS", "T"};
    EXPECT_EQ(get_limiting_pipes(names, {0.0f, 0.0f, 0.0f}).labels, names);
    EXPECT_TRUE(get_limiting_pipes(names, {5.0f, -1.0f, 2.0f}).labels.empty());
    EXPECT_TRUE(get_limiting_pipes({}, {}).labels.empty());
}

TEST(PerfTableRow, UnreportedWideAndEmptyRows) {
    Labels names = {"A", "LS", "T"};
    EXPECT_EQ(get_perf_table_row(names, {12.0f, -1.0f, 0.125f}), "  12.00     N/A    0.12      N/A");
    EXPECT_EQ(get_perf_table_row(names, {NAN, 4.0f, 1.0f}), "    nan    4.00    1.00      N/A");  // unknown cost
    // Nothing is truncated: wide cells push the rest of the row along.
    EXPECT_EQ(get_perf_table_row(names, {12345.0f, 12345.0f, 12345.0f}), "12345.00 12345.00 12345.00 A, LS, T");
    EXPECT_EQ(get_perf_table_row({}), "   Bound");
    EXPECT_EQ(get_perf_table_row({}, {}), "     N/A");
}
