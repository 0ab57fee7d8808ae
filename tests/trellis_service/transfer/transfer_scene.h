#ifndef PELAGO_TESTS_TRANSFER_SCENE_H
#define PELAGO_TESTS_TRANSFER_SCENE_H

#include "sharing_scene.h"

namespace OHOS::Pelago {

// What the engine reports of transfers, and what is kept of them.
class TransferScene : public SharingScene {
protected:
    // The engine finds these devices of contact 42, or of none.
    void Find(const std::vector<std::string>& ids, int32_t contactId = 0)
    {
        for (const std::string& id : ids) {
            (void)Found(Peer(id, contactId, contactId == 0 ? "" : "Ann"));
        }
    }
    Lines Status(const std::string& deviceId, int status)
    {
        return Report(deviceId, [status](ITransmitCallback& transfer) { transfer.OnStatus("", status); });
    }
    Lines Error(const std::string& deviceId, int code)
    {
        return Report(deviceId, [code](ITransmitCallback& transfer) { transfer.OnError("", code); });
    }
    // The last event and the state of a device in view, and of its entry: "2/103 2/103".
    static std::string StateOf(const std::string& deviceId)
    {
        const auto device = CacheMapManager::GetAllDevice(deviceId);
        const auto text = [](const ShareDeviceInfo& view) {
            return std::to_string(view.eventCode) + "/" + std::to_string(view.deviceState);
        };
        return (device ? text(*device) : "gone") + " " +
               text(CacheMapManager::ChangeToShareDeviceInfo(Entry(deviceId)));
    }
    // Devices in a send, requests and engine handles that are kept: "1 1 1".
    static std::string Records()
    {
        const CacheMapManager::MapSizes sizes = CacheMapManager::Sizes();
        return std::to_string(sizes.sendingDevices) + " " +
               std::to_string(sizes.sendBeans + sizes.dataBeans + sizes.bytesInfos) + " " +
               std::to_string(sizes.senders);
    }
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_TRANSFER_SCENE_H
