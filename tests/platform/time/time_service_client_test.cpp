#include "time_service_client.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "host/faults.h"
#include "host/scheduler.h"

namespace OHOS::MiscServices {
namespace {

using Host::Faults;
using Host::Scheduler;

class Info : public ITimerInfo {
public:
    explicit Info(std::function<void()> onTrigger, uint64_t intervalMs = 0) : onTrigger_(std::move(onTrigger))
    {
        type = TIMER_TYPE_REALTIME | TIMER_TYPE_WAKEUP | TIMER_TYPE_EXACT;
        repeat = intervalMs != 0;
        interval = intervalMs;
    }
    void SetType(const int& value) override
    {
        type = value;
    }
    void SetRepeat(bool) override
    {}
    void SetInterval(const uint64_t&) override
    {}
    void SetWantAgent(std::shared_ptr<AbilityRuntime::WantAgent::WantAgent>) override
    {}
    void OnTrigger() override
    {
        onTrigger_();
    }

private:
    std::function<void()> onTrigger_;
};

using Times = std::vector<int64_t>;

class TimeServiceClientTest : public testing::Test {
protected:
    // A timer that writes down when it triggered, in milliseconds since the case began, then does `then`.
    uint64_t NewTimer(uint64_t intervalMs = 0, std::function<void()> then = nullptr)
    {
        auto told = [this, then] {
            triggers_.push_back(client_->GetBootTimeMs() - start_);
            then != nullptr ? then() : void();
        };
        return client_->CreateTimer(std::make_shared<Info>(told, intervalMs));
    }
    bool StartIn(uint64_t timer, int64_t ms)
    {
        return client_->StartTimer(timer, static_cast<uint64_t>(client_->GetBootTimeMs() + ms));
    }
    Times TriggersAfter(int64_t ms)
    {
        EXPECT_TRUE(time_.Advance(ms));
        return std::exchange(triggers_, {});
    }

    Scheduler& time_ = Scheduler::Instance();
    const bool manual_ = time_.UseManualTime();
    sptr<TimeServiceClient> client_ = TimeServiceClient::GetInstance();
    int64_t start_ = client_->GetBootTimeMs();
    Times triggers_;
};

TEST_F(TimeServiceClientTest, ATimerTriggersOnceAtItsMomentAndMayBeStartedAgain)
{
    const uint64_t timer = NewTimer();
    ASSERT_NE(timer, 0U);
    EXPECT_EQ(TriggersAfter(1000), Times{}) << "created stopped";
    EXPECT_TRUE(StartIn(timer, 500));
    EXPECT_EQ(TriggersAfter(499), Times{});
    EXPECT_EQ(TriggersAfter(1), Times{1500});
    EXPECT_EQ(TriggersAfter(10'000), Times{});
    EXPECT_TRUE(StartIn(timer, 100) && StartIn(timer, 300)) << "the new time instead of the old";
    EXPECT_EQ(TriggersAfter(1000), Times{11'800});
    EXPECT_TRUE(client_->StartTimer(timer, 0)) << "has passed: at once";
    EXPECT_EQ(TriggersAfter(0), Times{12'500});
    EXPECT_TRUE(client_->StartTimer(timer, UINT64_MAX));
    EXPECT_EQ(TriggersAfter(1000), Times{});
}

TEST_F(TimeServiceClientTest, StoppedAndDestroyedTimersStaySilent)
{
    const uint64_t timer = NewTimer();
    EXPECT_TRUE(StartIn(timer, 10) && client_->StopTimer(timer));
    EXPECT_TRUE(client_->StopTimer(timer)) << "a stopped timer may be stopped";
    EXPECT_EQ(TriggersAfter(100), Times{});
    EXPECT_TRUE(StartIn(timer, 10) && client_->DestroyTimer(timer));
    EXPECT_EQ(TriggersAfter(100), Times{});
    EXPECT_FALSE(StartIn(timer, 10) || client_->StopTimer(timer) || client_->DestroyTimer(timer)) << "unknown now";
    EXPECT_NE(NewTimer(), timer);
}

TEST_F(TimeServiceClientTest, ARepeatingTimerSkipsWhatTheDeviceSlept)
{
    const uint64_t timer = NewTimer(100);
    EXPECT_TRUE(StartIn(timer, 50));
    EXPECT_EQ(TriggersAfter(250), (Times{50, 150, 250}));
    ASSERT_TRUE(time_.Jump(730)); // until 980
    EXPECT_EQ(TriggersAfter(70), (Times{980, 1050})) << "once for all that was missed, then in step again";
    EXPECT_TRUE(client_->StopTimer(timer));
    EXPECT_EQ(TriggersAfter(1000), Times{});
}

TEST_F(TimeServiceClientTest, OnTriggerMayStartStopAndDestroyItsTimer)
{
    uint64_t timer = 0;
    timer = NewTimer(0, [&] { EXPECT_TRUE(triggers_.size() == 3 || StartIn(timer, 10)); });
    EXPECT_TRUE(StartIn(timer, 10));
    EXPECT_EQ(TriggersAfter(100), (Times{10, 20, 30}));

    timer = NewTimer(10, [&] { EXPECT_TRUE(client_->StopTimer(timer)); });
    EXPECT_TRUE(StartIn(timer, 10));
    EXPECT_EQ(TriggersAfter(100), Times{110});

    auto held = std::make_shared<int>(0);
    std::weak_ptr<int> alive = held;
    timer = NewTimer(10, [this, &timer, alive, own = std::move(held)] {
        EXPECT_TRUE(client_->DestroyTimer(timer));
        EXPECT_FALSE(alive.expired()) << "the info lives until OnTrigger has returned";
    });
    EXPECT_TRUE(StartIn(timer, 10));
    EXPECT_EQ(TriggersAfter(100), Times{210});
    EXPECT_TRUE(alive.expired());
}

TEST_F(TimeServiceClientTest, RefusalsLeaveTheTimerAsItWas)
{
    auto wallClock = std::make_shared<Info>([] {});
    wallClock->SetType(ITimerInfo::TIMER_TYPE_EXACT);
    EXPECT_EQ(client_->CreateTimer(wallClock) + client_->CreateTimer(nullptr), 0U);
    const uint64_t timer = NewTimer();
    EXPECT_TRUE(StartIn(timer, 10));
    for (const char* call : {"instance", "create_timer", "start_timer", "stop_timer", "destroy_timer"}) {
        Faults::Inject(std::string("time_service.") + call);
    }
    EXPECT_EQ(TimeServiceClient::GetInstance(), nullptr);
    EXPECT_EQ(NewTimer(), 0U);
    EXPECT_FALSE(StartIn(timer, 5) || client_->StopTimer(timer) || client_->DestroyTimer(timer));
    EXPECT_EQ(TriggersAfter(10), Times{10});
}

// Threads instead of manual time: a trigger that is under way when its timer is stopped does not arm it again.
TEST(TimeServiceStress, ATimerThatIsStoppedWhileItTriggersStaysStopped)
{
    const auto client = TimeServiceClient::GetInstance();
    std::atomic<int> ticks = 0;
    const uint64_t timer = client->CreateTimer(std::make_shared<Info>([&] { ++ticks; }, 1));
    for (int round = 0; round < 500; ++round) {
        EXPECT_TRUE(client->StartTimer(timer, 0));
        for (int pause = 0; pause < round % 16; ++pause) {
            std::this_thread::yield(); // meets the trigger at another point each time
        }
        EXPECT_TRUE(client->StopTimer(timer));
        EXPECT_EQ(Scheduler::Instance().PendingCount(), 0U);
    }
    EXPECT_TRUE(client->StartTimer(timer, 0));
    for (const int before = ticks; ticks < before + 3;) { // it still runs and repeats
        std::this_thread::yield();
    }
    EXPECT_TRUE(client->DestroyTimer(timer));
    EXPECT_TRUE(Scheduler::Instance().Shutdown(60'000));
}

} // namespace
} // namespace OHOS::MiscServices
