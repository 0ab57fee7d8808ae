#include "core/trellis_service.h"

#include "discovery/cache_map_manager.h"
#include "tap/motion_sender_callback.h"

// What ends a send but its own reports: the user, a decided contest, a device that went away.
namespace OHOS::Pelago {

bool TrellisService::Cancel(const ShareDeviceInfo& device)
{
    SHARE_LOGI(Log::SERVICE, "Cancel() enter");
    return CommonCancel(device);
}

// Clients hear of it before anything has been cancelled. A device that had only been prepared is reset too; only the
// result tells that there was no transfer.
bool TrellisService::CommonCancel(const ShareDeviceInfo& device)
{
    SHARE_LOGI(Log::SERVICE, "Cancel() enter");
    auto tell = [&device](const sptr<PelagoTrellisServiceCallback>& callback) { callback->OnCancel(device); };
    ForEachTrellisCallback(tell);
    ForEachShareApiCallback(tell);
    bool nothingCancelled = true;
    for (const ShareDeviceInfo& member : CacheMapManager::GetShareDeviceInfoList(device)) {
        if (CancelMember(member, true)) {
            nothingCancelled = false;
        }
    }
    SHARE_LOGI(Log::SERVICE, "Cancel() exit");
    return !nothingCancelled;
}

// True when a transfer was there to be cancelled.
bool TrellisService::CancelMember(const ShareDeviceInfo& member, bool moveEntry)
{
    const std::string& deviceId = member.GetDeviceId();
    // A member that is in no map is a line in the log there, here and below.
    (void)CacheMapManager::SetStatus(deviceId, TransferEvent::CANCELLED, DeviceState::CANCELLED, 0, 0);
    CacheMapManager::UpateToAllDeviceMap(member, TransferEvent::CANCELLED, DeviceState::CANCELLED, 0, 0);
    if (moveEntry) {
        CacheMapManager::UpateToMergeDeviceMap(member, TransferEvent::CANCELLED, 0);
    }
    OnDeviceNewStateRetrieve(member);
    (void)CacheMapManager::RemoveFromSendingDeviceMap(deviceId);
    (void)CacheMapManager::RemoveFromSendBeanMap(deviceId);
    (void)CacheMapManager::RemoveFromDataBeanMap(deviceId);
    (void)CacheMapManager::RemoveFromBytesInfoMap(deviceId);
    sptr<PelagoSender> sender = CacheMapManager::GetShareSenderById(deviceId);
    if (sender == nullptr) {
        SHARE_LOGE(Log::SERVICE, "cancelDtcpSender is not found, cancel fail");
        return false;
    }
    sender->Cancel();
    (void)CacheMapManager::RemoveFromSenderMap(deviceId); // its own end may have been faster
    return true;
}

// Once in a send. The entry is not moved: from here on it follows `device`.
void TrellisService::CancelOtherContactDevice(const ShareDeviceInfo& device)
{
    SHARE_LOGI(Log::SERVICE, "CancelOtherContactDevice enter.");
    if (!CacheMapManager::CancelOtherMergeDevice(device)) {
        return;
    }
    for (const ShareDeviceInfo& member : CacheMapManager::GetShareDeviceInfoList(device)) {
        if (member.GetDeviceId() != device.GetDeviceId()) {
            (void)CancelMember(member, false); // some may have ended by themselves
        }
    }
}

// A device that went away while it was sending leaves its entry now. Decided and done in one step: of two members that
// end at once, exactly one is the last. The hubs of the share API are not told.
void TrellisService::OnDeviceNewStateRetrieve(const ShareDeviceInfo& device)
{
    ShareDeviceInfo view;
    {
        RecursiveLock lock(CacheMapManager::MergeDeviceMutex());
        if (!CacheMapManager::IsMergeDeviceDisappear(device)) {
            SHARE_LOGI(Log::SERVICE, "noNeedDisappear");
            CacheMapManager::EndHold(device.deviceId); // a loss from here on goes its own way, or nobody would tell it
            return;
        }
        if (!CacheMapManager::IsOneInMergeDevice(device)) {
            SHARE_LOGI(Log::SERVICE, "IsOneInMergeDevice");
            (void)CacheMapManager::RemoveFromMergeDeviceMap(device); // others remain
            return;
        }
        SHARE_LOGI(Log::SERVICE, "OnDeviceNewStateRetrieve");
        view = CacheMapManager::ChangeToShareDeviceInfo(device);
        (void)CacheMapManager::RemoveFromMergeDeviceMap(device); // false when its contact has changed since
    }
    ForEachTrellisCallback(
        [&view](const sptr<PelagoTrellisServiceCallback>& callback) { callback->OnDeviceLost(view); });
}

// The event is on its way before the check of the flag decides what the client hears.
bool TrellisService::NotifyInfo(const ShareDeviceInfo& device, int32_t infoReason)
{
    SHARE_LOGI(Log::SERVICE, "CancelShare, device %{public}s, discovBy %{public}d, infoReason %{public}d",
        device.GetDeviceId().c_str(), static_cast<int>(device.GetDiscoveredBy()), infoReason);
    if (SwingSendFail(device, infoReason)) {
        return true;
    }
    MutexLock lock(motionSenderMutex_);
    if (motionSenderCb_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionSenderCb_ nullptr");
        return false;
    }
    const auto& machine = motionSenderCb_->GetEventHandler();
    if (machine == nullptr) {
        SHARE_LOGE(Log::SERVICE, "MotionEventHandler nullptr");
        return false;
    }
    // A tap whose runner is gone has ended by itself.
    (void)machine->Post(MotionSenderCallback::MotionEventHandler::MSG_NUDGE_MOTION_CANCEL, infoReason);
    TransmitEventType type = TransmitEventType::ORDINARY;
    if (!CheckAndClearDeviceDiscoveredByFlag(device, true, type)) {
        SHARE_LOGE(Log::SERVICE, "CheckAndClearDeviceDiscoveredByFlag() failed.");
        return false;
    }
    return true;
}

} // namespace OHOS::Pelago
