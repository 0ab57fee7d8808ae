#ifndef PELAGO_TESTS_SHARING_SCENE_H
#define PELAGO_TESTS_SHARING_SCENE_H

#include "discovery/cache_map_manager.h"
#include "recording_extension.h"
#include "service_fixture.h"

namespace OHOS::Pelago {

// Sharing is on, a client looks for devices, and the front end's extension is there.
class SharingScene : public ServiceFixture {
protected:
    void SetUp() override
    {
        ServiceFixture::SetUp();
        extension = std::make_unique<TestExtension>();
        BootOn();
        client = NewClient();
        client->Register();
        EXPECT_TRUE((*client)->StartDiscovery());
        LookAway();
        AllowError("device is not found in SendingDeviceMap"); // of a send that nobody prepared, and behind an end
    }
    // Forgets what has happened so far.
    void LookAway()
    {
        (void)Heard();
        (void)extension->TakeHeard();
        (void)Collab().TakeAsked();
        (void)Engine().TakeJournal();
    }
    void JoinHub()
    {
        hub = NewClient();
        hub->RegisterAsHub();
        (void)client->TakeHeard();
    }

    // What the client hears until the device has settled.
    Lines Heard()
    {
        Settle();
        return client->TakeHeard();
    }
    Lines Found(const ShareDevice& device)
    {
        Engine().Found(device);
        return Heard();
    }
    Lines Lost(const ShareDevice& device)
    {
        Engine().Lost(device);
        return Heard();
    }
    Lines Report(const std::string& deviceId, const std::function<void(ITransmitCallback&)>& report)
    {
        Engine().Report(deviceId, report);
        return Heard();
    }
    Lines Progress(const std::string& deviceId, int8_t percent)
    {
        return Report(deviceId, [percent](ITransmitCallback& transfer) { transfer.OnProgess(percent); });
    }
    Lines Success(const std::string& deviceId)
    {
        return Report(deviceId, [](ITransmitCallback& transfer) { transfer.OnSuccess("", {"a"}); });
    }

    bool SendNote(TestClient& sender, const ShareDeviceInfo& device, const std::string& title = "note")
    {
        BytesInfo bytes;
        bytes.bytesTitle = title;
        return sender->SendBytes(device, bytes);
    }
    // Sends to an entry, which is taken. What the engine is asked since the last look.
    std::string SendAgain(const std::string& entry)
    {
        EXPECT_TRUE(SendNote(*client, Entry(entry)));
        (void)Heard();
        return Engine().TakeAsked();
    }
    // The same behind the preparation that an application makes.
    std::string SendText(const std::string& entry)
    {
        EXPECT_TRUE((*client)->PrepareSend(Entry(entry)));
        return SendAgain(entry);
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

    std::unique_ptr<TestExtension> extension;
    std::unique_ptr<TestClient> client;
    std::unique_ptr<TestClient> hub;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_SHARING_SCENE_H
