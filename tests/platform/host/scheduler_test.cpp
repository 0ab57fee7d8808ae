#include "host/scheduler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "hilog/host_log.h"
#include "host/faults.h"

namespace OHOS::Host {
namespace {

using Queue = std::shared_ptr<TaskQueue>;

// Manual time: what ran stands in `story_`, one character a task.
class SchedulerTest : public testing::Test {
protected:
    SchedulerTest()
    {
        EXPECT_TRUE(time_.UseManualTime());
    }

    TaskId Tell(const Queue& queue, char what, int64_t delayMs = 0, TaskTag tag = {})
    {
        TaskId id = queue->Post([this, what] { story_ += what; }, delayMs, tag);
        EXPECT_NE(id, 0U);
        return id;
    }

    std::string Settled()
    {
        EXPECT_TRUE(time_.Settle());
        return std::exchange(story_, "");
    }

    static std::string LastLine()
    {
        return ReadLog(LastLogSeq() - 1).at(0).text;
    }

    Scheduler& time_ = Scheduler::Instance();
    std::string story_;
    Queue one_ = time_.CreateQueue("one");
    Queue two_ = time_.CreateQueue("two");
};

TEST_F(SchedulerTest, RunsByDueTimeThenByPosting)
{
    Tell(two_, 'f', 2);
    Tell(two_, 'e', 1);
    Tell(one_, 'b');
    Tell(two_, 'c');
    Tell(one_, 'd', -5);
    ASSERT_NE(one_->PostAt(0, [this] { story_ += 'a'; }), 0U); // a moment that has passed is due at once, and first
    EXPECT_EQ(time_.PendingCount(), 6U);
    EXPECT_EQ(Settled(), "abcd");
    EXPECT_TRUE(one_->IsIdle() && !two_->IsIdle()) << "a delayed task waits too";
    ASSERT_TRUE(time_.Jump(2));
    EXPECT_EQ(Settled(), "ef");
}

TEST_F(SchedulerTest, ASeedShufflesQueuesButNeverAQueue)
{
    Queue three = time_.CreateQueue("three");
    auto run = [&](uint64_t seed) {
        EXPECT_TRUE(time_.UseManualTime(seed));
        Tell(one_, 'Y', 1);
        for (char what : {'1', '2', '3', '4'}) {
            Tell(two_, what);
            Tell(three, static_cast<char>(what - '0' + 'a'));
        }
        Tell(three, 'Z', 2);
        EXPECT_TRUE(time_.Jump(2));
        return std::exchange(story_, "");
    };
    std::set<std::string> orders;
    for (uint64_t seed = 0; seed < 20; ++seed) {
        const std::string order = run(seed);
        EXPECT_EQ(run(seed), order) << "seed " << seed;
        EXPECT_EQ(order.substr(8), "YZ") << "only heads at the lowest due time take part";
        std::string ofTwo;
        std::copy_if(order.begin(), order.end(), std::back_inserter(ofTwo), [](char c) { return c <= '9'; });
        EXPECT_EQ(ofTwo, "1234");
        orders.insert(order);
    }
    EXPECT_GT(orders.size(), 10U);
}

TEST_F(SchedulerTest, AdvanceStopsAtEachDeadlineAndJumpDoesNot)
{
    const int64_t start = time_.BootTimeMs();
    const int64_t wall = time_.WallTimeMs();
    std::vector<int64_t> ranAt;
    auto post = [&](int64_t delayMs) {
        EXPECT_NE(one_->Post([&] { ranAt.push_back(time_.BootTimeMs() - start); }, delayMs), 0U);
    };
    post(10);
    post(20);
    EXPECT_TRUE(time_.Advance(9) && ranAt.empty()) << "one tick before";
    ASSERT_TRUE(time_.Advance(91));
    EXPECT_EQ(ranAt, (std::vector<int64_t>{10, 20}));
    EXPECT_EQ(time_.WakeUps(), 2U);
    post(10);
    post(20);
    ASSERT_TRUE(time_.Jump(100));
    EXPECT_EQ(ranAt, (std::vector<int64_t>{10, 20, 200, 200}));
    EXPECT_EQ(time_.WallTimeMs() - wall, 200);
    EXPECT_EQ(WallClockMs(), time_.WallTimeMs()) << "log lines go by it";
}

TEST_F(SchedulerTest, ACalleeThatHangsMovesTimeAndTheRestRunsAfterIt)
{
    const int64_t start = time_.BootTimeMs();
    auto hang = [&] {
        time_.AdvanceWithoutRunning(8000);
        story_ += 'a';
    };
    (void)one_->Post(hang, 5);
    Tell(two_, 'b', 6);
    Tell(one_, 'c', 9000);
    ASSERT_TRUE(time_.Advance(10));
    EXPECT_EQ(Settled(), "ab");
    EXPECT_EQ(time_.BootTimeMs(), start + 8005) << "later than asked for, and never back";
    ASSERT_TRUE(time_.Advance(994));
    EXPECT_EQ(Settled(), "");
    ASSERT_TRUE(time_.Advance(1));
    EXPECT_EQ(Settled(), "c");
}

TEST_F(SchedulerTest, TasksAreTakenBackByIdAndByTag)
{
    TaskId taken = 0;
    (void)one_->Post([&] {
        EXPECT_TRUE(one_->Cancel(taken)) << "from inside another task";
        EXPECT_FALSE(one_->Cancel(taken)) << "once only";
    });
    taken = Tell(one_, 'a');
    EXPECT_FALSE(two_->Cancel(taken)) << "the id of another queue";
    EXPECT_EQ(Settled(), "");

    Tell(one_, 'b', 0, {this, 7});
    Tell(one_, 'c', 5, {this, 7});
    Tell(one_, 'd', 5, {this, 8});
    Tell(one_, 'e', 5, {&time_, 7});
    EXPECT_EQ(one_->CancelTagged({this, 7}), 2U);
    EXPECT_EQ(one_->CancelTagged(this), 1U);
    ASSERT_TRUE(time_.Jump(5));
    EXPECT_EQ(Settled(), "e");
}

TEST_F(SchedulerTest, TasksAreNeverInterleaved)
{
    EXPECT_NE(one_->Post([&] {
        Tell(two_, 'b');
        EXPECT_FALSE(time_.Settle() || time_.Advance(1) || time_.Jump(1));
        EXPECT_TRUE(one_->IsCurrent() && !two_->IsCurrent() && one_->IsIdle()) << "the running task does not count";
        story_ += 'a';
    }),
        0U);
    EXPECT_EQ(Settled(), "ab");
    EXPECT_FALSE(one_->IsCurrent());
}

// Calls back into its queue when it is destroyed.
struct Busybody {
    ~Busybody()
    {
        story += queue->IsCurrent() ? "inside " : "outside ";
        story += queue->Post([] {}) != 0 ? "posted " : "";
    }
    TaskQueue* queue;
    std::string& story;
};

TEST_F(SchedulerTest, TasksAreDestroyedUnderNoLock)
{
    auto post = [&] {
        std::shared_ptr<Busybody> held(new Busybody{one_.get(), story_});
        return one_->Post([this, held] { story_ += "ran "; });
    };
    EXPECT_NE(post(), 0U);
    EXPECT_EQ(Settled(), "ran inside posted ");
    one_->Cancel(post());
    EXPECT_EQ(Settled(), "outside posted ");
    EXPECT_NE(post(), 0U);
    one_->Stop();
    EXPECT_EQ(Settled(), "outside ");
    EXPECT_EQ(post(), 0U) << "refused";
    EXPECT_EQ(Settled(), "outside ");
}

TEST_F(SchedulerTest, WhatNeverSettlesIsReported)
{
    std::function<void()> again = [&] { EXPECT_NE(one_->Post(again), 0U); };
    again();
    EXPECT_FALSE(time_.Settle());
    EXPECT_EQ(LastLine(), "does not settle, next is a task of 'one'");
}

TEST_F(SchedulerTest, DetachedBodiesAreQueuedAndAwaited)
{
    Scheduler::StartDetached("outer", [this] {
        Scheduler::StartDetached("nested", [this] { story_ += 'b'; });
        story_ += 'a';
    });
    EXPECT_EQ(story_, "") << "never inside the call";
    EXPECT_TRUE(time_.WaitForDetached(0));
    EXPECT_EQ(Settled(), "ab");

    Faults::Inject("scheduler.start_detached", 2);
    EXPECT_THROW(Scheduler::StartDetached("refused", [] { FAIL(); }), std::system_error);
    (void)one_->Post([] { Scheduler::StartDetached("refused", [] { FAIL(); }); });
    Tell(one_, 'c');
    EXPECT_EQ(Settled(), "c") << "a task that could not start a thread is all that is lost";
    EXPECT_EQ(LastLine().rfind("task of 'one' gave up: ", 0), 0U);
    EXPECT_TRUE(time_.WaitForDetached(0));
}

TEST_F(SchedulerTest, ShutdownDropsAllAndIsFinal)
{
    Scheduler::StartDetached("detached", [] { FAIL(); });
    Tell(one_, 'x', 5);
    EXPECT_TRUE(time_.Shutdown(0));
    EXPECT_EQ(time_.PendingCount(), 0U);
    EXPECT_EQ(two_->Post([] {}), 0U);
    EXPECT_EQ(time_.CreateQueue("late")->Post([] {}), 0U);
}

} // namespace
} // namespace OHOS::Host
