#include <gtest/gtest.h>

#include <stdexcept>

#include "common/promise.h"

TEST(Promise, RunsItsActionExactlyOnceAtScopeEnd) {
    int runs = 0;
    {
        Promise guard([&] { ++runs; });
        EXPECT_EQ(runs, 0);
    }
    EXPECT_EQ(runs, 1);

    try {
        Promise guard([&] { ++runs; });
        throw std::runtime_error("leaving early");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(runs, 2);
}

TEST(Promise, SetReplacesThePendingAction) {
    int first = 0;
    int second = 0;
    {
        Promise guard;
        guard.set([&] { ++first; });
        guard.set([&] { ++second; });
    }
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);

    { Promise empty; }  // nothing to run, nothing to fail
}
