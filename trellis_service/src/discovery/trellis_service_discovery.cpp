// TrellisService: discovery. How clients start and stop it, and the way of a device from the engine to their lists.

#include <optional>

#include "core/trellis_service.h"
#include "discovery/cache_map_manager.h"
#include "discovery/sm_nudge_subscribe_callback.h"
#include "gesture/corvane_share_callback_manager.h"
#include "share_client.h"
#include "share_log.h"
#include "switch/share_switch_manager.h"
#include "tap/motion_sender_callback.h"

namespace OHOS::Pelago {

namespace {

ShareClient& Engine()
{
    return DelayedRefSingleton<ShareClient>::GetInstance();
}

bool IsShareEnabled()
{
    return DelayedSingleton<ShareSwitchManager>::GetInstance()->IsEnabled();
}

// What a found report has done to the entries, taken in one step.
struct FoundChange {
    std::string movedFrom;                  // the entry that went because the device left it
    std::optional<ShareDeviceInfo> oldView; // of the entry that the device has left; hardly ever: a view costs a copy
    ShareDeviceInfo newView;
};

FoundChange FoldFoundDevice(const ShareDeviceInfo& device)
{
    FoundChange change;
    RecursiveLock lock(CacheMapManager::MergeDeviceMutex());
    if (CacheMapManager::IsMergeDeviceMoving(device)) {
        change.oldView = CacheMapManager::ChangeToShareDeviceInfo(device);
    }
    change.movedFrom = CacheMapManager::InsertToMergeDeviceMap(device);
    change.newView = CacheMapManager::ChangeToShareDeviceInfo(device);
    return change;
}

} // namespace

bool TrellisService::StartDiscovery()
{
    MutexLock lock(subscribeMutex_);
    SHARE_LOGI(Log::SERVICE, "StartDiscovery() enter");
    if (subscribeListener_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "Subscribe listener is null");
        return false;
    }
    if (!IsShareEnabled()) {
        SHARE_LOGE(Log::SERVICE, "Subscribe not share enable state");
        return false;
    }
    if (!Engine().Subscribe(subscribeListener_)) {
        SHARE_LOGE(Log::SERVICE, "Subscribe false");
        return false;
    }
    isSubscribe_ = true;
    SHARE_LOGI(Log::SERVICE, "StartDiscovery() exit");
    return true;
}

bool TrellisService::StopDiscovery()
{
    MutexLock lock(subscribeMutex_);
    SHARE_LOGI(Log::SERVICE, "StopDiscovery() enter");
    if (!CanStopDiscovery()) {
        SHARE_LOGI(Log::SERVICE, "StopDiscovery() exit");
        return true; // served: others still need it
    }
    if (subscribeListener_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "Subscribe listener is null");
        return false;
    }
    if (!Engine().UnSubscribe(ENGINE_SUBSCRIBE_ID, subscribeListener_)) {
        SHARE_LOGE(Log::SERVICE, "UnSubscribe false");
        return false;
    }
    CacheMapManager::ClearAllDeviceMap();
    isSubscribe_ = false;
    SHARE_LOGI(Log::SERVICE, "StopDiscovery() exit");
    return true;
}

// While sharing is on, the last ordinary client decides; hubs of the share API, swings and taps do not count. The
// number of clients is read without their lock, which may be held for seconds by calls to them.
bool TrellisService::CanStopDiscovery()
{
    const int32_t enableState = DelayedSingleton<ShareSwitchManager>::GetInstance()->GetEnableState();
    if (enableState == STATE_SHARE_DISABLE) {
        return isSubscribe_;
    }
    if (enableState != STATE_SHARE_ENABLE) {
        return false;
    }
    const size_t clients = trellisCallbackCount_;
    SHARE_LOGI(Log::SERVICE, "There are %{public}d trellisCBs in vector", static_cast<int32_t>(clients));
    return clients == 1 && isSubscribe_;
}

std::vector<ShareDeviceInfo> TrellisService::GetAllUserList()
{
    SHARE_LOGI(Log::SERVICE, "GetAllUserList enter");
    auto devices = CacheMapManager::GetAllDeviceList();
    SHARE_LOGI(Log::SERVICE, "GetAllUserList exit");
    return devices;
}

std::vector<ShareDeviceInfo> TrellisService::GetSendingUserList()
{
    SHARE_LOGI(Log::SERVICE, "GetSendingUserList enter");
    auto devices = CacheMapManager::GetSendingDeviceList();
    SHARE_LOGI(Log::SERVICE, "GetSendingUserList exit");
    return devices;
}

void TrellisService::HandleOnDeviceFound(const ShareDeviceInfo& device)
{
    const auto sending = CacheMapManager::GetSendingDevice(device.deviceId);
    if (sending) {
        SHARE_LOGI(Log::SERVICE, "sendingDevice");
        // It is back. That either record is missing may happen and is logged there.
        (void)CacheMapManager::ChangeSendingDeviceDisappearState(device.deviceId, false);
        (void)CacheMapManager::ChangeMergeDeviceDisappearState(device, false);
    }
    const ShareDeviceInfo& status = sending ? *sending : device; // a report never resets a running transfer
    CacheMapManager::InsertToAllDeviceMap(device, status.eventCode, status.deviceState, status.percent, status.speed);
    HandleOnMergeDeviceFound(device, sending.has_value());
}

void TrellisService::HandleOnMergeDeviceFound(const ShareDeviceInfo& device, bool wasSending)
{
    SHARE_LOGI(Log::SERVICE, "HandleOnDeviceFound");
    FoundChange change = FoldFoundDevice(device);
    DeviceFound(change.newView); // on every report, whether or not anything is new
    if (!change.movedFrom.empty()) {
        DeviceLost(*change.oldView);
    }
    if (wasSending && change.oldView && change.oldView->deviceId != change.newView.deviceId) {
        AnnounceMovedSend(device.deviceId, *change.oldView, change.newView);
    }
}

// The clients move what they show of the running send from the old entry to the new one.
void TrellisService::AnnounceMovedSend(
    const std::string& deviceId, const ShareDeviceInfo& oldView, const ShareDeviceInfo& newView)
{
    SendBean files;
    DescriptorShare share; // the send may end while clients are being told: its descriptors stay open until then
    DataBean data;
    BytesInfo bytes;
    const bool hasFiles = CacheMapManager::GetSendBean(deviceId, files, share);
    const bool hasData = CacheMapManager::GetDataBean(deviceId, data);
    const bool hasBytes = CacheMapManager::GetByteBean(deviceId, bytes);
    ForEachTrellisCallback([&](const sptr<PelagoTrellisServiceCallback>& client) {
        if (newView.deviceState == DeviceState::TRANSFERRING) {
            client->OnCancel(oldView);
        }
        if (hasFiles) {
            client->OnSend(newView, files);
        } else if (hasData) {
            client->OnSendFile(newView, data);
        } else if (hasBytes) {
            client->OnSendBytes(newView, bytes);
        }
    });
}

// Hubs of the share API hear of devices that a tap found and of no others, though they hear of every loss: meant.
void TrellisService::DeviceFound(ShareDeviceInfo& device)
{
    ForEachTrellisCallback([&](const sptr<PelagoTrellisServiceCallback>& client) { client->OnDeviceFound(device); });
    if (device.IsContainDiscoverer(Discoverer::TAP)) {
        TapDeviceFound(device);
    } else if (device.IsContainDiscoverer(Discoverer::SWING)) {
        SwingSend(device);
    }
}

void TrellisService::TapDeviceFound(ShareDeviceInfo& device)
{
    std::shared_ptr<ShareRadarDfx> radar;
    std::vector<int32_t> pids;
    if (const sptr<MotionSenderCallback> motionSender = MotionSender()) {
        radar = motionSender->GetRadar();
        pids = motionSender->GetFocusedPids();
    }
    if (radar != nullptr) {
        device.SetConcurrentId(radar->GetConcurrentId());
    }
    UpdateAlternativePidsByForeground(pids);
    DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->NotifyUserDeviceFound(device, pids, radar);
    const char* const function = __FUNCTION__;
    const auto logSize = [&](size_t size) {
        SHARE_LOGI_AS(function, Log::SERVICE,
            "corvaneShareApiCBVector size %{public}ld type %{public}d discov %{public}d", static_cast<long>(size),
            device.deviceType, static_cast<int32_t>(device.discoveredBy));
    };
    ForEachShareApiCallback(
        logSize, [&](const sptr<PelagoTrellisServiceCallback>& hub) { hub->OnDeviceFound(device); });
}

// The reference that stands just now; what it names is asked without the lock.
sptr<MotionSenderCallback> TrellisService::MotionSender()
{
    MutexLock lock(motionSenderMutex_);
    return motionSenderCb_;
}

void TrellisService::DeviceLost(const ShareDeviceInfo& device)
{
    const char* const function = __FUNCTION__;
    const auto tell = [&](const sptr<PelagoTrellisServiceCallback>& client) { client->OnDeviceLost(device); };
    ForEachTrellisCallback(tell);
    ForEachShareApiCallback(
        [function](size_t size) {
            SHARE_LOGI_AS(function, Log::SERVICE, "DeviceLost, corvaneShareApiCBVector size %{public}ld",
                static_cast<long>(size));
        },
        tell);
}

void TrellisService::HandleOnDeviceLost(const ShareDeviceInfo& device)
{
    CacheMapManager::RemoveFromAllDeviceMap(device.deviceId);
    if (CacheMapManager::HoldLostDevice(device)) {
        return; // until its send ends: only then do clients hear of the loss
    }
    const auto view = CacheMapManager::LeaveMergeDevice(device);
    if (!view) {
        SHARE_LOGI(Log::SERVICE, "IsOneInMergeDevice");
        return;
    }
    const char* const function = __FUNCTION__;
    const auto tell = [&](const sptr<PelagoTrellisServiceCallback>& client) { client->OnDeviceLost(*view); };
    ForEachTrellisCallback(tell);
    ForEachShareApiCallback(
        [function](size_t size) {
            SHARE_LOGI_AS(function, Log::SERVICE, "corvaneShareApiCBVector size %{public}ld", static_cast<long>(size));
        },
        tell);
}

bool TrellisService::OnSynfoldDeviceFound(const sptr<ShareDevice>& device, int& errorCode, uint32_t updateFlag)
{
    SHARE_LOGI(Log::SERVICE, "invoked updateFlag %{public}d", static_cast<int32_t>(updateFlag));
    if (!IsShareEnabled()) {
        SHARE_LOGE(Log::SERVICE, "ShareService disable.");
        return false;
    }
    return HandleOnCollabDeviceFound(device, errorCode, updateFlag);
}

bool TrellisService::HandleOnCollabDeviceFound(const sptr<ShareDevice>& device, int& errorCode, uint32_t updateFlag)
{
    SHARE_LOGI(Log::SERVICE, "invoked");
    if (!IsShareEnabled()) {
        SHARE_LOGE(Log::SERVICE, "share service disEnable.");
        return false;
    }
    if (device == nullptr) {
        SHARE_LOGE(Log::SERVICE, "device nullptr.");
        return false;
    }
    if (updateFlag == 0 && CacheMapManager::InSendingList(device->GetDeviceId())) {
        SHARE_LOGE(Log::SERVICE, "Device is already sending.");
        errorCode = TransferError::DEVICE_BUSY;
        return false;
    }
    if (!Engine().OnCollabDeviceFound(device, NudgeSubListener(), updateFlag)) {
        SHARE_LOGE(Log::SERVICE, "OnCollabDeviceFound failed.");
        return false;
    }
    SHARE_LOGI(Log::SERVICE, "OnDeviceFound: %{public}s", device->GetDeviceId().c_str());
    return true;
}

sptr<ISubscribeListener> TrellisService::NudgeSubListener()
{
    MutexLock lock(nudgeSubListenerMutex_);
    if (nudgeSubListener_ == nullptr) {
        nudgeSubListener_ = new SMNudgeSubscribeCallback();
    }
    return nudgeSubListener_;
}

bool TrellisService::CheckAndClearDeviceDiscoveredByFlag(
    const ShareDeviceInfo& device, bool clear, TransmitEventType& type)
{
    struct Gesture {
        uint32_t flag;
        TransmitEventType type;
        const char* name;
    };
    static constexpr Gesture GESTURES[] = {
        // a record with both flags is a tap
        {Discoverer::TAP, TransmitEventType::TAP, "nudge"},
        {Discoverer::SWING, TransmitEventType::SWING, "swing"},
    };
    SHARE_LOGI(Log::SERVICE, "CheckAndClearDeviceDiscoveredByFlag() enter");
    for (const Gesture& gesture : GESTURES) {
        if (!device.IsContainDiscoverer(gesture.flag)) {
            continue;
        }
        if (!CacheMapManager::CheckDiscovererFlag(device.deviceId, gesture.flag)) {
            SHARE_LOGE(Log::SERVICE, "Discoverer not contain %{public}s", gesture.name);
            return false;
        }
        if (clear) {
            ClearDeviceDiscovererFlag(device.deviceId, gesture.flag);
        }
        type = gesture.type;
        return true;
    }
    return true;
}

void TrellisService::ClearDeviceDiscovererFlag(const std::string& deviceId, const uint32_t& flag)
{
    SHARE_LOGI(Log::SERVICE, "invoked");
    CacheMapManager::ClearDiscovererFlag(deviceId, flag);
    if (!Engine().ClearDiscovererFlag(deviceId, flag)) {
        SHARE_LOGE(Log::SERVICE, "ClearDeviceDiscovererFlag failed.");
    }
}

} // namespace OHOS::Pelago
