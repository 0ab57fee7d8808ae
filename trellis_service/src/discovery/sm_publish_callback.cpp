#include "discovery/sm_publish_callback.h"

#include "share_log.h"

namespace OHOS::Pelago {

std::atomic<int> SMPublishCallback::publishId_{0};

void SMPublishCallback::OnPublishResult(int publishId, int reason)
{
    SHARE_LOGI(Log::SERVICE, "OnPublishResult publishId: %{public}d reason: %{public}d", publishId, reason);
    publishId_ = publishId;
}

int SMPublishCallback::GetPublishId()
{
    const int publishId = publishId_;
    SHARE_LOGI(Log::SERVICE, "GetPublishId, publishId is %{public}d", publishId);
    return publishId;
}

} // namespace OHOS::Pelago
