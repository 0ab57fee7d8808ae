#ifndef OHOS_EVENTFWK_COMMON_EVENT_SUBSCRIBER_H
#define OHOS_EVENTFWK_COMMON_EVENT_SUBSCRIBER_H

#include "common_event_data.h"
#include "common_event_subscribe_info.h"

namespace OHOS::EventFwk {

/// Base of whoever wants common events.
///
/// Held by shared pointer: by its owner, by its subscriptions, and by the framework while OnReceiveEvent runs.
/// OnReceiveEvent comes on the subscriber's own queue, one event at a time in the order of publication, with no lock
/// held; it may publish, subscribe and unsubscribe, itself included. One that is running when the last subscription
/// ends is not waited for, not even by a new subscription.
///
/// It keeps no events: what was published before the subscription does not come.
class CommonEventSubscriber {
public:
    explicit CommonEventSubscriber(const CommonEventSubscribeInfo& subscribeInfo) : subscribeInfo_(subscribeInfo)
    {}
    virtual ~CommonEventSubscriber() = default;
    CommonEventSubscriber(const CommonEventSubscriber&) = delete;
    CommonEventSubscriber& operator=(const CommonEventSubscriber&) = delete;

    virtual void OnReceiveEvent(const CommonEventData& data) = 0;

    [[nodiscard]] const CommonEventSubscribeInfo& GetSubscribeInfo() const
    {
        return subscribeInfo_;
    }

private:
    const CommonEventSubscribeInfo subscribeInfo_;
};

} // namespace OHOS::EventFwk

#endif // OHOS_EVENTFWK_COMMON_EVENT_SUBSCRIBER_H
