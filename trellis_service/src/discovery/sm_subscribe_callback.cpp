#include "discovery/sm_subscribe_callback.h"

#include "core/trellis_service.h"
#include "share_log.h"

namespace OHOS::Pelago {

void SMSubscribeCallback::OnDeviceFound(const sptr<ShareDevice>& device)
{
    SHARE_LOGI(Log::SERVICE, "SMSubscribeCallback OnDeviceFound enter.");
    if (device == nullptr) {
        SHARE_LOGE(Log::SERVICE, "device is null.");
        return;
    }
    SHARE_LOGI(Log::SERVICE, "OnDeviceFound: %{public}s", device->GetDeviceId().c_str());
    TrellisService::HandleOnDeviceFound(ShareDeviceInfo::ConvertToShareDeviceInfo(device));
    SHARE_LOGI(Log::SERVICE, "SMSubscribeCallback OnDeviceFound exit.");
}

void SMSubscribeCallback::OnDeviceLost(const sptr<ShareDevice>& device)
{
    SHARE_LOGI(Log::SERVICE, "SMSubscribeCallback OnDeviceLost enter.");
    if (device == nullptr) {
        SHARE_LOGE(Log::SERVICE, "device is null.");
        return;
    }
    SHARE_LOGI(Log::SERVICE, "OnDeviceLost: %{public}s", device->GetDeviceId().c_str());
    TrellisService::HandleOnDeviceLost(ShareDeviceInfo::ConvertToShareDeviceInfo(device));
    SHARE_LOGI(Log::SERVICE, "SMSubscribeCallback OnDeviceLost exit.");
}

void SMSubscribeCallback::OnDiscoverResult(int subscribeId, int reason)
{
    SHARE_LOGI(Log::SERVICE, "OnDiscoverResult subscribeId: %{public}d reason: %{public}d", subscribeId, reason);
}

void SMSubscribeCallback::OnSwingStatus(int role, std::string& deviceId, int code)
{
    SHARE_LOGI(
        Log::SERVICE, "Enter roler %{public}d deviceId %{public}s code %{public}d", role, deviceId.c_str(), code);
    TrellisService::HandleOnSwingStatus(role, deviceId, code);
    SHARE_LOGI(Log::SERVICE, "exit.");
}

} // namespace OHOS::Pelago
