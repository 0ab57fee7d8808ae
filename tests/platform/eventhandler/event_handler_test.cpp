#include "event_handler.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/scheduler.h"
#include "refbase.h"

namespace OHOS::AppExecFwk {
namespace {

using Host::Scheduler;
using Ids = std::vector<uint32_t>;

// Writes down the ids that it handles, and does with an event what the test says.
class Recorder : public EventHandler {
public:
    explicit Recorder(const std::shared_ptr<EventRunner>& runner = nullptr) : EventHandler(runner)
    {}
    ~Recorder() override
    {
        if (onDestroyed) {
            onDestroyed();
        }
    }
    void ProcessEvent(const InnerEvent::Pointer& event) override
    {
        ids.push_back(event->GetInnerEventId());
        if (onEvent) {
            onEvent(*event);
        }
    }

    Ids ids;
    std::function<void(const InnerEvent&)> onEvent;
    std::function<void()> onDestroyed;
};

// As the callbacks of a framework are: counted by sptr, and a handler besides.
class CountedRecorder : public RefBase, public Recorder {
public:
    using Recorder::Recorder;
};

class EventHandlerTest : public testing::Test {
protected:
    Ids Settled()
    {
        EXPECT_TRUE(time_.Settle());
        return std::exchange(handler_->ids, {});
    }

    Scheduler& time_ = Scheduler::Instance();
    const bool manual_ = time_.UseManualTime();
    std::shared_ptr<EventRunner> runner_ = EventRunner::Create("runner");
    std::shared_ptr<Recorder> handler_ = std::make_shared<Recorder>(runner_);
};

TEST_F(EventHandlerTest, OrderIsDueTimeThenSendingWhateverThePriority)
{
    std::string idle;
    handler_->onEvent = [&](const InnerEvent&) {
        EXPECT_TRUE(runner_->IsCurrentRunnerThread());
        idle += runner_->GetEventQueue()->IsIdle() ? "idle " : "busy ";
    };
    EXPECT_TRUE(handler_->SendEvent(3, 10, EventHandler::Priority::VIP));
    EXPECT_TRUE(handler_->SendEvent(1, 0, EventHandler::Priority::IDLE));
    EXPECT_TRUE(handler_->SendEvent(2, 0, EventHandler::Priority::VIP));
    EXPECT_EQ(Settled(), (Ids{1, 2}));
    ASSERT_TRUE(time_.Advance(10));
    EXPECT_EQ(Settled(), Ids{3});
    EXPECT_EQ(idle, "busy busy idle ") << "a delayed event keeps it busy, the running one does not";
    EXPECT_FALSE(runner_->IsCurrentRunnerThread());
}

TEST_F(EventHandlerTest, RemovingTakesThisHandlersEventsOnly)
{
    auto other = std::make_shared<Recorder>(runner_);
    for (uint32_t id : {1U, 1U, 2U, 3U}) {
        EXPECT_TRUE(handler_->SendEvent(id, id == 3 ? 5 : 0));
        EXPECT_TRUE(other->SendEvent(id, id == 3 ? 5 : 0));
    }
    handler_->RemoveEvent(1);
    handler_->RemoveEvent(3);
    EXPECT_EQ(Settled(), Ids{2});
    EXPECT_TRUE(handler_->SendEvent(1, 5));
    EXPECT_TRUE(handler_->SendEvent(2, 5));
    handler_->RemoveAllEvents();
    ASSERT_TRUE(time_.Jump(5));
    EXPECT_EQ(Settled(), Ids{});
    EXPECT_EQ(other->ids, (Ids{1, 1, 2, 3}));
}

TEST_F(EventHandlerTest, NothingIsSentWithoutARunnerOrAnOwnerAndANewRunnerDropsTheOldOnesEvents)
{
    Recorder unowned(runner_);
    EXPECT_FALSE(unowned.SendEvent(1)) << "could not be kept alive";
    EXPECT_FALSE(handler_->SendEvent(InnerEvent::Pointer(nullptr, nullptr)));
    EXPECT_FALSE(std::make_shared<Recorder>()->SendEvent(1)) << "never had a runner";
    auto second = EventRunner::Create("second");
    const auto queue = second->GetEventQueue();
    EXPECT_TRUE(handler_->SendEvent(1));
    handler_->SetEventRunner(runner_);
    EXPECT_FALSE(runner_->GetEventQueue()->IsIdle()) << "no change, nothing lost";
    handler_->SetEventRunner(second);
    EXPECT_TRUE(runner_->GetEventQueue()->IsIdle());
    EXPECT_TRUE(handler_->SendEvent(2) && !queue->IsIdle());
    second = nullptr;
    EXPECT_FALSE(handler_->SendEvent(3)) << "the handler does not own its runner";
    EXPECT_EQ(handler_->GetEventRunner(), nullptr);
    EXPECT_TRUE(queue->IsIdle()) << "what waited went with the runner";
    EXPECT_EQ(Settled(), Ids{});
}

template <typename Reference>
struct EventHandlerLifeTest : EventHandlerTest {
    static Reference Make(const std::shared_ptr<EventRunner>& runner)
    {
        return Reference(new typename std::pointer_traits<decltype(&*Reference())>::element_type(runner));
    }
};
using References = testing::Types<std::shared_ptr<Recorder>, sptr<CountedRecorder>>;
TYPED_TEST_SUITE(EventHandlerLifeTest, References);

TYPED_TEST(EventHandlerLifeTest, AHandlerThatGoesTakesItsEventsAlong)
{
    auto doomed = this->Make(this->runner_);
    doomed->onEvent = [](const InnerEvent&) { FAIL(); };
    EXPECT_TRUE(this->handler_->SendEvent(1));
    EXPECT_TRUE(doomed->SendEvent(2) && doomed->SendEvent(3, 5));
    this->handler_->onEvent = [&](const InnerEvent&) { doomed = nullptr; };
    EXPECT_EQ(this->Settled(), Ids{1});
    EXPECT_EQ(this->time_.PendingCount(), 0U);
}

TYPED_TEST(EventHandlerLifeTest, HandlerAndRunnerMayGoInsideTheirOwnEvent)
{
    auto doomed = this->Make(this->runner_);
    std::string story;
    doomed->onDestroyed = [&] { story += this->time_.Settle() ? "destroyed elsewhere" : "destroyed on the runner"; };
    doomed->onEvent = [&, self = &*doomed](const InnerEvent& event) {
        doomed = nullptr;
        this->runner_ = nullptr;
        story += "event " + std::to_string(event.GetInnerEventId()) + " of " + std::to_string(self->ids.size()) + ", ";
    };
    EXPECT_TRUE(doomed->SendEvent(7));
    EXPECT_TRUE(doomed->SendEvent(8));
    EXPECT_TRUE(this->time_.Settle());
    EXPECT_EQ(story, "event 7 of 1, destroyed on the runner");
}

} // namespace
} // namespace OHOS::AppExecFwk
