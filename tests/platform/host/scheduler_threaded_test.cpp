#include "host/scheduler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <future>
#include <thread>

#include "host/faults.h"

namespace OHOS::Host {
namespace {

using Queue = std::shared_ptr<TaskQueue>;

constexpr int64_t LONG_MS = 3'600'000; // never comes
constexpr int64_t PATIENCE_MS = 60'000;

Queue NewQueue(const char* name)
{
    return Scheduler::Instance().CreateQueue(name);
}

// Runs `body` on the queue and waits for its end.
void RunOn(TaskQueue& queue, std::function<void()> body)
{
    std::promise<void> done;
    auto andTell = [&] {
        body();
        done.set_value();
    };
    ASSERT_NE(queue.Post(andTell), 0U);
    done.get_future().wait();
}

// Each case runs in a process of its own and so may shut the scheduler down.
class SchedulerThreadedTest : public testing::Test {
protected:
    ~SchedulerThreadedTest() override
    {
        EXPECT_TRUE(time_.Shutdown(PATIENCE_MS));
    }

    Scheduler& time_ = Scheduler::Instance();
};

TEST_F(SchedulerThreadedTest, EachQueueHasAThreadThatTakesNoSignals)
{
    Queue one = NewQueue("one");
    Queue two = NewQueue("two");
    RunOn(*one, [&] {
        sigset_t blocked;
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        EXPECT_EQ(sigismember(&blocked, SIGTERM), 1);
        EXPECT_EQ(sigismember(&blocked, SIGSEGV), 0);
        RunOn(*two, [&] { EXPECT_TRUE(two->IsCurrent() && !one->IsCurrent()); }); // while one is busy
    });
    EXPECT_FALSE(one->IsCurrent());
    EXPECT_FALSE(time_.UseManualTime() || time_.Settle()) << "too late";
}

TEST_F(SchedulerThreadedTest, DelayedTasksComeInOrderAndNeverEarly)
{
    Queue queue = NewQueue("queue");
    const TaskId later = queue->Post([] { FAIL(); }, LONG_MS);
    std::vector<int64_t> dues;
    std::promise<void> last;
    RunOn(*queue, [&] { // the queue is busy until all are posted
        const int64_t start = time_.BootTimeMs();
        for (int64_t due : {start + 15, start + 5, start, start + 10}) {
            auto told = [&, start, due] {
                dues.push_back(due - start);
                EXPECT_GE(time_.BootTimeMs(), due);
                due == start + 15 ? last.set_value() : void();
            };
            ASSERT_NE(queue->PostAt(due, told), 0U);
        }
    });
    last.get_future().wait();
    EXPECT_EQ(dues, (std::vector<int64_t>{0, 5, 10, 15}));
    const uint64_t wakeUps = time_.WakeUps();
    for (int i = 1; i <= 100; ++i) {
        EXPECT_TRUE(queue->Cancel(queue->Post([] { FAIL(); }, LONG_MS - i)));
    }
    EXPECT_LE(time_.WakeUps(), wakeUps + 1) << "a sleeper is not woken to be told of another deadline";
    EXPECT_TRUE(queue->Cancel(later));
}

TEST_F(SchedulerThreadedTest, DroppingAQueueNeverWaits)
{
    Queue queue = NewQueue("queue");
    std::mutex needed;
    std::promise<void> begun;
    bool ended = false;
    std::unique_lock lock(needed);
    auto busy = [&] {
        begun.set_value();
        std::lock_guard waits(needed);
        ended = true;
    };
    ASSERT_NE(queue->Post(busy), 0U);
    ASSERT_NE(queue->Post([] { FAIL() << "dropped with the queue"; }), 0U);
    Scheduler::StartDetached("detached", [&needed] { std::lock_guard waits(needed); });
    begun.get_future().wait();
    queue.reset(); // under the very lock that the running task waits for
    EXPECT_EQ(time_.PendingCount(), 0U);
    queue = NewQueue("another");
    RunOn(*queue, [&] {
        queue.reset(); // inside its own task
        EXPECT_FALSE(time_.Shutdown(0)) << "waits for the caller too";
    });
    EXPECT_FALSE(time_.WaitForDetached(0));
    lock.unlock();
    EXPECT_TRUE(time_.Shutdown(PATIENCE_MS));
    EXPECT_TRUE(ended);
    EXPECT_EQ(NewQueue("late")->Post([] {}), 0U);
}

TEST_F(SchedulerThreadedTest, WhatCannotBeStartedRefusesOneTaskOnly)
{
    Queue queue = NewQueue("queue");
    auto refused = [&](int64_t delayMs) { return queue->Post([] { FAIL(); }, delayMs) == 0; };
    Faults::Inject("scheduler.start_thread");
    EXPECT_TRUE(refused(0)) << "no thread for the queue";
    RunOn(*queue, [] {});
    Faults::Inject("scheduler.start_thread");
    EXPECT_TRUE(refused(LONG_MS)) << "no thread for the alarm";
    RunOn(*queue, [] {}); // needs none
    EXPECT_FALSE(refused(LONG_MS));
}

// Every task that was posted is destroyed once: run, taken back, or dropped with its queue. Those that run do so in the
// order in which their poster posted them.
TEST_F(SchedulerThreadedTest, StressLosesNothingAndKeepsOrder)
{
    std::atomic<int> alive = 0;
    std::atomic<int> ran = 0;
    const auto counted = [&alive] {
        ++alive;
        return std::shared_ptr<void>(nullptr, [&alive](void*) { --alive; });
    };
    auto poster = [&](Queue queue, uint64_t self) {
        auto last = std::make_shared<int>(-1); // touched on the queue alone
        for (int i = 0; i < 2000; ++i) {
            auto inOrder = [&ran, last, i, held = counted()] {
                EXPECT_LT(std::exchange(*last, i), i);
                ++ran;
            };
            const TaskId id = queue->Post(std::move(inOrder), 0, {nullptr, self});
            if (i % 3 == 0) {
                queue->Cancel(id);
            } else if (i % 50 == 0) {
                queue->CancelTagged({nullptr, self});
            }
            auto any = [held = counted()] {};
            (void)queue->Post(std::move(any), i % 2 == 0 ? LONG_MS : i % 5); // run, dropped or refused
        }
    };
    for (int round = 0; round < 4; ++round) {
        Queue queue = NewQueue("stressed");
        std::vector<std::thread> posters;
        for (uint64_t i = 0; i < 4; ++i) {
            posters.emplace_back(poster, queue, i);
        }
        if (round % 2 == 0) {
            queue->Stop();
        }
        queue.reset();
        std::for_each(posters.begin(), posters.end(), [](std::thread& thread) { thread.join(); });
    }
    EXPECT_TRUE(time_.Shutdown(PATIENCE_MS));
    EXPECT_EQ(alive, 0);
    EXPECT_GT(ran, 0);
}

} // namespace
} // namespace OHOS::Host
