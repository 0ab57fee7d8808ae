#ifndef PELAGO_TESTS_DISCOVERY_DEVICES_H
#define PELAGO_TESTS_DISCOVERY_DEVICES_H

#include <string>
#include <vector>

#include "discovery/cache_map_manager.h"

namespace OHOS::Pelago {

// A device as the engine reports it; contact 0 is none.
inline ShareDeviceInfo Device(const std::string& id, int32_t contact = 0, const std::string& picture = "picture")
{
    ShareDeviceInfo device;
    device.deviceId = id;
    device.btName = "name of " + id;
    device.avatar = "avatar of " + id;
    if (contact != 0) {
        device.contactInfo.contactId = contact;
        device.contactInfo.name = "contact " + std::to_string(contact);
        device.contactInfo.avatar = picture;
    }
    return device;
}

// A found report as it reaches the store: first the device, then its entry. The key of the entry that went.
inline std::string Find(const ShareDeviceInfo& device)
{
    CacheMapManager::InsertToAllDeviceMap(device, device.eventCode, device.deviceState, device.percent, device.speed);
    return CacheMapManager::InsertToMergeDeviceMap(device);
}

inline ShareDeviceInfo View(const std::string& id)
{
    return CacheMapManager::ChangeToShareDeviceInfo(Device(id));
}

inline std::vector<std::string> MembersOf(const std::string& id)
{
    std::vector<std::string> ids;
    for (const auto& member : CacheMapManager::GetShareDeviceInfoList(Device(id))) {
        ids.push_back(member.deviceId);
    }
    return ids;
}

inline std::vector<std::string> ListedIds()
{
    std::vector<std::string> ids;
    for (const auto& device : CacheMapManager::GetAllDeviceList()) {
        ids.push_back(device.deviceId);
    }
    return ids;
}

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_DISCOVERY_DEVICES_H
