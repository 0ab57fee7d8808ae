#include "core/trellis_service.h"

#include "gesture/corvane_share_callback_manager.h"
#include "ipc_skeleton.h"

// What applications ask of the share API, and what a swing asks of the send path. Swings and focus are not served yet:
// a request is never swing content, nobody is in the foreground, and a failure is never that of a swing.
namespace OHOS::Pelago {

bool TrellisService::RegisterShareApiCallback(const sptr<PelagoApiCallback>& callback)
{
    return DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->AddShareApiCallback(
        IPCSkeleton::GetCallingPid(), callback);
}

// The process counts, not the object that it names.
bool TrellisService::UnregisterShareApiCallback(const sptr<PelagoApiCallback>&)
{
    return DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->DelShareApiCallback(
        IPCSkeleton::GetCallingPid());
}

bool TrellisService::RegisterShareEventCallback(int32_t eventId, int32_t cbId)
{
    return DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->AddShareEventCallback(
        IPCSkeleton::GetCallingPid(), cbId, eventId);
}

bool TrellisService::UnregisterShareEventCallback(int32_t eventId, int32_t cbId)
{
    return DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->DelShareEventCallback(
        IPCSkeleton::GetCallingPid(), cbId, eventId);
}

bool TrellisService::IsFocusPidsRegisterSwing()
{
    return false;
}

bool TrellisService::IsAppForeground(const std::string&)
{
    return false;
}

bool TrellisService::SwingConfirm(const ShareDeviceInfo&, int32_t)
{
    return false;
}

bool TrellisService::SwingCacheSendBean(const ShareDeviceInfo&, const SendBean&, const std::string&)
{
    return false;
}

bool TrellisService::SwingCacheDataBean(const ShareDeviceInfo&, const DataBean&, const std::string&)
{
    return false;
}

bool TrellisService::SwingCacheByteBean(const ShareDeviceInfo&, const BytesInfo&)
{
    return false;
}

void TrellisService::SwingSend(const ShareDeviceInfo&)
{}

bool TrellisService::SwingSendFail(const ShareDeviceInfo&, int32_t)
{
    return false;
}

void TrellisService::HandleOnPopSwing(const ShareDeviceInfo&, bool)
{}

void TrellisService::HandleOnSwingStatus(int32_t, std::string&, int32_t)
{}

void TrellisService::GetFocusedPids(std::vector<int32_t>& pids)
{
    pids.clear();
}

void TrellisService::UpdateAlternativePidsByForeground(std::vector<int32_t>&)
{}

std::vector<int32_t> TrellisService::GetMatchedFocusedPidsFromCorvaneShareCallback(int32_t, const std::vector<int32_t>&)
{
    return {};
}

bool TrellisService::RegisterSwingSubscribeListener()
{
    return false;
}

} // namespace OHOS::Pelago
