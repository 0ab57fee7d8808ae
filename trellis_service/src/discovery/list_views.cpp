// CacheMapManager: what clients see, and what the dump and the invariants look at.

#include <algorithm>

#include "discovery/cache_map_manager.h"
#include "share_log.h"

namespace OHOS::Pelago {

// What an entry says by itself.
void CacheMapManager::FillFromEntry(const ShareMergeInfo& entry, ShareDeviceInfo& view)
{
    view.deviceId = entry.GetContactId();
    view.btName = entry.GetName();
    view.corvaneIdName = entry.GetCorvaneIdName();
    view.avatar = entry.GetAvatar();
    view.eventCode = entry.GetEventCode();
    view.deviceState = entry.GetDeviceState();
    view.percent = entry.GetPercent();
    view.speed = entry.GetSpeed();
    view.isSameAccount = entry.GetIsSameAccount();
}

// What its members in view add: the latest share, the lowest version, and the contact of the first of them, with its
// type too if `typeFromFirst`. Versions fold from 0, so that only a negative one shows: clients rely on it.
void CacheMapManager::FoldMembers(const ShareMergeInfo& entry, bool typeFromFirst, ShareDeviceInfo& view)
{
    bool isFirst = true;
    for (const auto& deviceId : entry.GetDeviceList()) {
        MutexLock lock(allDeviceMutex_); // for each member anew: a long entry does not hold up the reports of others
        const ShareDeviceInfo* member = allDeviceMap_.Find(deviceId);
        if (member == nullptr) {
            continue;
        }
        view.lastSharedTime = std::max(view.lastSharedTime, member->lastSharedTime);
        view.nearbyVersion = std::min(view.nearbyVersion, member->nearbyVersion);
        if (isFirst) {
            view.contactInfo = member->contactInfo;
        }
        if (isFirst && typeFromFirst) {
            view.deviceType = member->deviceType;
            view.isOHDevice = member->isOHDevice;
        }
        isFirst = false;
    }
}

std::vector<ShareDeviceInfo> CacheMapManager::GetAllDeviceList()
{
    SHARE_LOGI(Log::SERVICE, "GetAllDeviceList() enter");
    RecursiveLock lock(mergeDeviceMutex_);
    std::vector<ShareDeviceInfo> views;
    views.reserve(mergeDeviceMap_.All().size());
    for (const auto& [mergeId, entry] : mergeDeviceMap_.All()) {
        ShareDeviceInfo& view = views.emplace_back();
        FillFromEntry(entry, view);
        view.isOHDevice = entry.GetIsOHDevice();
        FoldMembers(entry, true, view);
    }
    return views;
}

ShareDeviceInfo CacheMapManager::ChangeToShareDeviceInfo(const ShareDeviceInfo& device)
{
    ShareDeviceInfo view;
    RecursiveLock lock(mergeDeviceMutex_);
    auto found = mergeDeviceMap_.Find(device);
    if (found == mergeDeviceMap_.End()) {
        return view;
    }
    const ShareMergeInfo& entry = found->second;
    FillFromEntry(entry, view);
    view.isDisappeared = entry.GetIsDisappeared(device);
    view.deviceType = device.deviceType;
    view.isOHDevice = device.isOHDevice;
    view.discoveredBy = device.discoveredBy;
    view.capability = device.capability;
    FoldMembers(entry, false, view);
    return view;
}

CacheMapManager::MapSizes CacheMapManager::Sizes()
{
    MapSizes sizes{};
    {
        RecursiveLock lock(mergeDeviceMutex_);
        sizes.mergeDevices = mergeDeviceMap_.All().size();
    }
    {
        MutexLock lock(allDeviceMutex_);
        sizes.allDevices = allDeviceMap_.Size();
    }
    {
        MutexLock lock(sendingDeviceMutex_);
        sizes.sendingDevices = sendingDeviceMap_.size();
    }
    sizes.sendBeans = sendBeanMap_.Size();
    sizes.dataBeans = dataBeanMap_.Size();
    sizes.bytesInfos = bytesInfoMap_.Size();
    sizes.senders = senderMap_.Size();
    return sizes;
}

std::vector<std::string> CacheMapManager::CheckInvariants()
{
    RecursiveLock lock(mergeDeviceMutex_);
    return mergeDeviceMap_.Faults();
}

} // namespace OHOS::Pelago
