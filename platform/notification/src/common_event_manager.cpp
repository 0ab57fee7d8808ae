#include "common_event_manager.h"

#include <unistd.h>

#include <utility>

#include "host/common_events.h"
#include "host/faults.h"

namespace OHOS::EventFwk {

bool CommonEventManager::PublishCommonEvent(const CommonEventData& data)
{
    if (Host::Faults::Take("event.publish")) {
        return false;
    }
    Host::PublishedEvent event;
    event.data = data;
    event.publisherUid = static_cast<int32_t>(getuid());
    return Host::CommonEvents::Instance().Publish(std::move(event));
}

bool CommonEventManager::SubscribeCommonEvent(const std::shared_ptr<CommonEventSubscriber>& subscriber)
{
    return !Host::Faults::Take("event.subscribe") && Host::CommonEvents::Instance().Subscribe(subscriber);
}

bool CommonEventManager::UnSubscribeCommonEvent(const std::shared_ptr<CommonEventSubscriber>& subscriber)
{
    return Host::CommonEvents::Instance().Unsubscribe(subscriber);
}

} // namespace OHOS::EventFwk
