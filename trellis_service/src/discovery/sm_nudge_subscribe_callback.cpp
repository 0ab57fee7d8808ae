#include "discovery/sm_nudge_subscribe_callback.h"

#include "core/trellis_service.h"
#include "share_log.h"

namespace OHOS::Pelago {

void SMNudgeSubscribeCallback::OnDeviceFound(const sptr<ShareDevice>& device)
{
    if (device == nullptr) {
        SHARE_LOGE(Log::SERVICE, "device is null.");
        return;
    }
    TrellisService::HandleOnDeviceFound(ShareDeviceInfo::ConvertToShareDeviceInfo(device));
}

void SMNudgeSubscribeCallback::OnDeviceLost(const sptr<ShareDevice>& device)
{
    if (device == nullptr) {
        SHARE_LOGE(Log::SERVICE, "device is null.");
        return;
    }
    TrellisService::HandleOnDeviceLost(ShareDeviceInfo::ConvertToShareDeviceInfo(device));
}

void SMNudgeSubscribeCallback::OnDiscoverResult(int subscribeId, int reason)
{
    SHARE_LOGI(Log::SERVICE, "OnDiscoverResult subscribeId: %{public}d reason: %{public}d", subscribeId, reason);
}

void SMNudgeSubscribeCallback::OnSwingStatus(int /* role */, std::string& /* deviceId */, int /* code */)
{
    SHARE_LOGI(Log::SERVICE, "Enter"); // swings come on the subscription of their own
}

} // namespace OHOS::Pelago
