#include "host/common_events.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "host/device.h"
#include "host/scheduler.h"

namespace OHOS::Host {

using EventFwk::CommonEventData;
using EventFwk::CommonEventSubscribeInfo;
using EventFwk::CommonEventSubscriber;

namespace {
bool IsServiceThere()
{
    return Device::Instance().IsAbilityPresent(AbilityId::COMMON_EVENT);
}

PublishedEvent FromDevice(const DeviceEvent& event)
{
    AAFwk::Want want;
    want.SetAction(event.action);
    if (!event.bundleName.empty()) {
        want.SetElementName(event.bundleName, "");
    }
    PublishedEvent published;
    published.data = CommonEventData(want, event.code);
    published.publisherUid = event.publisherUid;
    published.publisherPermission = event.permission;
    return published;
}

// Whether the subscription wants this event from this publisher.
bool Accepts(const CommonEventSubscribeInfo& info, const PublishedEvent& event)
{
    return info.GetMatchingSkills().HasEvent(event.data.GetWant().GetAction()) &&
           info.GetPublisherUid().value_or(event.publisherUid) == event.publisherUid &&
           (info.GetPermission().empty() || info.GetPermission() == event.publisherPermission);
}
} // namespace

CommonEvents& CommonEvents::Instance()
{
    static CommonEvents* instance = new CommonEvents(); // threads may outlive main
    return *instance;
}

CommonEvents::CommonEvents()
{
    Device::Instance().SetEventSink([this](const DeviceEvent& event) {
        (void)Publish(FromDevice(event)); // a device without the service tells nobody
    });
}

bool CommonEvents::Publish(PublishedEvent event)
{
    if (!IsServiceThere() || event.data.GetWant().GetAction().empty()) {
        return false;
    }
    std::lock_guard<std::mutex> guard(mutex_);
    event.sequence = ++lastSequence_;
    remembered_.push_back(std::make_shared<const PublishedEvent>(std::move(event)));
    if (remembered_.size() > MAX_REMEMBERED) {
        remembered_.pop_front();
    }
    const auto& published = remembered_.back();
    if (watcher_) {
        watcher_(*published);
    }
    // Posted under the lock, so that every queue has the events in the order of publication.
    for (const auto& subscription : subscriptions_) {
        if (subscription->subscriber->GetSubscribeInfo().GetMatchingSkills().HasEvent(
                published->data.GetWant().GetAction())) {
            Post(subscription, published);
        }
    }
    return true;
}

void CommonEvents::Post(
    const std::shared_ptr<Subscription>& subscription, const std::shared_ptr<const PublishedEvent>& event)
{
    auto deliver = [subscription, event] {
        if (!subscription->ended && Accepts(subscription->subscriber->GetSubscribeInfo(), *event)) {
            subscription->subscriber->OnReceiveEvent(event->data);
        }
    };
    (void)subscription->queue->Post(std::move(deliver)); // refused only while the process ends
}

bool CommonEvents::Subscribe(const std::shared_ptr<CommonEventSubscriber>& subscriber)
{
    if (subscriber == nullptr || !IsServiceThere()) {
        return false;
    }
    auto subscription = std::make_shared<Subscription>();
    subscription->subscriber = subscriber;
    std::lock_guard<std::mutex> guard(mutex_);
    auto earlier = std::find_if(subscriptions_.begin(), subscriptions_.end(),
        [&subscriber](const auto& other) { return other->subscriber == subscriber; });
    subscription->queue =
        earlier != subscriptions_.end() ? (*earlier)->queue : Scheduler::Instance().CreateQueue("common event");
    subscriptions_.push_back(std::move(subscription));
    return true;
}

bool CommonEvents::Unsubscribe(const std::shared_ptr<CommonEventSubscriber>& subscriber)
{
    std::vector<std::shared_ptr<Subscription>> ended; // go after the lock, and with them maybe the subscriber
    std::lock_guard<std::mutex> guard(mutex_);
    auto keep = std::stable_partition(subscriptions_.begin(), subscriptions_.end(),
        [&subscriber](const auto& subscription) { return subscription->subscriber != subscriber; });
    std::move(keep, subscriptions_.end(), std::back_inserter(ended));
    subscriptions_.erase(keep, subscriptions_.end());
    for (const auto& subscription : ended) {
        subscription->ended = true;
    }
    return !ended.empty();
}

std::vector<PublishedEvent> CommonEvents::Remembered() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    std::vector<PublishedEvent> events;
    for (const auto& event : remembered_) {
        events.push_back(*event);
    }
    return events;
}

size_t CommonEvents::SubscriptionCount() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    return subscriptions_.size();
}

void CommonEvents::SetWatcher(Watcher watcher)
{
    std::lock_guard<std::mutex> guard(mutex_);
    std::swap(watcher_, watcher); // the old one goes after the lock
}

} // namespace OHOS::Host
