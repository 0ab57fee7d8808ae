// CacheMapManager: how devices fold into the entries that clients see, and how an entry goes through a send.

#include "discovery/cache_map_manager.h"
#include "share_log.h"

namespace OHOS::Pelago {

namespace {

// Whether `device`, as it is reported now, belongs elsewhere than to the entry that it is in.
bool HasLeft(const ShareMergeInfo& entry, const ShareDeviceInfo& device)
{
    const bool isNewContact = device.contactInfo.contactId != 0;
    const bool isContactChange = isNewContact != entry.GetIsContact();
    const bool isContactIdChange = isNewContact && entry.GetIsContact() && entry.GetContactId() != device.GetMergeId();
    return isContactChange || isContactIdChange;
}

} // namespace

RecursiveMutex CacheMapManager::mergeDeviceMutex_("mergeDeviceMutex_", LockRank::MERGE_DEVICES);
MergeEntries CacheMapManager::mergeDeviceMap_;
int64_t CacheMapManager::decisions_ = 0;

RecursiveMutex& CacheMapManager::MergeDeviceMutex()
{
    return mergeDeviceMutex_;
}

std::string CacheMapManager::FindMergeDeviceId(const ShareDeviceInfo& device)
{
    RecursiveLock lock(mergeDeviceMutex_);
    auto entry = mergeDeviceMap_.Find(device);
    return entry == mergeDeviceMap_.End() ? std::string() : entry->first;
}

std::string CacheMapManager::InsertToMergeDeviceMap(const ShareDeviceInfo& device)
{
    RecursiveLock lock(mergeDeviceMutex_);
    SHARE_LOGI(Log::SERVICE, "InsertToMergeDeviceMap() enter size %{public}zu", mergeDeviceMap_.All().size());
    auto entry = mergeDeviceMap_.Find(device);
    if (entry == mergeDeviceMap_.End()) {
        SHARE_LOGI(Log::SERVICE, "InsertToMergeDeviceMap, find new device");
        AddNewMergeDevice(device);
        return {};
    }
    SHARE_LOGI(
        Log::SERVICE, "InsertToMergeDeviceMap, isNewContact %{public}d", device.contactInfo.contactId != 0 ? 1 : 0);
    SHARE_LOGI(Log::SERVICE, "InsertToMergeDeviceMap, isOldContact %{public}d", entry->second.GetIsContact() ? 1 : 0);
    if (HasLeft(entry->second, device)) {
        return MoveMergeDevice(entry, device);
    }
    RefreshMergeDevice(entry->second, device);
    return {};
}

// The key of the entry that `device` leaves, if it was the last there.
std::string CacheMapManager::MoveMergeDevice(MergeEntries::Entry entry, const ShareDeviceInfo& device)
{
    SHARE_LOGI(Log::SERVICE, "InsertToMergeDeviceMap, isContactChange or isContactIdChange");
    std::string key = entry->first;
    const bool isErased = mergeDeviceMap_.Leave(entry, device);
    if (isErased) {
        SHARE_LOGI(Log::SERVICE, "InsertToMergeDeviceMap, erase");
    }
    AddNewMergeDevice(device);
    return isErased ? key : std::string();
}

void CacheMapManager::RefreshMergeDevice(ShareMergeInfo& entry, const ShareDeviceInfo& device)
{
    const bool isChanged = IsContactAvatarChanged(entry, device);
    if (isChanged) {
        SHARE_LOGI(Log::SERVICE, "InsertToMergeDeviceMap, isContactNameChange or isContactAvatarChange");
    } else {
        SHARE_LOGI(Log::SERVICE, "InsertToMergeDeviceMap, normalChange");
    }
    entry.UpdateDeviceAttributes(device, isChanged);
}

// Compares with what the first member is known by. That record has the report in it already when the first member
// itself reports, so its change shows only when another member comes with it; and a new name alone is no change. Both
// are meant.
bool CacheMapManager::IsContactAvatarChanged(const ShareMergeInfo& entry, const ShareDeviceInfo& device)
{
    if (!entry.GetIsContact() || device.contactInfo.contactId == 0 || entry.GetDeviceList().empty()) {
        return false;
    }
    MutexLock lock(allDeviceMutex_);
    const ShareDeviceInfo* first = allDeviceMap_.Find(entry.GetDeviceList().front());
    return first != nullptr && first->contactInfo.avatar != device.contactInfo.avatar;
}

void CacheMapManager::AddNewMergeDevice(const ShareDeviceInfo& device)
{
    RecursiveLock lock(mergeDeviceMutex_);
    const std::string mergeId = device.GetMergeId();
    auto entry = mergeDeviceMap_.FindKey(mergeId);
    if (entry != mergeDeviceMap_.End()) {
        mergeDeviceMap_.Join(entry, device);
        return;
    }
    ShareMergeInfo fresh;
    (void)fresh.AddDevice(device); // an empty entry takes every device
    TakeKnownState(device.deviceId, fresh);
    mergeDeviceMap_.Add(mergeId, std::move(fresh));
}

// The store may know how a transfer of the device stands, when the report that brings it does not.
void CacheMapManager::TakeKnownState(const std::string& deviceId, ShareMergeInfo& entry)
{
    MutexLock lock(allDeviceMutex_);
    if (const ShareDeviceInfo* record = allDeviceMap_.Find(deviceId)) {
        SHARE_LOGI(Log::SERVICE, "AddNewMergeDevice, changestate");
        entry.UpdateUi(record->eventCode, record->deviceState, record->percent, record->speed);
    }
}

bool CacheMapManager::RemoveFromMergeDeviceMap(const ShareDeviceInfo& device)
{
    RecursiveLock lock(mergeDeviceMutex_);
    auto entry = mergeDeviceMap_.FindKey(device.GetMergeId());
    if (entry == mergeDeviceMap_.End()) {
        return false;
    }
    if (!mergeDeviceMap_.Leave(entry, device)) {
        SHARE_LOGE(Log::SERVICE, "RemoveFromMergeDeviceMap, 2 or more devices");
        return false;
    }
    return true;
}

bool CacheMapManager::IsMergeDeviceMoving(const ShareDeviceInfo& device)
{
    RecursiveLock lock(mergeDeviceMutex_);
    auto entry = mergeDeviceMap_.Find(device);
    return entry != mergeDeviceMap_.End() && HasLeft(entry->second, device);
}

void CacheMapManager::UpateToMergeDeviceMap(const ShareDeviceInfo& device, int event, int value)
{
    RecursiveLock lock(mergeDeviceMutex_);
    auto entry = mergeDeviceMap_.Find(device);
    if (entry == mergeDeviceMap_.End()) {
        SHARE_LOGE(Log::SERVICE, "UpateToMergeDeviceMap, no device");
        return;
    }
    entry->second.UpdateDeviceState(device, event, value);
}

bool CacheMapManager::ChangeMergeDeviceDisappearState(const ShareDeviceInfo& device, bool disappeared)
{
    SHARE_LOGI(Log::SERVICE, "ChangeMergeDeviceDisappearState() enter");
    RecursiveLock lock(mergeDeviceMutex_);
    auto entry = mergeDeviceMap_.Find(device);
    if (entry == mergeDeviceMap_.End()) {
        SHARE_LOGE(Log::SERVICE, "ChangeMergeDeviceDisappearState, device is not found in MergeDeviceMap");
        return false;
    }
    entry->second.SetIsDisappeared(device, disappeared);
    return true;
}

bool CacheMapManager::IsMergeDeviceDisappear(const ShareDeviceInfo& device)
{
    RecursiveLock lock(mergeDeviceMutex_);
    auto entry = mergeDeviceMap_.Find(device);
    if (entry == mergeDeviceMap_.End()) {
        SHARE_LOGE(Log::SERVICE, "IsMergeDeviceDisappear, GetShareDeviceInfoList size==0");
        return false;
    }
    return entry->second.GetIsDisappeared(device);
}

bool CacheMapManager::IsOneInMergeDevice(const ShareDeviceInfo& device)
{
    RecursiveLock lock(mergeDeviceMutex_);
    auto entry = mergeDeviceMap_.Find(device);
    if (entry == mergeDeviceMap_.End()) {
        SHARE_LOGE(Log::SERVICE, "IsOneInMergeDevice, GetShareDeviceInfoList size==0");
        return false;
    }
    return entry->second.GetDeviceNumber() == 1;
}

std::optional<ShareDeviceInfo> CacheMapManager::LeaveMergeDevice(const ShareDeviceInfo& device)
{
    RecursiveLock lock(mergeDeviceMutex_);
    std::optional<ShareDeviceInfo> lastView;
    if (IsOneInMergeDevice(device)) {
        lastView = ChangeToShareDeviceInfo(device);
    }
    (void)RemoveFromMergeDeviceMap(device); // whether the entry went with it is told by lastView
    return lastView;
}

// One step, as is the question of an ending send whether there was a loss: one of the two sees the other.
bool CacheMapManager::HoldLostDevice(const ShareDeviceInfo& device)
{
    RecursiveLock lock(mergeDeviceMutex_);
    if (!IsHeldBySend(device.deviceId)) {
        return false;
    }
    (void)ChangeSendingDeviceDisappearState(device.deviceId, true); // it may just have ended
    (void)ChangeMergeDeviceDisappearState(device, true);            // or have no entry
    return true;
}

std::vector<ShareDeviceInfo> CacheMapManager::GetShareDeviceInfoList(const ShareDeviceInfo& device)
{
    RecursiveLock lock(mergeDeviceMutex_);
    auto entry = mergeDeviceMap_.Find(device);
    if (entry == mergeDeviceMap_.End()) {
        SHARE_LOGE(Log::SERVICE, "GetShareDeviceInfoList, size==0");
        return {};
    }
    std::vector<ShareDeviceInfo> members;
    std::vector<std::string> outOfView;
    AppendKnown(entry->second.GetDeviceList(), members, outOfView);
    AppendSending(outOfView, members);
    return members;
}

void CacheMapManager::AppendKnown(
    const std::vector<std::string>& deviceIds, std::vector<ShareDeviceInfo>& found, std::vector<std::string>& missing)
{
    MutexLock lock(allDeviceMutex_);
    for (const auto& deviceId : deviceIds) {
        if (const ShareDeviceInfo* record = allDeviceMap_.Find(deviceId)) {
            found.push_back(*record);
        } else {
            missing.push_back(deviceId);
        }
    }
}

void CacheMapManager::AppendSending(const std::vector<std::string>& deviceIds, std::vector<ShareDeviceInfo>& found)
{
    MutexLock lock(sendingDeviceMutex_);
    for (const auto& deviceId : deviceIds) {
        auto sending = sendingDeviceMap_.find(deviceId);
        if (sending != sendingDeviceMap_.end()) {
            found.push_back(sending->second.record);
        }
    }
}

bool CacheMapManager::CancelOtherMergeDevice(const ShareDeviceInfo& device)
{
    SHARE_LOGI(Log::SERVICE, "CancelOtherMergeDevice enter");
    RecursiveLock lock(mergeDeviceMutex_);
    auto entry = mergeDeviceMap_.Find(device);
    if (entry == mergeDeviceMap_.End()) {
        SHARE_LOGE(Log::SERVICE, "CancelOtherMergeDevice, size==0");
        return false;
    }
    if (entry->second.GetIsCancelOther()) {
        SHARE_LOGI(Log::SERVICE, "CancelOtherMergeDevice, already cancel");
        return false;
    }
    entry->second.SetIsCancelOther(true);
    entry->second.NoteDecision(device.deviceId, ++decisions_);
    return true;
}

int64_t CacheMapManager::CountDecisions()
{
    RecursiveLock lock(mergeDeviceMutex_);
    return decisions_;
}

bool CacheMapManager::HasLostSend(const ShareDeviceInfo& member, int64_t decisions)
{
    RecursiveLock lock(mergeDeviceMutex_);
    auto entry = mergeDeviceMap_.Find(member);
    return entry != mergeDeviceMap_.End() && entry->second.GetDecisionOfOthers(member.deviceId) > decisions;
}

} // namespace OHOS::Pelago
