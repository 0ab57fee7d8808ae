#ifndef OHOS_EVENTFWK_COMMON_EVENT_MANAGER_H
#define OHOS_EVENTFWK_COMMON_EVENT_MANAGER_H

#include <memory>

#include "common_event_data.h"
#include "common_event_subscriber.h"

namespace OHOS::EventFwk {

/// Publishes common events and subscribes to them, within the device's process. Without state of its own; any thread
/// may call anything, from inside OnReceiveEvent too.
///
/// It does not reach other processes and keeps no sticky events.
class CommonEventManager {
public:
    CommonEventManager() = delete;

    /// Sends the event to every subscription that matches, later, each on its subscriber's queue. False while there is
    /// no common event service, and for an empty action: nobody hears it then.
    [[nodiscard]] static bool PublishCommonEvent(const CommonEventData& data);

    /// Adds a subscription. One subscriber may have several, each of which brings it every event that matches. False,
    /// and nothing subscribed, for null and while there is no common event service.
    [[nodiscard]] static bool SubscribeCommonEvent(const std::shared_ptr<CommonEventSubscriber>& subscriber);

    /// Ends all subscriptions of the subscriber. No call begins after this returns; one that is running is not waited
    /// for. False when it has none.
    [[nodiscard]] static bool UnSubscribeCommonEvent(const std::shared_ptr<CommonEventSubscriber>& subscriber);
};

} // namespace OHOS::EventFwk

#endif // OHOS_EVENTFWK_COMMON_EVENT_MANAGER_H
