#ifndef PELAGO_TESTS_TRANSFER_SCENE_H
#define PELAGO_TESTS_TRANSFER_SCENE_H

#include "discovery/cache_map_manager.h"
#include "recording_extension.h"
#include "service_fixture.h"

namespace OHOS::Pelago {

// Sharing is on, a client looks for devices, and the front end's extension is there.
class TransferScene : public ServiceFixture {
protected:
    void SetUp() override
    {
        ServiceFixture::SetUp();
        extension = std::make_unique<TestExtension>();
        BootOn();
        client = NewClient();
        client->Register();
        EXPECT_TRUE((*client)->StartDiscovery());
        Settle();
        (void)extension->TakeHeard();
        (void)Engine().TakeJournal();
        AllowError("device is not found in SendingDeviceMap"); // of a send that nobody prepared, and behind an end
    }
    void TearDown() override
    {
        if (hub != nullptr) { // they go as clients should; deaths are told elsewhere
            EXPECT_TRUE((*hub)->UnRegisterCorvaneShareApiTrellisCallback(hub->callback));
        }
        EXPECT_TRUE((*client)->UnRegisterTrellisCallback(client->callback));
        ServiceFixture::TearDown();
    }

    void JoinHub()
    {
        hub = NewClient();
        hub->RegisterAsHub();
    }

    // The engine finds these devices of contact 42, or of none.
    void Find(const std::vector<std::string>& ids, int32_t contactId = 0)
    {
        for (const std::string& id : ids) {
            Engine().Found(Peer(id, contactId, contactId == 0 ? "" : "Ann"));
        }
        Settle();
        (void)client->TakeHeard();
    }
    // Prepares and sends a text to an entry, which is taken. What the engine is asked since the last look.
    std::string SendText(const std::string& entry)
    {
        EXPECT_TRUE((*client)->PrepareSend(Entry(entry)));
        return SendAgain(entry);
    }
    std::string SendAgain(const std::string& entry)
    {
        BytesInfo bytes;
        bytes.bytesTitle = "note";
        EXPECT_TRUE((*client)->SendBytes(Entry(entry), bytes));
        (void)Heard();
        return Engine().TakeAsked();
    }
    // What the client hears of a report of the engine.
    Lines Report(const std::string& deviceId, const std::function<void(ITransmitCallback&)>& report)
    {
        Engine().Report(deviceId, report);
        Settle();
        return client->TakeHeard();
    }
    Lines Status(const std::string& deviceId, int status)
    {
        return Report(deviceId, [status](ITransmitCallback& transfer) { transfer.OnStatus("", status); });
    }
    Lines Progress(const std::string& deviceId, int8_t percent)
    {
        return Report(deviceId, [percent](ITransmitCallback& transfer) { transfer.OnProgess(percent); });
    }
    Lines Success(const std::string& deviceId)
    {
        return Report(deviceId, [](ITransmitCallback& transfer) { transfer.OnSuccess("", {"a"}); });
    }
    Lines Error(const std::string& deviceId, int code)
    {
        return Report(deviceId, [code](ITransmitCallback& transfer) { transfer.OnError("", code); });
    }
    Lines Heard()
    {
        Settle();
        return client->TakeHeard();
    }
    // What a request gives that none of ours would write.
    static int Ask(const sptr<IRemoteObject>& stub, uint32_t code, const std::u16string& token,
        const std::function<bool(MessageParcel&)>& write)
    {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        EXPECT_TRUE(data.WriteInterfaceToken(token) && write(data));
        return stub->SendRequest(code, data, reply, option);
    }

    // The last event and the state of a device in view, e.g. "2/103".
    static std::string StateOf(const std::string& deviceId)
    {
        auto device = CacheMapManager::GetAllDevice(deviceId);
        return device ? std::to_string(device->eventCode) + "/" + std::to_string(device->deviceState) : "gone";
    }
    static std::string EntryState(const std::string& member)
    {
        ShareDeviceInfo view = CacheMapManager::ChangeToShareDeviceInfo(Entry(member));
        return std::to_string(view.eventCode) + "/" + std::to_string(view.deviceState);
    }
    // Devices in a send, requests and engine handles that are kept.
    static std::vector<size_t> Records()
    {
        CacheMapManager::MapSizes sizes = CacheMapManager::Sizes();
        return {sizes.sendingDevices, sizes.sendBeans + sizes.dataBeans + sizes.bytesInfos, sizes.senders};
    }
    static std::vector<size_t> NoRecords()
    {
        return {0, 0, 0};
    }

    std::unique_ptr<TestExtension> extension;
    std::unique_ptr<TestClient> client;
    std::unique_ptr<TestClient> hub;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_TRANSFER_SCENE_H
