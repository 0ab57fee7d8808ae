#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "common_event_manager.h"
#include "common_event_support.h"
#include "host/common_events.h"
#include "host/device.h"
#include "host/faults.h"
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

// Writes down the codes that it hears, and does something more if asked to.
class Subscriber : public CommonEventSubscriber {
public:
    explicit Subscriber(std::string& text, const CommonEventSubscribeInfo& info = Wants(RING))
        : CommonEventSubscriber(info), heard(text)
    {}
    ~Subscriber() override
    {
        heard += "gone; ";
    }
    void OnReceiveEvent(const CommonEventData& data) override
    {
        if (auto once = std::exchange(then, nullptr)) {
            once();
        }
        heard += std::to_string(data.GetCode()) + "; ";
    }
    std::string& heard;
    std::function<void()> then;
};

class CommonEventTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Scheduler::Instance().UseManualTime());
    }

    std::string Heard()
    {
        EXPECT_TRUE(Scheduler::Instance().Settle());
        return std::exchange(heard, "");
    }
    [[nodiscard]] static bool Publish(int32_t code)
    {
        return CommonEventManager::PublishCommonEvent(Event(RING, code));
    }

    CommonEvents& events = CommonEvents::Instance();
    Device& device = Device::Instance();
    std::string heard;
    std::shared_ptr<Subscriber> subscriber = std::make_shared<Subscriber>(heard);
};

TEST_F(CommonEventTest, ComesLaterAndInOrderAndASubscriberMayCallInFromInside)
{
    auto second = std::make_shared<Subscriber>(heard);
    subscriber->then = [second] {
        EXPECT_TRUE(CommonEventManager::SubscribeCommonEvent(second));
        EXPECT_TRUE(Publish(4));
    };
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(subscriber));
    ASSERT_TRUE(Publish(1));
    ASSERT_TRUE(CommonEventManager::PublishCommonEvent(Event(KNOCK, 2)));
    ASSERT_TRUE(Publish(3));
    EXPECT_EQ(heard, "") << "nothing comes inside a call";
    EXPECT_EQ(Heard(), "1; 3; 4; 4; ") << "what was published before a subscription does not come";
}

TEST_F(CommonEventTest, SubscribedTwiceIsToldTwiceUntilUnsubscribedOnce)
{
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(subscriber));
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(subscriber));
    ASSERT_TRUE(Publish(1));
    EXPECT_EQ(Heard(), "1; 1; ");
    ASSERT_TRUE(Publish(2));
    EXPECT_TRUE(CommonEventManager::UnSubscribeCommonEvent(subscriber));
    EXPECT_EQ(Heard(), "") << "what was on the way does not come any more";
    EXPECT_FALSE(CommonEventManager::UnSubscribeCommonEvent(subscriber));
    EXPECT_EQ(events.SubscriptionCount(), 0U);
}

TEST_F(CommonEventTest, LivesUntilItsCallHasReturned)
{
    subscriber->then = [this] {
        EXPECT_TRUE(CommonEventManager::UnSubscribeCommonEvent(subscriber));
        subscriber.reset();
    };
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(subscriber));
    ASSERT_TRUE(Publish(1));
    EXPECT_EQ(Heard(), "1; gone; ");
}

TEST_F(CommonEventTest, ChecksThePublisherAtDelivery)
{
    struct Row {
        const char* name;
        std::function<void(PublishedEvent&)> change;
        const char* heard;
    };
    const std::vector<Row> rows = {
        {"as wanted", [](PublishedEvent&) {}, "5; "},
        {"another publisher", [](PublishedEvent& event) { event.publisherUid = 1011; }, ""},
        {"without the permission", [](PublishedEvent& event) { event.publisherPermission.clear(); }, ""},
        {"another permission", [](PublishedEvent& event) { event.publisherPermission = "b"; }, ""},
        {"another action", [](PublishedEvent& event) { event.data = Event(KNOCK, 5); }, ""},
    };
    CommonEventSubscribeInfo info = Wants(RING);
    info.SetPublisherUid(1010);
    info.SetPermission("a");
    auto choosy = std::make_shared<Subscriber>(heard, info);
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(choosy));
    for (const Row& row : rows) {
        PublishedEvent event{0, Event(RING, 5), 1010, "a"};
        row.change(event);
        EXPECT_TRUE(events.Publish(event)) << row.name;
        EXPECT_EQ(Heard(), row.heard) << row.name;
    }
}

TEST_F(CommonEventTest, TheDeviceTellsThroughIt)
{
    auto cleared = std::make_shared<Subscriber>(heard, Wants(CommonEventSupport::COMMON_EVENT_PACKAGE_DATA_CLEARED));
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(cleared));
    device.ClearPackageData("com.example.app");
    EXPECT_EQ(Heard(), "0; ");
    EXPECT_EQ(events.Remembered().back().data.GetWant().GetElement().GetBundleName(), "com.example.app");
}

TEST_F(CommonEventTest, RemembersTheLastAndShowsThemToAWatcher)
{
    std::vector<uint64_t> watched;
    events.SetWatcher([&watched](const PublishedEvent& event) { watched.push_back(event.sequence); });
    const int32_t count = CommonEvents::MAX_REMEMBERED + 1;
    for (int32_t i = 1; i <= count; ++i) {
        ASSERT_TRUE(Publish(i));
    }
    events.SetWatcher({});
    ASSERT_TRUE(Publish(-1));
    EXPECT_EQ(watched.size(), static_cast<size_t>(count));
    const std::vector<PublishedEvent> remembered = events.Remembered();
    ASSERT_EQ(remembered.size(), CommonEvents::MAX_REMEMBERED);
    EXPECT_EQ(remembered.front().data.GetCode(), 3);
    EXPECT_EQ(remembered.back().sequence, watched.back() + 1);
    EXPECT_EQ(remembered.back().publisherUid, static_cast<int32_t>(getuid()));
}

TEST_F(CommonEventTest, NothingGoesWithoutTheService)
{
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(subscriber));
    EXPECT_FALSE(CommonEventManager::SubscribeCommonEvent(nullptr));
    EXPECT_FALSE(CommonEventManager::PublishCommonEvent(Event("", 1)));
    Faults::Inject("event.publish");
    Faults::Inject("event.subscribe");
    EXPECT_FALSE(Publish(1) || CommonEventManager::SubscribeCommonEvent(subscriber));
    device.SetAbilityPresent(AbilityId::COMMON_EVENT, false);
    EXPECT_FALSE(Publish(2) || CommonEventManager::SubscribeCommonEvent(subscriber));
    device.SetAbilityPresent(AbilityId::COMMON_EVENT, true);
    EXPECT_TRUE(Publish(3));
    EXPECT_EQ(Heard(), "3; ") << "the subscription of before holds";
}

} // namespace
