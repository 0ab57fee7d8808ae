// CacheMapManager: devices in view, devices in a send.

#include "discovery/cache_map_manager.h"
#include "share_log.h"

namespace OHOS::Pelago {

namespace {

void SetStatusFields(ShareDeviceInfo& record, int eventCode, int deviceState, int percent, int speed)
{
    record.eventCode = eventCode;
    record.deviceState = deviceState;
    record.percent = percent;
    record.speed = speed;
}

std::optional<ShareDeviceInfo> CopyOf(const ShareDeviceInfo* record)
{
    return record == nullptr ? std::nullopt : std::make_optional(*record);
}

void LogNotSending()
{
    SHARE_LOGE(Log::SERVICE, "device is not found in SendingDeviceMap");
}

} // namespace

Mutex CacheMapManager::allDeviceMutex_("allDeviceMutex_", LockRank::DEVICES);
IndexedMap<ShareDeviceInfo> CacheMapManager::allDeviceMap_;
Mutex CacheMapManager::sendingDeviceMutex_("sendingDeviceMutex_", LockRank::DEVICES);
std::map<std::string, CacheMapManager::SendingDevice> CacheMapManager::sendingDeviceMap_;

void CacheMapManager::InsertToAllDeviceMap(
    const ShareDeviceInfo& device, int eventCode, int deviceState, int percent, int speed)
{
    MutexLock lock(allDeviceMutex_);
    SHARE_LOGI(Log::SERVICE, "InsertToAllDeviceMap() enter size %{public}zu", allDeviceMap_.Size());
    auto& record = allDeviceMap_[device.deviceId];
    record = device;
    SetStatusFields(record, eventCode, deviceState, percent, speed);
    SHARE_LOGI(Log::SERVICE, "InsertToAllDeviceMap() exit size %{public}zu", allDeviceMap_.Size());
}

void CacheMapManager::UpateToAllDeviceMap(
    const ShareDeviceInfo& device, int eventCode, int deviceState, int percent, int speed)
{
    MutexLock lock(allDeviceMutex_);
    ShareDeviceInfo* record = allDeviceMap_.Find(device.deviceId);
    if (record == nullptr) {
        SHARE_LOGE(Log::SERVICE, "UpateToAllDeviceMap() not found");
        return;
    }
    SetStatusFields(*record, eventCode, deviceState, percent, speed);
}

void CacheMapManager::RemoveFromAllDeviceMap(const std::string& deviceId)
{
    MutexLock lock(allDeviceMutex_);
    if (!allDeviceMap_.Erase(deviceId)) {
        SHARE_LOGE(Log::SERVICE, "device is not found in AllDeviceMap");
    }
    SHARE_LOGI(Log::NAPI, "Remove AllDevice's info of deviceId: %{public}s", deviceId.c_str());
}

void CacheMapManager::ClearAllDeviceMap()
{
    MutexLock lock(allDeviceMutex_);
    allDeviceMap_.Clear();
}

std::optional<ShareDeviceInfo> CacheMapManager::GetAllDevice(const std::string& deviceId)
{
    MutexLock lock(allDeviceMutex_);
    return CopyOf(allDeviceMap_.Find(deviceId));
}

std::vector<ShareDeviceInfo> CacheMapManager::GetAllShareDeviceList()
{
    MutexLock lock(allDeviceMutex_);
    std::vector<ShareDeviceInfo> devices;
    devices.reserve(allDeviceMap_.Size());
    for (const auto& [deviceId, device] : allDeviceMap_.All()) {
        devices.push_back(device);
    }
    return devices;
}

std::vector<std::pair<std::string, int32_t>> CacheMapManager::GetAllDeviceStates(
    const std::vector<std::string>& deviceIds)
{
    MutexLock lock(allDeviceMutex_);
    std::vector<std::pair<std::string, int32_t>> states;
    for (const auto& deviceId : deviceIds) {
        if (const ShareDeviceInfo* record = allDeviceMap_.Find(deviceId)) {
            states.emplace_back(deviceId, record->deviceState);
        }
    }
    return states;
}

void CacheMapManager::ClearDiscovererFlag(const std::string& deviceId, const uint32_t& flag)
{
    SHARE_LOGI(Log::SERVICE, "ClearDiscovererFlag devId %{public}s, flag %{public}d", deviceId.c_str(),
        static_cast<int32_t>(flag));
    MutexLock lock(allDeviceMutex_);
    if (ShareDeviceInfo* record = allDeviceMap_.Find(deviceId)) {
        record->DelDiscoverer(flag);
    }
}

bool CacheMapManager::CheckDiscovererFlag(const std::string& deviceId, const uint32_t& flag)
{
    SHARE_LOGI(Log::SERVICE, "CheckDiscovererFlag, devId %{public}s, flag %{public}d", deviceId.c_str(),
        static_cast<int32_t>(flag));
    MutexLock lock(allDeviceMutex_);
    const ShareDeviceInfo* record = allDeviceMap_.Find(deviceId);
    return record != nullptr && record->IsContainDiscoverer(flag);
}

std::optional<ShareDeviceInfo> CacheMapManager::RestoreDiscoverer(const std::string& deviceId, const uint32_t& flags)
{
    MutexLock lock(allDeviceMutex_);
    ShareDeviceInfo* record = allDeviceMap_.Find(deviceId);
    if (record != nullptr) {
        record->SetDiscoveredBy(flags);
    }
    return CopyOf(record);
}

bool CacheMapManager::InsertToSendingDeviceMap(const ShareDeviceInfo& device)
{
    MutexLock lock(sendingDeviceMutex_);
    if (!sendingDeviceMap_.try_emplace(device.deviceId, SendingDevice{device}).second) {
        SHARE_LOGE(Log::SERVICE, "InsertToSendingDeviceMap failed");
        return false;
    }
    return true;
}

bool CacheMapManager::SetStatus(const std::string& deviceId, int eventCode, int deviceState, int percent, int speed)
{
    constexpr int KEEP = -1;
    MutexLock lock(sendingDeviceMutex_);
    auto found = sendingDeviceMap_.find(deviceId);
    if (found == sendingDeviceMap_.end()) {
        LogNotSending();
        return false;
    }
    auto& record = found->second.record;
    record.eventCode = eventCode == KEEP ? record.eventCode : eventCode;
    record.deviceState = deviceState == KEEP ? record.deviceState : deviceState;
    record.percent = percent == KEEP ? record.percent : percent;
    record.speed = speed == KEEP ? record.speed : speed;
    return true;
}

bool CacheMapManager::RemoveFromSendingDeviceMap(const std::string& deviceId)
{
    MutexLock lock(sendingDeviceMutex_);
    if (sendingDeviceMap_.erase(deviceId) == 0) {
        LogNotSending();
    }
    SHARE_LOGI(Log::NAPI, "Remove SendingDevice's info of deviceId: %{public}s", deviceId.c_str());
    return true;
}

bool CacheMapManager::InSendingList(const std::string& deviceId)
{
    MutexLock lock(sendingDeviceMutex_);
    return sendingDeviceMap_.count(deviceId) != 0;
}

std::optional<ShareDeviceInfo> CacheMapManager::GetSendingDevice(const std::string& deviceId)
{
    MutexLock lock(sendingDeviceMutex_);
    auto found = sendingDeviceMap_.find(deviceId);
    return CopyOf(found == sendingDeviceMap_.end() ? nullptr : &found->second.record);
}

bool CacheMapManager::ChangeSendingDeviceDisappearState(const std::string& deviceId, bool disappeared)
{
    SHARE_LOGI(Log::SERVICE, "ChangesendingDeviceDisappearState() enter");
    MutexLock lock(sendingDeviceMutex_);
    auto found = sendingDeviceMap_.find(deviceId);
    if (found == sendingDeviceMap_.end()) {
        LogNotSending();
        return false;
    }
    found->second.record.isDisappeared = disappeared;
    return true;
}

void CacheMapManager::EndHold(const std::string& deviceId)
{
    MutexLock lock(sendingDeviceMutex_);
    if (auto found = sendingDeviceMap_.find(deviceId); found != sendingDeviceMap_.end()) {
        found->second.isEnding = true;
    }
}

bool CacheMapManager::IsHeldBySend(const std::string& deviceId)
{
    MutexLock lock(sendingDeviceMutex_);
    auto found = sendingDeviceMap_.find(deviceId);
    return found != sendingDeviceMap_.end() && !found->second.isEnding;
}

std::vector<ShareDeviceInfo> CacheMapManager::GetSendingDeviceList()
{
    SHARE_LOGI(Log::SERVICE, "GetSendingDeviceList() enter");
    return {};
}

} // namespace OHOS::Pelago
