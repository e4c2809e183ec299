#include <gtest/gtest.h>

#include <stdexcept>

#include "common/promise.h"

TEST(Promise, RunsTheLatestActionOnceOnEveryWayOut) {
    int first = 0, second = 0;
    {
        Promise guard([&] { ++first; });
        EXPECT_EQ(first, 0);
    }
    EXPECT_EQ(first, 1);
    try {
        Promise guard([&] { ++first; });
        guard.set([&] { ++second; });  // replaces the pending action
        throw std::runtime_error("leaving early");
    } catch (const std::runtime_error&) {}
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
    { Promise empty; }  // nothing to run, nothing to fail
}
