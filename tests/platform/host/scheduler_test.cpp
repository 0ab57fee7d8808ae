#include "host/scheduler.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <future>
#include <memory>
#include <mutex>
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
    void Tell(const Queue& queue, char what, int64_t delayMs = 0)
    {
        EXPECT_NE(queue->Post([this, what] { story_ += what; }, delayMs), 0U);
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
    const bool manual_ = time_.UseManualTime();
    std::string story_;
    Queue one_ = time_.CreateQueue("one");
    Queue two_ = time_.CreateQueue("two");
};

TEST_F(SchedulerTest, ASeedShufflesQueuesButNeverAQueue)
{
    std::set<std::string> orders;
    for (uint64_t seed = 0; seed < 20; ++seed) {
        EXPECT_TRUE(time_.UseManualTime(seed));
        Tell(one_, 'Y', 1);
        for (char number : {'1', '2', '3', '4'}) {
            Tell(one_, static_cast<char>(number - '0' + 'a'));
            Tell(two_, number);
        }
        Tell(two_, 'Z', 2);
        EXPECT_TRUE(time_.Jump(2));
        std::string order = std::exchange(story_, "");
        orders.insert(order);
        std::stable_partition(order.begin(), order.end(), [](char what) { return what <= '9'; });
        EXPECT_EQ(order, "1234bcdeYZ") << "only heads at the lowest due time take part, seed " << seed;
    }
    EXPECT_GT(orders.size(), 10U);
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

// Which of six calls fail, as a row of digits.
std::string SixCalls(const char* name)
{
    std::string failed;
    for (int call = 0; call < 6; ++call) {
        failed += Faults::Take(name) ? '1' : '0';
    }
    return failed;
}

// A sweep over the calls of a story proves nothing if none of them fails.
TEST(FaultsTest, JustTheCallsThatAreNamedFail)
{
    Faults::Inject("first", 2, 3);
    EXPECT_EQ(SixCalls("second"), "000000");
    EXPECT_EQ(SixCalls("first"), "000110");
    for (uint64_t nth = 1; nth <= 12; ++nth) {
        Faults::FailNth(nth);
        const std::string first = SixCalls("first");
        EXPECT_EQ((first + SixCalls("second")).find('1'), nth - 1);
        EXPECT_EQ(Faults::LastFailed(), nth <= 6 ? "first" : "second");
        EXPECT_EQ(Faults::Calls(), 12U);
    }
}

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
    RunOn(*queue, [&, start = time_.BootTimeMs()] { // the queue is busy until all are posted
        for (const int64_t delay : {15, 5, 0, 10}) {
            auto told = [&, start, delay] {
                EXPECT_GE(time_.BootTimeMs(), start + delay);
                dues.push_back(delay);
                delay == 15 ? last.set_value() : void();
            };
            ASSERT_NE(queue->PostAt(start + delay, told), 0U);
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

TEST_F(SchedulerThreadedTest, WaitingForABodyWaitsForWhatItsThreadGivesBackToo)
{
    static std::atomic<bool> gone;
    Scheduler::StartDetached("detached", [] {
        pthread_key_t key = 0; // a library's
        auto giveBackSlowly = [](void*) { gone = ::poll(nullptr, 0, 20) == 0; };
        EXPECT_EQ(pthread_key_create(&key, giveBackSlowly), 0);
        EXPECT_EQ(pthread_setspecific(key, &gone), 0);
    });
    EXPECT_TRUE(time_.WaitForDetached(PATIENCE_MS));
    EXPECT_TRUE(gone);
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

// Every task that was posted is destroyed once: run, taken back, or dropped with its queue.
TEST_F(SchedulerThreadedTest, StressLosesNothing)
{
    std::atomic<int> alive = 0;
    std::atomic<int> ran = 0;
    auto poster = [&alive, &ran](Queue queue, uint64_t self) {
        for (int i = 0; i < 2000; ++i) {
            ++alive;
            std::shared_ptr<void> counted(nullptr, [&alive](void*) { --alive; });
            const TaskId id = queue->Post([counted, &ran] { ++ran; }, i % 2 == 0 ? LONG_MS : i % 5, {nullptr, self});
            if (i % 3 == 0) {
                queue->Cancel(id);
            } else if (i % 50 == 0) {
                queue->CancelTagged({nullptr, self});
            }
        }
    };
    for (bool stops : {true, false}) {
        Queue queue = NewQueue("stressed");
        std::vector<std::future<void>> posters;
        for (uint64_t i = 0; i < 4; ++i) {
            posters.push_back(std::async(std::launch::async, poster, queue, i));
        }
        if (stops) {
            queue->Stop();
        } else {
            posters.clear();      // joins
            RunOn(*queue, [] {}); // behind all that is due
        }
    }
    EXPECT_TRUE(time_.Shutdown(PATIENCE_MS));
    EXPECT_EQ(alive, 0);
    EXPECT_GT(ran, 0);
}

} // namespace
} // namespace OHOS::Host
