#include "core/trellis_service.h"

#include <fcntl.h>

#include "discovery/cache_map_manager.h"
#include "share_client.h"
#include "transfer/sm_send_transmit_callback.h"

// From the entry that a client sees to the physical devices that the engine sends to.
namespace OHOS::Pelago {
namespace {

// What a share-API client is asked to show before a gesture send.
constexpr int32_t COMPONENT_SHARE_API = 1;

constexpr int32_t DEVICE_COUNT_UNKNOWN = -1;

ShareClient& Engine()
{
    return DelayedRefSingleton<ShareClient>::GetInstance();
}

// The three kinds of payload. Each says what it is called in the log and how it is cached for a swing, announced, sent
// the one-device road, remembered and handed to the engine.

class FilesPayload {
public:
    static constexpr const char* NAME = "Send";
    // The one-device road is told with its device for this kind alone.
    static constexpr bool LOGS_DEVICE = true;

    FilesPayload(SendBean& bean, const std::string& packageName) : bean_(bean), packageName_(packageName)
    {}
    bool CacheForSwing(const ShareDeviceInfo& device) const
    {
        return TrellisService::SwingCacheSendBean(device, bean_, packageName_);
    }
    void Announce(PelagoTrellisServiceCallback& callback, const ShareDeviceInfo& device) const
    {
        callback.OnSend(device, bean_);
    }
    bool SendForDevice(const ShareDeviceInfo& device) const
    {
        return TrellisService::SendForDevice(device, bean_, packageName_);
    }
    // Later members get descriptors of their own, which the copy's share keeps open until the next member's turn.
    void BeginMember(size_t index)
    {
        if (index > 0) {
            copy_ = SendBean();
            TrellisService::CopySendBean(bean_, copy_);
            copyFiles_ = DescriptorLedger::Adopt(copy_);
            current_ = &copy_;
        }
    }
    void Remember(const std::string& deviceId) const
    {
        (void)CacheMapManager::InsertToSendBeanMap(deviceId, *current_); // an older request stays, and is logged
    }
    sptr<PelagoSender> Start(const TransmitParam& param) const
    {
        return Engine().SendFile(param, *current_, packageName_);
    }

private:
    SendBean& bean_;
    const std::string& packageName_;
    SendBean copy_;
    DescriptorShare copyFiles_;
    SendBean* current_ = &bean_;
};

class UrisPayload {
public:
    static constexpr const char* NAME = "SendFile";
    static constexpr bool LOGS_DEVICE = false;

    UrisPayload(const DataBean& bean, const std::string& packageName) : bean_(bean), packageName_(packageName)
    {}
    bool CacheForSwing(const ShareDeviceInfo& device) const
    {
        return TrellisService::SwingCacheDataBean(device, bean_, packageName_);
    }
    void Announce(PelagoTrellisServiceCallback& callback, const ShareDeviceInfo& device) const
    {
        callback.OnSendFile(device, bean_);
    }
    bool SendForDevice(const ShareDeviceInfo& device) const
    {
        return TrellisService::SendFileForDevice(device, bean_, packageName_);
    }
    void BeginMember(size_t) const
    {}
    void Remember(const std::string& deviceId) const
    {
        (void)CacheMapManager::InsertToDataBeanMap(deviceId, bean_); // as above
    }
    sptr<PelagoSender> Start(const TransmitParam& param) const
    {
        return Engine().SendFile(param, bean_, packageName_);
    }

private:
    const DataBean& bean_;
    const std::string& packageName_;
};

class BytesPayload {
public:
    static constexpr const char* NAME = "SendBytes";
    static constexpr bool LOGS_DEVICE = false;

    explicit BytesPayload(const BytesInfo& bytes) : bytes_(bytes)
    {}
    bool CacheForSwing(const ShareDeviceInfo& device) const
    {
        return TrellisService::SwingCacheByteBean(device, bytes_);
    }
    void Announce(PelagoTrellisServiceCallback& callback, const ShareDeviceInfo& device) const
    {
        callback.OnSendBytes(device, bytes_);
    }
    bool SendForDevice(const ShareDeviceInfo& device) const
    {
        return TrellisService::SendBytesForDevice(device, bytes_);
    }
    void BeginMember(size_t) const
    {}
    void Remember(const std::string& deviceId) const
    {
        (void)CacheMapManager::InsertToBytesInfoMap(deviceId, bytes_); // as above
    }
    sptr<PelagoSender> Start(const TransmitParam& param) const
    {
        sptr<PelagoSender> sender = Engine().SendBytes(param, bytes_);
        if (sender == nullptr && param.eventType == TransmitEventType::ORDINARY) {
            SHARE_LOGE(Log::SERVICE, "SendBytes fail");
        }
        return sender;
    }

private:
    const BytesInfo& bytes_;
};

// Hands the payload to the engine for one device and keeps the handle. True when a transfer stands that can be
// cancelled. A null handle is no failure here: the engine tells by the callback. A transfer that ended before its
// handle was stored is taken out again, or the device would stay busy.
template <typename Payload>
bool StartTransfer(Payload& payload, const ShareDeviceInfo& device, const std::string& deviceId, TransmitEventType type)
{
    sptr<SMSendTransmitCallback> callback = new SMSendTransmitCallback(device);
    TransmitParam param;
    param.deviceId = deviceId;
    param.callback = callback;
    param.eventType = type;
    sptr<PelagoSender> sender = payload.Start(param);
    // Another send was faster: its handle stays, and this transfer runs without one.
    if (sender == nullptr || !CacheMapManager::InsertToSenderMap(deviceId, sender)) {
        return false;
    }
    if (callback->HasEnded()) {
        (void)CacheMapManager::RemoveFromSenderMap(deviceId); // may be gone already
        return false;
    }
    return true;
}

// Told once in a send, as soon as it turns out to go to a contact.
class ContactReport {
public:
    void Member(const ShareDeviceInfo& member, size_t memberCount)
    {
        if (reported_ || !ContactInfo::IsContactIdValid(member.contactInfo.contactId)) {
            return;
        }
        ShareRadarDfx::ReportContactSendEvent(RadarResult::STARTED, RadarState::BEGIN, 0, DEVICE_COUNT_UNKNOWN);
        ShareRadarDfx::ReportContactSendEvent(
            RadarResult::SUCCESS, RadarState::END, 0, static_cast<int32_t>(memberCount));
        reported_ = true;
    }

private:
    bool reported_ = false;
};

template <typename Payload>
bool IsBusy(const std::string& deviceId, const char* suffix)
{
    if (CacheMapManager::GetShareSenderById(deviceId) == nullptr) {
        return false;
    }
    SHARE_LOGE(Log::SERVICE, "%{public}s%{public}s() failed sender is exited", Payload::NAME, suffix);
    return true;
}

} // namespace

bool TrellisService::PrepareSend(const ShareDeviceInfo& device)
{
    SHARE_LOGI(Log::SERVICE, "PrepareSend() enter");
    (void)PrepareForSend(device); // the client learns the state by the list, and true in any case
    SHARE_LOGI(Log::SERVICE, "PrepareSend() exit");
    return true;
}

bool TrellisService::PrepareForSend(const ShareDeviceInfo& device)
{
    SHARE_LOGI(Log::SERVICE, "enter");
    TransmitEventType type = TransmitEventType::ORDINARY;
    if (!CheckAndClearDeviceDiscoveredByFlag(device, false, type)) {
        SHARE_LOGE(Log::SERVICE, "CheckAndClearDeviceDiscoveredByFlag failed.");
        return false;
    }
    for (const ShareDeviceInfo& member : CacheMapManager::GetShareDeviceInfoList(device)) {
        ShareDeviceInfo prepared = member;
        prepared.SetEventCode(TransferEvent::PREPARED);
        prepared.SetDeviceState(DeviceState::PREPARED);
        prepared.SetPercent(0);
        prepared.SetSpeed(0);
        (void)CacheMapManager::InsertToSendingDeviceMap(prepared); // it may be in a send already
        CacheMapManager::UpateToAllDeviceMap(member, TransferEvent::PREPARED, DeviceState::PREPARED, 0, 0);
        CacheMapManager::UpateToMergeDeviceMap(member, TransferEvent::PREPARED, 0);
    }
    SHARE_LOGI(Log::SERVICE, "exit");
    return true;
}

// A busy member stops the loop: those before it go on, and the client hears false.
template <typename Payload>
bool TrellisService::SendToMembers(Payload& payload, const ShareDeviceInfo& device, const ContactReporter& report)
{
    std::vector<ShareDeviceInfo> members = CacheMapManager::GetShareDeviceInfoList(device);
    int64_t decisions = CacheMapManager::CountDecisions();
    for (size_t i = 0; i < members.size(); ++i) {
        const ShareDeviceInfo& member = members[i];
        report(member, members.size());
        payload.BeginMember(i);
        payload.Remember(member.deviceId);
        if (IsBusy<Payload>(member.deviceId, "")) {
            return false;
        }
        bool running = StartTransfer(payload, member, member.deviceId, TransmitEventType::ORDINARY);
        // The send may have been decided while a later member was being started, too late to cancel it with the rest.
        if (running && i > 0 && CacheMapManager::HasLostSend(member, decisions)) {
            (void)CancelMember(member, false); // its transfer may have ended by itself
        }
    }
    return true;
}

template <typename Payload>
bool TrellisService::SendToEntry(Payload& payload, const ShareDeviceInfo& device, const ContactReporter& report)
{
    SHARE_LOGI(Log::SERVICE, "%{public}s() enter, discoveredBy %{public}d", Payload::NAME,
        static_cast<int>(device.GetDiscoveredBy()));
    if (payload.CacheForSwing(device)) {
        return true;
    }
    ForEachTrellisCallback(
        [&](const sptr<PelagoTrellisServiceCallback>& callback) { payload.Announce(*callback, device); });
    if constexpr (!Payload::LOGS_DEVICE) {
        SHARE_LOGI(Log::SERVICE, "%{public}s() enter, device discoveredBy %{public}d", Payload::NAME,
            static_cast<int>(device.GetDiscoveredBy()));
    }
    if (device.IsContainDiscoverer(Discoverer::TAP) || device.IsContainDiscoverer(Discoverer::SWING)) {
        return payload.SendForDevice(device);
    }
    if (!SendToMembers(payload, device, report)) {
        return false;
    }
    SHARE_LOGI(Log::SERVICE, "%{public}s() exit", Payload::NAME);
    return true;
}

bool TrellisService::Send(const ShareDeviceInfo& device, SendBean& bean, const std::string& packageName)
{
    FilesPayload payload(bean, packageName);
    ContactReport report;
    return SendToEntry(
        payload, device, [&report](const ShareDeviceInfo& member, size_t count) { report.Member(member, count); });
}

bool TrellisService::SendFile(const ShareDeviceInfo& device, const DataBean& bean, const std::string& packageName)
{
    UrisPayload payload(bean, packageName);
    return SendToEntry(payload, device, [](const ShareDeviceInfo&, size_t) {});
}

bool TrellisService::SendBytes(const ShareDeviceInfo& device, const BytesInfo& bytes)
{
    BytesPayload payload(bytes);
    return SendToEntry(payload, device, [](const ShareDeviceInfo&, size_t) {});
}

// What is not copied here does not reach the second and later devices of a contact.
void TrellisService::CopySendBean(const SendBean& source, SendBean& target)
{
    target.sendModule = source.sendModule;
    target.sendType = source.sendType;
    target.totalSize = source.totalSize;
    target.totalNum = source.totalNum;
    target.uriList.reserve(target.uriList.size() + source.uriList.size());
    for (const FileHolder& file : source.uriList) {
        FileHolder copy;
        copy.fileName_ = file.fileName_;
        copy.fileSize_ = file.fileSize_;
        copy.fileType_ = file.fileType_;
        copy.fileFd = ::fcntl(file.fileFd, F_DUPFD_CLOEXEC, 0); // -1 fails later, when the holder is written
        target.uriList.push_back(std::move(copy));
    }
    target.thumbnail = source.thumbnail;
    target.scenarioId = source.scenarioId;
    target.text = source.text;
}

// The road of a send that a gesture asked for: one device, and the gesture's flag is used up.
template <typename Payload>
bool TrellisService::SendToDevice(Payload& payload, const ShareDeviceInfo& device)
{
    if constexpr (Payload::LOGS_DEVICE) {
        SHARE_LOGI(Log::SERVICE, "%{public}sForDevice() enter, device %{public}s", Payload::NAME,
            device.GetDeviceId().c_str());
    } else {
        SHARE_LOGI(Log::SERVICE, "%{public}sForDevice() enter", Payload::NAME);
    }
    const std::string& deviceId = device.GetDeviceId();
    TransmitEventType type = TransmitEventType::ORDINARY;
    if (!CheckAndClearDeviceDiscoveredByFlag(device, true, type)) {
        SHARE_LOGE(Log::SERVICE, "CheckAndClearDeviceDiscoveredByFlag() failed.");
        return false;
    }
    payload.Remember(deviceId);
    if (IsBusy<Payload>(deviceId, "ForDevice")) {
        (void)SwingSendFail(device, TransferError::DEVICE_BUSY); // the client hears false either way
        return false;
    }
    std::optional<ShareDeviceInfo> stored = CacheMapManager::GetAllDevice(deviceId);
    if (!stored.has_value()) {
        SHARE_LOGE(Log::SERVICE, "%{public}sForDevice() failed: can not find device", Payload::NAME);
        return false;
    }
    (void)StartTransfer(payload, *stored, deviceId, type); // a refusal is told by the callback
    AnnounceToShareApi(payload, *stored, device.GetDiscoveredBy());
    SHARE_LOGI(Log::SERVICE, "%{public}sForDevice() exit", Payload::NAME);
    return true;
}

// The gesture's flags come back into the stored record here, so only when there is a hub to be told.
template <typename Payload>
void TrellisService::AnnounceToShareApi(Payload& payload, ShareDeviceInfo& stored, uint32_t discoveredBy)
{
    ForEachShareApiCallback([&](const sptr<PelagoTrellisServiceCallback>& callback) {
        callback->OnSwitchNotifyComponent(COMPONENT_SHARE_API);
        if (auto restored = CacheMapManager::RestoreDiscoverer(stored.deviceId, discoveredBy); restored.has_value()) {
            stored = std::move(*restored);
        }
        payload.Announce(*callback, stored);
    });
}

bool TrellisService::SendForDevice(const ShareDeviceInfo& device, SendBean& bean, const std::string& packageName)
{
    FilesPayload payload(bean, packageName);
    return SendToDevice(payload, device);
}

bool TrellisService::SendFileForDevice(
    const ShareDeviceInfo& device, const DataBean& bean, const std::string& packageName)
{
    UrisPayload payload(bean, packageName);
    return SendToDevice(payload, device);
}

bool TrellisService::SendBytesForDevice(const ShareDeviceInfo& device, const BytesInfo& bytes)
{
    BytesPayload payload(bytes);
    return SendToDevice(payload, device);
}

bool TrellisService::ApplyUriPermission(const std::string& uriString)
{
    SHARE_LOGI(Log::SERVICE, "ApplyUriPermission() enter");
    if (!Engine().ApplyUriPermission(uriString)) {
        SHARE_LOGE(Log::SERVICE, "ApplyUriPermission failed.");
        return false;
    }
    SHARE_LOGI(Log::SERVICE, "ApplyUriPermission() exit");
    return true;
}

} // namespace OHOS::Pelago
