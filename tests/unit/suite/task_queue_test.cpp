#include <gtest/gtest.h>

#include "suite/task_queue.h"

namespace {

TEST(TaskQueue, WorkersKeepToWhatTheyHaveWarmedUpAndShareTheRest) {
    TaskQueue queue({"a", "b", "a", "", "b", "c", "a"}, 2);
    EXPECT_EQ(queue.take(0), 3u);  // needs nothing: a cold worker's first choice
    EXPECT_EQ(queue.take(0), 0u);  // a is now warm in worker 0
    EXPECT_EQ(queue.take(1), 1u);  // not a: b, which nobody has warmed
    EXPECT_EQ(queue.take(0), 2u);
    EXPECT_EQ(queue.take(1), 4u);
    EXPECT_EQ(queue.take(1), 5u);  // b is done: c, warm nowhere, before a's last
    EXPECT_EQ(queue.take(0), 6u);
    EXPECT_TRUE(queue.empty());
}

TEST(TaskQueue, AReplacedWorkerStartsColdAndAnIdleOneTakesOthersWork) {
    TaskQueue queue({"a", "a", "b", "a"}, 2);
    EXPECT_EQ(queue.take(0), 0u);
    queue.forget(0);
    EXPECT_EQ(queue.take(1), 1u);  // a is warm nowhere now: its next task first
    EXPECT_EQ(queue.take(0), 2u);  // b, not a, which worker 1 has warm
    EXPECT_EQ(queue.take(0), 3u);  // nothing else left
    EXPECT_TRUE(queue.empty());
}

}  // namespace
