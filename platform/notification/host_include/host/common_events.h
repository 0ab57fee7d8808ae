#ifndef OHOS_HOST_COMMON_EVENTS_H
#define OHOS_HOST_COMMON_EVENTS_H

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "common_event_data.h"
#include "common_event_subscriber.h"

namespace OHOS::Host {

class TaskQueue;

/// One event as it was published.
struct PublishedEvent {
    uint64_t sequence = 0; // 1 for the first of the process, without gaps
    EventFwk::CommonEventData data;
    int32_t publisherUid = -1;
    std::string publisherPermission; // the one that the publisher holds; empty: none
};

/// The common event service of the device: publishes what the device model and the process's own code have to say, and
/// remembers the last of it for whoever looks on.
///
/// One per process, made on first use and never destroyed; from then on the events of the device model come here. Any
/// thread may call anything. Subscribers are called on queues of their own, the watcher on the publisher's thread.
///
/// It does not reach other processes.
class CommonEvents {
public:
    using Watcher = std::function<void(const PublishedEvent&)>;
    static constexpr size_t MAX_REMEMBERED = 64;

    static CommonEvents& Instance();

    CommonEvents(const CommonEvents&) = delete;
    CommonEvents& operator=(const CommonEvents&) = delete;

    /// Publishes in the name of this publisher; the event's sequence is given here. As CommonEventManager otherwise.
    [[nodiscard]] bool Publish(PublishedEvent event);
    [[nodiscard]] bool Subscribe(const std::shared_ptr<EventFwk::CommonEventSubscriber>& subscriber);
    [[nodiscard]] bool Unsubscribe(const std::shared_ptr<EventFwk::CommonEventSubscriber>& subscriber);

    /// The last events published, oldest first, at most MAX_REMEMBERED.
    [[nodiscard]] std::vector<PublishedEvent> Remembered() const;
    /// How many subscriptions there are.
    [[nodiscard]] size_t SubscriptionCount() const;
    /// Hears of every event in the order of publication, with a lock held: it must only note. Replaces the watcher
    /// before; an empty one ends it.
    void SetWatcher(Watcher watcher);

private:
    // What one subscriber wants, and where it hears it.
    struct Subscription {
        std::shared_ptr<EventFwk::CommonEventSubscriber> subscriber;
        std::shared_ptr<TaskQueue> queue; // one for all subscriptions of the subscriber
        std::atomic<bool> ended{false};
    };

    CommonEvents();

    static void Post(
        const std::shared_ptr<Subscription>& subscription, const std::shared_ptr<const PublishedEvent>& event);

    mutable std::mutex mutex_; // guards everything below; held while tasks are posted and the watcher notes
    std::vector<std::shared_ptr<Subscription>> subscriptions_; // by age
    std::deque<std::shared_ptr<const PublishedEvent>> remembered_;
    uint64_t lastSequence_ = 0;
    Watcher watcher_;
};

} // namespace OHOS::Host

#endif // OHOS_HOST_COMMON_EVENTS_H
