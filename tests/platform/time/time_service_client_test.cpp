#include "time_service_client.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "host/scheduler.h"

namespace OHOS::MiscServices {
namespace {

using Host::Scheduler;

class Info : public ITimerInfo {
public:
    explicit Info(std::function<void()> onTrigger, int kind = TIMER_TYPE_REALTIME) : onTrigger_(std::move(onTrigger))
    {
        type = kind | TIMER_TYPE_WAKEUP | TIMER_TYPE_EXACT;
    }
    void SetType(const int&) override
    {}
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
    uint64_t NewTimer(std::function<void()> then = [] {})
    {
        auto told = [this, then] {
            triggers_.push_back(client_->GetBootTimeMs() - start_);
            then();
        };
        return client_->CreateTimer(std::make_shared<Info>(told));
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
    EXPECT_TRUE(StartIn(timer, 100) && StartIn(timer, 300)) << "the new time instead of the old";
    EXPECT_EQ(TriggersAfter(1000), Times{1800});
    EXPECT_TRUE(client_->StartTimer(timer, 0)) << "has passed: at once";
    EXPECT_EQ(TriggersAfter(0), Times{2500});
    EXPECT_TRUE(client_->StartTimer(timer, UINT64_MAX));
    EXPECT_EQ(TriggersAfter(1000), Times{});
}

TEST_F(TimeServiceClientTest, StoppedAndDestroyedTimersStaySilent)
{
    const uint64_t timer = NewTimer();
    EXPECT_TRUE(StartIn(timer, 10) && client_->StopTimer(timer));
    EXPECT_TRUE(client_->StopTimer(timer)) << "a stopped timer may be stopped";
    EXPECT_TRUE(StartIn(timer, 10) && client_->DestroyTimer(timer));
    EXPECT_EQ(TriggersAfter(100), Times{});
    EXPECT_FALSE(StartIn(timer, 10) || client_->StopTimer(timer) || client_->DestroyTimer(timer)) << "unknown now";
    EXPECT_NE(NewTimer(), timer);
    EXPECT_EQ(client_->CreateTimer(std::make_shared<Info>([] {}, 0)), 0U) << "goes by the wall clock";
    EXPECT_EQ(client_->CreateTimer(nullptr), 0U);
}

TEST_F(TimeServiceClientTest, OnTriggerMayStartAndDestroyItsTimer)
{
    auto held = std::make_shared<int>(0);
    uint64_t timer = 0;
    timer = NewTimer([this, &timer, alive = std::weak_ptr<int>(held), own = std::move(held)] {
        EXPECT_TRUE(triggers_.size() < 3 ? StartIn(timer, 10) : client_->DestroyTimer(timer));
        EXPECT_FALSE(alive.expired()) << "the info lives until OnTrigger has returned";
    });
    EXPECT_TRUE(StartIn(timer, 10));
    EXPECT_EQ(TriggersAfter(100), (Times{10, 20, 30}));
}

} // namespace
} // namespace OHOS::MiscServices
