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
    ~SchedulerTest() override
    {
        Faults::Clear();
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
        const std::vector<LogLine> lines = ReadLog(LastLogSeq() - 1);
        return lines.empty() ? "" : lines.back().text;
    }

    Scheduler& time_ = Scheduler::Instance();
    std::string story_;
    Queue one_ = time_.CreateQueue("one");
    Queue two_ = time_.CreateQueue("two");
};

TEST_F(SchedulerTest, RunsByDueTimeThenByPosting)
{
    Tell(two_, 'e', 2);
    Tell(two_, 'd', 1);
    Tell(one_, 'a');
    Tell(two_, 'b');
    Tell(one_, 'c', -5);
    EXPECT_EQ(time_.PendingCount(), 5U);
    EXPECT_EQ(Settled(), "abc");
    EXPECT_TRUE(one_->IsIdle());
    EXPECT_FALSE(two_->IsIdle()) << "a delayed task waits too";
    ASSERT_TRUE(time_.Jump(2));
    EXPECT_EQ(Settled(), "de");
    ASSERT_NE(one_->PostAt(0, [this] { story_ += 'p'; }), 0U);
    Tell(two_, 'q');
    EXPECT_EQ(Settled(), "pq") << "a moment that has passed is due at once, and first";
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
    std::vector<int64_t> ranAt;
    auto post = [&](int64_t delayMs) { (void)one_->Post([&] { ranAt.push_back(time_.BootTimeMs()); }, delayMs); };
    const int64_t start = time_.BootTimeMs();
    const int64_t wall = time_.WallTimeMs();
    const uint64_t wakeUps = time_.WakeUps();
    post(10);
    post(20);
    ASSERT_TRUE(time_.Advance(9));
    EXPECT_TRUE(ranAt.empty()) << "one tick before";
    ASSERT_TRUE(time_.Advance(1));
    EXPECT_EQ(ranAt, std::vector{start + 10});
    ASSERT_TRUE(time_.Advance(100));
    EXPECT_EQ(ranAt, (std::vector{start + 10, start + 20}));
    EXPECT_EQ(time_.WakeUps() - wakeUps, 2U);

    post(10);
    post(20);
    ASSERT_TRUE(time_.Jump(100));
    EXPECT_EQ(ranAt, (std::vector{start + 10, start + 20, start + 210, start + 210}));
    EXPECT_EQ(time_.WallTimeMs() - wall, 210);
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
    const TaskTag seven{this, 7};
    const TaskTag eight{this, 8};
    const TaskTag other{&time_, 7};
    TaskId taken = 0;
    (void)one_->Post([&] {
        EXPECT_TRUE(one_->Cancel(taken)) << "from inside another task";
        EXPECT_FALSE(one_->Cancel(taken)) << "once only";
    });
    taken = Tell(one_, 'a');
    EXPECT_FALSE(two_->Cancel(taken)) << "the id of another queue";
    EXPECT_EQ(Settled(), "");

    Tell(one_, 'c', 0, seven);
    Tell(one_, 'd', 5, seven);
    Tell(one_, 'e', 5, eight);
    Tell(one_, 'f', 5, other);
    EXPECT_EQ(one_->CancelTagged(seven), 2U);
    EXPECT_FALSE(one_->HasTagged(seven));
    EXPECT_TRUE(one_->HasTagged(eight));
    EXPECT_EQ(one_->CancelTagged(this), 1U);
    ASSERT_TRUE(time_.Jump(5));
    EXPECT_EQ(Settled(), "f");
}

TEST_F(SchedulerTest, TheQueueIsCurrentInsideItsTasksOnly)
{
    (void)one_->Post([&] {
        EXPECT_TRUE(one_->IsCurrent());
        EXPECT_FALSE(two_->IsCurrent());
        EXPECT_TRUE(one_->IsIdle()) << "the running task does not count";
        EXPECT_FALSE(time_.Settle()) << "tasks are never interleaved";
        EXPECT_FALSE(time_.Advance(1));
        EXPECT_FALSE(time_.Jump(1));
        story_ += 'a';
    });
    EXPECT_EQ(Settled(), "a");
    EXPECT_FALSE(one_->IsCurrent());
}

// Calls back into its queue when it is destroyed.
struct Busybody {
    Busybody(std::weak_ptr<TaskQueue> watched, std::string& told) : queue(std::move(watched)), story(told)
    {}
    ~Busybody()
    {
        Queue alive = queue.lock();
        story += alive == nullptr ? "gone" : alive->IsCurrent() ? "inside" : "outside";
        story += alive == nullptr || alive->Post([] {}) == 0 ? "-refused " : "-posted ";
    }
    std::weak_ptr<TaskQueue> queue;
    std::string& story;
};

TEST_F(SchedulerTest, TasksAreDestroyedUnderNoLock)
{
    auto captive = [&] { return [held = std::make_shared<Busybody>(one_, story_)] {}; };
    (void)one_->Post(captive());
    EXPECT_EQ(Settled(), "inside-posted ") << "behind its own end";
    one_->Cancel(one_->Post(captive()));
    EXPECT_EQ(Settled(), "outside-posted ") << "cancelled";
    (void)one_->Post(captive());
    one_->Stop();
    EXPECT_EQ(Settled(), "outside-refused ") << "stopped";
    EXPECT_EQ(one_->Post(captive()), 0U);
    EXPECT_EQ(Settled(), "outside-refused ") << "refused";
}

TEST_F(SchedulerTest, AQueueMayDieInItsOwnTask)
{
    (void)one_->Post([&, held = std::make_shared<Busybody>(one_, story_)] {
        one_.reset();
        story_ += "still here, ";
    });
    Tell(one_, 'x');
    EXPECT_EQ(Settled(), "still here, gone-refused ");
    EXPECT_EQ(time_.PendingCount(), 0U);
}

TEST_F(SchedulerTest, WhatNeverSettlesIsReported)
{
    std::function<void()> again = [&] { (void)one_->Post(again); };
    again();
    EXPECT_FALSE(time_.Settle());
    EXPECT_EQ(LastLine(), "does not settle, next is a task of 'one'");
    one_->Stop();
    EXPECT_TRUE(time_.Settle());
}

TEST_F(SchedulerTest, DetachedBodiesAreQueuedAndAwaited)
{
    for (char what : {'a', 'b'}) {
        Scheduler::StartDetached("detached", [this, what] {
            story_ += what;
            if (what == 'a') {
                Scheduler::StartDetached("nested", [this] { story_ += 'c'; });
            }
        });
    }
    EXPECT_EQ(story_, "") << "never inside the call";
    EXPECT_TRUE(time_.WaitForDetached(0));
    EXPECT_EQ(Settled(), "abc");

    Faults::Inject("scheduler.start_detached");
    EXPECT_THROW(Scheduler::StartDetached("refused", [this] { story_ += 'x'; }), std::system_error);
    EXPECT_TRUE(time_.WaitForDetached(0));
    EXPECT_EQ(Settled(), "");
}

TEST_F(SchedulerTest, AThreadThatATaskCannotStartCostsTheTaskAlone)
{
    Faults::Inject("scheduler.start_detached");
    (void)one_->Post([] { Scheduler::StartDetached("refused", [] {}); });
    Tell(one_, 'b');
    EXPECT_EQ(Settled(), "b");
    EXPECT_EQ(LastLine().rfind("task of 'one' gave up: ", 0), 0U);
}

TEST_F(SchedulerTest, ShutdownDropsAllAndIsFinal)
{
    Scheduler::StartDetached("detached", [this] { story_ += 'x'; });
    Tell(one_, 'y', 5);
    EXPECT_TRUE(time_.Shutdown(0));
    EXPECT_EQ(time_.PendingCount(), 0U);
    EXPECT_EQ(two_->Post([] {}), 0U);
    EXPECT_EQ(time_.CreateQueue("late")->Post([] {}), 0U);
    EXPECT_EQ(Settled(), "");
}

} // namespace
} // namespace OHOS::Host
