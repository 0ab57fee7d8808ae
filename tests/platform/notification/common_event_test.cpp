#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "common_event_manager.h"
#include "host/common_events.h"
#include "host/scheduler.h"

using namespace OHOS;
using namespace OHOS::EventFwk;
using namespace OHOS::Host;

namespace {

constexpr const char* RING = "test.RING";
constexpr const char* KNOCK = "test.KNOCK";

CommonEventData Event(const std::string& action, int32_t code)
{
    AAFwk::Want want;
    want.SetAction(action);
    return CommonEventData(want, code);
}

CommonEventSubscribeInfo Wants(const std::string& action)
{
    MatchingSkills skills;
    skills.AddEvent(action);
    return CommonEventSubscribeInfo(skills);
}

std::string g_heard; // by all subscribers, in order

// Writes down the codes that it hears, and does something more if asked to.
class Subscriber : public CommonEventSubscriber {
public:
    explicit Subscriber(const CommonEventSubscribeInfo& info = Wants(RING)) : CommonEventSubscriber(info)
    {}
    ~Subscriber() override
    {
        g_heard += "gone; ";
    }
    void OnReceiveEvent(const CommonEventData& data) override
    {
        if (auto once = std::exchange(then, nullptr)) {
            once();
        }
        g_heard += std::to_string(data.GetCode()) + "; ";
    }
    std::function<void()> then;
};

class CommonEventTest : public testing::Test {
protected:
    std::string Heard()
    {
        EXPECT_TRUE(Scheduler::Instance().Settle());
        return std::exchange(g_heard, "");
    }
    [[nodiscard]] static bool Publish(int32_t code)
    {
        return CommonEventManager::PublishCommonEvent(Event(RING, code));
    }

    const bool manual = Scheduler::Instance().UseManualTime();
    CommonEvents& events = CommonEvents::Instance();
    std::shared_ptr<Subscriber> subscriber = std::make_shared<Subscriber>();
};

TEST_F(CommonEventTest, ComesLaterAndInOrderAndASubscriberMayCallInFromInside)
{
    auto second = std::make_shared<Subscriber>();
    subscriber->then = [second] {
        EXPECT_TRUE(CommonEventManager::SubscribeCommonEvent(second));
        EXPECT_TRUE(Publish(4));
    };
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(subscriber));
    ASSERT_TRUE(Publish(1));
    ASSERT_TRUE(CommonEventManager::PublishCommonEvent(Event(KNOCK, 2)));
    ASSERT_TRUE(Publish(3));
    EXPECT_EQ(g_heard, "") << "nothing comes inside a call";
    EXPECT_EQ(Heard(), "1; 3; 4; 4; ") << "what was published before a subscription does not come";
}

TEST_F(CommonEventTest, SubscribedTwiceIsToldTwiceUntilUnsubscribedOnceAndLivesUntilItsCallHasReturned)
{
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(subscriber));
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(subscriber));
    ASSERT_TRUE(Publish(1));
    EXPECT_EQ(Heard(), "1; 1; ");
    subscriber->then = [this] {
        EXPECT_TRUE(CommonEventManager::UnSubscribeCommonEvent(subscriber));
        EXPECT_FALSE(CommonEventManager::UnSubscribeCommonEvent(subscriber));
        subscriber.reset();
    };
    ASSERT_TRUE(Publish(2));
    EXPECT_EQ(Heard(), "2; gone; ") << "what was on the way does not come any more";
    EXPECT_EQ(events.SubscriptionCount(), 0U);
}

TEST_F(CommonEventTest, ChecksThePublisherAtDelivery)
{
    CommonEventSubscribeInfo info = Wants(RING);
    info.SetPublisherUid(1010);
    info.SetPermission("a");
    auto choosy = std::make_shared<Subscriber>(info);
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(choosy));
    for (const PublishedEvent& event : {PublishedEvent{0, Event(RING, 1), 1010, "a"},
             PublishedEvent{0, Event(RING, 2), 1011, "a"}, PublishedEvent{0, Event(RING, 3), 1010, ""},
             PublishedEvent{0, Event(RING, 4), 1010, "b"}, PublishedEvent{0, Event(KNOCK, 5), 1010, "a"}}) {
        EXPECT_TRUE(events.Publish(event));
    }
    EXPECT_EQ(Heard(), "1; ") << "neither another publisher nor permission nor action";
}

TEST_F(CommonEventTest, RemembersTheLastAndShowsThemToAWatcher)
{
    uint64_t watched = 0;
    events.SetWatcher([&watched](const PublishedEvent& event) { watched = event.sequence; });
    for (int32_t i = 1; i <= static_cast<int32_t>(CommonEvents::MAX_REMEMBERED) + 1; ++i) {
        ASSERT_TRUE(Publish(i));
    }
    const std::vector<PublishedEvent> remembered = events.Remembered();
    ASSERT_EQ(remembered.size(), CommonEvents::MAX_REMEMBERED);
    EXPECT_EQ(remembered.front().data.GetCode(), 2);
    EXPECT_EQ(remembered.back().sequence, watched);
    EXPECT_EQ(remembered.back().publisherUid, static_cast<int32_t>(getuid()));
}

} // namespace
