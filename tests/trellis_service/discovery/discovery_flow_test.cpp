// Two clients, a hub of the share API, and what they hear of the devices that the engine reports.

#include <array>
#include <atomic>
#include <thread>

#include "devices.h"
#include "service_fixture.h"

namespace OHOS::Pelago {
namespace {

class Discovery : public ServiceFixture {
protected:
    void TearDown() override
    {
        if (client != nullptr) { // they go as clients should; their deaths are told elsewhere
            EXPECT_TRUE((*hub)->UnRegisterCorvaneShareApiTrellisCallback(hub->callback));
            EXPECT_TRUE((*client)->UnRegisterTrellisCallback(client->callback));
        }
        ServiceFixture::TearDown();
    }

    // A client that looks for devices while sharing is on, and a hub.
    void Discover()
    {
        BootOn();
        client = NewClient();
        client->Register();
        hub = NewClient();
        hub->RegisterAsHub();
        (void)client->TakeHeard();
        EXPECT_TRUE((*client)->StartDiscovery());
    }

    // What the client hears of a report.
    Lines Found(const ShareDevice& device)
    {
        Engine().Found(device);
        Settle();
        return client->TakeHeard();
    }
    Lines Lost(const ShareDevice& device)
    {
        Engine().Lost(device);
        Settle();
        return client->TakeHeard();
    }

    void Send(const std::string& entry)
    {
        EXPECT_TRUE((*client)->PrepareSend(Entry(entry)));
        BytesInfo bytes;
        bytes.bytesTitle = "note";
        EXPECT_TRUE((*client)->SendBytes(Entry(entry), bytes));
        Settle();
        (void)client->TakeHeard();
    }
    void Report(const std::string& deviceId, const std::function<void(ITransmitCallback&)>& report)
    {
        Engine().Report(deviceId, report);
        Settle();
    }

    std::unique_ptr<TestClient> client;
    std::unique_ptr<TestClient> hub;
};

ShareDevice FoundBy(const std::string& id, uint32_t flags)
{
    ShareDevice device = Peer(id);
    device.discoveredBy_ = flags;
    return device;
}

TEST_F(Discovery, StartsOnlyWhileSharingIsOnAndTheEngineTakesIt)
{
    Boot();
    auto first = NewClient();
    AllowError("Subscribe not share enable state");
    EXPECT_FALSE((*first)->StartDiscovery());
    EXPECT_FALSE(Engine().IsSubscribed());

    EXPECT_TRUE((*first)->SetShareEnable(STATE_SHARE_ENABLE, DETECTABLE_LASTING, false));
    Settle();
    AllowError("Subscribe false");
    Engine().Refuse("Subscribe");
    EXPECT_FALSE((*first)->StartDiscovery());
    EXPECT_TRUE((*first)->StartDiscovery());
    (void)Engine().TakeJournal();
    EXPECT_TRUE((*first)->StartDiscovery()); // starts are not counted
    EXPECT_EQ(Engine().TakeAsked(), "Subscribe");
    (void)Service()->StopDiscovery();
}

TEST_F(Discovery, StopsWithTheLastOrdinaryClient)
{
    Discover();
    auto second = NewClient();
    second->Register();
    (void)Found(Peer("phone", 42));
    (void)Engine().TakeJournal();
    EXPECT_TRUE((*client)->StopDiscovery());
    EXPECT_EQ(Engine().TakeAsked(), "");

    EXPECT_TRUE((*second)->UnRegisterTrellisCallback(second->callback));
    AllowError("UnSubscribe false");
    Engine().Refuse("UnSubscribe");
    EXPECT_FALSE((*client)->StopDiscovery());
    EXPECT_EQ(CacheMapManager::Sizes().allDevices, 1U);
    EXPECT_TRUE((*client)->StopDiscovery());
    EXPECT_EQ(Engine().TakeAsked(), "UnSubscribe 9024, UnSubscribe 9024");
    EXPECT_EQ(CacheMapManager::Sizes().allDevices, 0U);
    const auto listed = (*client)->GetAllUserList(); // entries stay, without what their members knew
    ASSERT_EQ(listed.size(), 1U);
    EXPECT_EQ(listed[0].deviceId, "42");
    EXPECT_EQ(listed[0].contactInfo.contactId, 0);

    EXPECT_TRUE((*client)->StopDiscovery());
    EXPECT_EQ(Engine().TakeAsked(), "");
}

TEST_F(Discovery, StopsForAnybodyWhenSharingIsOffAndForNobodyInFirstUse)
{
    Discover();
    auto second = NewClient();
    second->Register();
    EXPECT_TRUE((*client)->SetShareEnable(STATE_SHARE_FIRST_USE, UNDETECTABLE, false));
    Settle();
    (void)Engine().TakeJournal();
    EXPECT_TRUE((*second)->StopDiscovery());
    EXPECT_EQ(Engine().TakeAsked(), "");

    EXPECT_TRUE((*client)->SetShareEnable(STATE_SHARE_DISABLE, UNDETECTABLE, false));
    Settle();
    (void)Engine().TakeJournal();
    EXPECT_TRUE((*second)->StopDiscovery());
    EXPECT_EQ(Engine().TakeAsked(), "UnSubscribe 9024");
    EXPECT_TRUE((*second)->UnRegisterTrellisCallback(second->callback));
}

// A client may take its eight seconds over a callback; a stop must not wait for that.
TEST_F(Discovery, StopsWhileAClientIsBeingCalled)
{
    Discover();
    bool isStopped = false;
    client->callback->during = [&](const std::string&) {
        std::thread([&] { isStopped = Service()->StopDiscovery(); }).join();
    };
    (void)Found(Peer("phone"));
    EXPECT_TRUE(isStopped);
    EXPECT_FALSE(Engine().IsSubscribed());
}

TEST_F(Discovery, AnnouncesEveryReportByTheEntryAndALossWithItsLastMember)
{
    Discover();
    EXPECT_EQ(Found(Peer("phone")), Lines{"OnDeviceFound phone 101"});
    EXPECT_EQ(Found(Peer("phone")), Lines{"OnDeviceFound phone 101"});
    EXPECT_EQ(Found(Peer("A", 42, "Ann")), Lines{"OnDeviceFound 42 101"});
    EXPECT_EQ(Found(Peer("B", 42, "Ann")), Lines{"OnDeviceFound 42 101"});
    EXPECT_EQ(client->callback->lastDevice.btName, "Ann");
    EXPECT_EQ((*client)->GetAllUserList().size(), 2U);
    EXPECT_TRUE(hub->TakeHeard().empty());
    AllowError("RemoveFromMergeDeviceMap, 2 or more devices", "device is not found in AllDeviceMap",
        "IsOneInMergeDevice, GetShareDeviceInfoList size==0");
    EXPECT_EQ(Lost(Peer("A", 42)), Lines{});
    EXPECT_EQ(Lost(Peer("B", 42)), Lines{"OnDeviceLost 42"});
    EXPECT_EQ(hub->TakeHeard(), Lines{"OnDeviceLost 42"}); // though it never heard of it before
    EXPECT_EQ(Lost(Peer("B", 42)), Lines{});
}

TEST_F(Discovery, AnnouncesTheNewEntryBeforeTheOldOneIsLost)
{
    Discover();
    EXPECT_TRUE(CacheMapManager::InsertToBytesInfoMap("phone", BytesInfo())); // left behind by a refused send
    (void)Found(Peer("phone"));
    EXPECT_EQ(Found(Peer("phone", 42, "Ann")), (Lines{"OnDeviceFound 42 101", "OnDeviceLost phone"}));
    (void)Found(Peer("tablet", 42, "Ann"));
    EXPECT_EQ(Found(Peer("tablet")), Lines{"OnDeviceFound tablet 101"}); // 42 lives on
}

TEST_F(Discovery, KeepsALostDeviceForItsSend)
{
    Discover();
    (void)Found(Peer("phone"));
    Send("phone");
    EXPECT_EQ(Lost(Peer("phone")), Lines{});
    EXPECT_TRUE(View("phone").isDisappeared);
    EXPECT_FALSE((*client)->GetAllUserList().front().isDisappeared);   // lists never say so
    EXPECT_EQ(Found(Peer("phone")), Lines{"OnDeviceFound phone 108"}); // back, and still in its send
    EXPECT_FALSE(View("phone").isDisappeared);
    Report("phone", [](ITransmitCallback& transfer) { transfer.OnSuccess("", {}); });
    EXPECT_EQ(client->TakeHeard().size(), 1U); // the end, and no loss
    EXPECT_EQ(Lost(Peer("phone")), Lines{"OnDeviceLost phone"});
}

TEST_F(Discovery, MovesARunningSendToTheNewEntry)
{
    Discover();
    (void)Found(Peer("phone"));
    Send("phone");
    EXPECT_EQ(Found(Peer("phone", 42, "Ann")),
        (Lines{"OnDeviceFound 42 108", "OnDeviceLost phone", "OnSendBytes 42 title=note"}));
    Report("phone", [](ITransmitCallback& transfer) { transfer.OnProgess(30); });
    (void)client->TakeHeard();
    EXPECT_EQ(Found(Peer("phone", 43, "Bea")),
        (Lines{"OnDeviceFound 43 103", "OnDeviceLost 42", "OnCancel 42", "OnSendBytes 43 title=note"}));
    EXPECT_EQ(Found(Peer("phone", 43, "Bea")), Lines{"OnDeviceFound 43 103"});
    Report("phone", [](ITransmitCallback& transfer) { transfer.OnSuccess("", {}); });
}

TEST_F(Discovery, HandsTappedDevicesToTheEngineAndSeesThemComeBack)
{
    struct Row {
        const char* name;
        bool isDevice;
        uint32_t updateFlag;
        bool isTaken;
        int errorCode;
        const char* text; // which way out
    };
    const Row rows[] = {
        {"a device in a send, again", true, 1, true, 0, "OnDeviceFound: phone"},
        {"a device in a send", true, 0, false, TransferError::DEVICE_BUSY, "Device is already sending."},
        {"no device", false, 0, false, 0, "device nullptr."},
    };
    Discover();
    (void)Found(Peer("phone"));
    Send("phone");
    (void)Engine().TakeJournal();
    for (const Row& row : rows) {
        AllowError(row.text);
        int errorCode = 0;
        const sptr<ShareDevice> device = row.isDevice ? new ShareDevice(Peer("phone")) : nullptr;
        EXPECT_EQ(TrellisService::OnSynfoldDeviceFound(device, errorCode, row.updateFlag), row.isTaken) << row.name;
        EXPECT_EQ(errorCode, row.errorCode) << row.name;
        EXPECT_TRUE(Logged(row.text)) << row.name;
    }
    Settle();
    EXPECT_EQ(client->TakeHeard(), Lines{"OnDeviceFound phone 108"});
    EXPECT_EQ(Engine().TakeAsked(), "OnCollabDeviceFound phone 1");

    AllowError("OnCollabDeviceFound failed.");
    Engine().Refuse("OnCollabDeviceFound");
    int errorCode = 0;
    EXPECT_FALSE(TrellisService::OnSynfoldDeviceFound(new ShareDevice(Peer("tablet")), errorCode, 0));
    AllowError("ShareService disable.");
    EXPECT_TRUE((*client)->SetShareEnable(STATE_SHARE_DISABLE, UNDETECTABLE, false));
    Settle();
    EXPECT_FALSE(TrellisService::OnSynfoldDeviceFound(new ShareDevice(Peer("tablet")), errorCode, 0));
    EXPECT_EQ(errorCode, 0);
    Report("phone", [](ITransmitCallback& transfer) { transfer.OnSuccess("", {}); });
}

TEST_F(Discovery, ATapIsToldToHubsAndAGestureFlagServesOneSend)
{
    struct Row {
        const char* name;
        uint32_t asked; // what the client's record says
        bool clear;
        bool isGood;
        TransmitEventType type;
        const char* engine;
    };
    const Row rows[] = {
        {"ordinary", Discoverer::ORDINARY, true, true, TransmitEventType::ORDINARY, ""},
        {"looked at only", Discoverer::TAP, false, true, TransmitEventType::TAP, ""},
        {"tap before swing", 6, true, true, TransmitEventType::TAP, "ClearDiscovererFlag phone 2"},
        {"used up", Discoverer::TAP, true, false, TransmitEventType::ORDINARY, ""},
        {"tap before swing, used up", 6, true, false, TransmitEventType::ORDINARY, ""},
        {"swing", Discoverer::SWING, true, true, TransmitEventType::SWING, "ClearDiscovererFlag phone 4"},
        {"swing, used up", Discoverer::SWING, true, false, TransmitEventType::ORDINARY, ""},
    };
    AllowError("failed to get app mgr proxy", "alternativeCbs", "motionSenderCb_ nullptr"); // nobody wants the tap
    Discover();
    (void)Found(FoundBy("tablet", Discoverer::SWING));
    EXPECT_EQ(hub->TakeHeard(), Lines{});
    EXPECT_EQ(Found(FoundBy("phone", Discoverer::TAP | Discoverer::SWING)), Lines{"OnDeviceFound phone 101"});
    EXPECT_EQ(hub->TakeHeard(), Lines{"OnDeviceFound phone 101"}); // hubs hear of tapped devices alone
    (void)Engine().TakeJournal();
    AllowError("Discoverer not contain nudge", "Discoverer not contain swing");
    for (const Row& row : rows) {
        auto type = TransmitEventType::ORDINARY;
        const ShareDeviceInfo asked = Entry("phone", row.asked);
        EXPECT_EQ(TrellisService::CheckAndClearDeviceDiscoveredByFlag(asked, row.clear, type), row.isGood) << row.name;
        EXPECT_EQ(type, row.type) << row.name;
        EXPECT_EQ(Engine().TakeAsked(), row.engine) << row.name;
    }
}

// Two members of a contact lost at the same moment: the tile must not stay for ever.
TEST(LostTogether, ExactlyOneIsTheLast)
{
    constexpr int ROUNDS = 1000;
    std::atomic<int> arrived{0};
    std::array<std::vector<bool>, 2> wasLast;
    const auto meet = [&](int count) {
        ++arrived;
        for (int spin = 0; arrived < count; ++spin) {
            if (spin > 10000) { // the other one has no CPU just now
                std::this_thread::yield();
            }
        }
    };
    const auto loseEachRound = [&](size_t who, const std::string& id) {
        for (int round = 1; round <= ROUNDS; ++round) {
            Find(Device(id, 42));
            meet(4 * round - 2);
            wasLast[who].push_back(CacheMapManager::LeaveMergeDevice(Device(id, 42)).has_value());
            meet(4 * round);
        }
    };
    std::thread other([&] { loseEachRound(0, "A"); });
    loseEachRound(1, "B");
    other.join();
    wasLast[0].flip();
    EXPECT_EQ(wasLast[0], wasLast[1]);
    EXPECT_EQ(CacheMapManager::Sizes().mergeDevices, 0U);
}

} // namespace
} // namespace OHOS::Pelago
