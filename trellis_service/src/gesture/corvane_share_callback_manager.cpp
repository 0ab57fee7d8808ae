#include "gesture/corvane_share_callback_manager.h"

#include "core/trellis_service.h"

namespace OHOS::Pelago {

void CorvaneShareCallbackManager::Init(const wptr<TrellisService>& service)
{
    MutexLock lock(mutex_);
    trellisServicePtr_ = service;
}

void CorvaneShareCallbackManager::Release()
{
    SHARE_LOGI(Log::SERVICE, "Release() invoked.");
}

bool CorvaneShareCallbackManager::AddShareApiCallback(int32_t, const sptr<PelagoApiCallback>&)
{
    return false;
}

bool CorvaneShareCallbackManager::DelShareApiCallback(int32_t)
{
    return false;
}

bool CorvaneShareCallbackManager::AddShareEventCallback(int32_t, int32_t, int32_t)
{
    return false;
}

bool CorvaneShareCallbackManager::DelShareEventCallback(int32_t, int32_t, int32_t)
{
    return false;
}

void CorvaneShareCallbackManager::NotifyUserDeviceFound(
    ShareDeviceInfo&, const std::vector<int32_t>&, const std::shared_ptr<ShareRadarDfx>&)
{}

} // namespace OHOS::Pelago
