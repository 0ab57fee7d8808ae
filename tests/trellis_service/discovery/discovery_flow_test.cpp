// What clients and a hub of the share API hear of the devices that the engine reports.

#include <thread>

#include "ipc_types.h"
#include "sharing_scene.h"

namespace OHOS::Pelago {
namespace {

class Discovery : public SharingScene {
protected:
    void SetUp() override
    {
        SharingScene::SetUp();
        JoinHub();
    }
    void Turn(int32_t state)
    {
        EXPECT_TRUE((*client)->SetShareEnable(state, state == STATE_SHARE_ENABLE ? DETECTABLE_LASTING : 0, false));
        LookAway();
    }
    static bool IsDisappeared(const std::string& id)
    {
        return CacheMapManager::ChangeToShareDeviceInfo(Entry(id)).isDisappeared;
    }
};

ShareDevice FoundBy(const std::string& id, uint32_t flags)
{
    ShareDevice device = Peer(id);
    device.discoveredBy_ = flags;
    return device;
}

TEST_F(Discovery, StartsOnlyWhileSharingIsOnAndTheEngineTakesIt)
{
    AllowError("Subscribe not share enable state", "Subscribe false");
    Turn(STATE_SHARE_DISABLE);
    EXPECT_FALSE((*client)->StartDiscovery());
    EXPECT_EQ(Engine().TakeAsked(), "");
    Turn(STATE_SHARE_ENABLE);
    Engine().Refuse("Subscribe");
    EXPECT_FALSE((*client)->StartDiscovery());
    EXPECT_TRUE((*client)->StartDiscovery());
    EXPECT_TRUE((*client)->StartDiscovery()); // starts are not counted
    EXPECT_EQ(Engine().TakeAsked(), "Subscribe, Subscribe, Subscribe");
}

TEST_F(Discovery, StopsWithTheLastOrdinaryClientAndForAnybodyWhenSharingIsOff)
{
    AllowError("UnSubscribe false");
    auto second = NewClient();
    second->Register();
    (void)Found(Peer("phone", 42));
    for (int32_t state : {STATE_SHARE_ENABLE, STATE_SHARE_FIRST_USE}) { // and for nobody in first use
        Turn(state);
        EXPECT_TRUE((*second)->StopDiscovery());
        EXPECT_EQ(Engine().TakeAsked(), "");
    }
    Turn(STATE_SHARE_DISABLE);
    Engine().Refuse("UnSubscribe");
    EXPECT_FALSE((*second)->StopDiscovery());
    EXPECT_EQ(CacheMapManager::Sizes().allDevices, 1U);
    EXPECT_TRUE((*second)->StopDiscovery());
    EXPECT_EQ(Engine().TakeAsked(), "UnSubscribe 9024, UnSubscribe 9024");
    EXPECT_EQ(CacheMapManager::Sizes().allDevices, 0U);
    const auto listed = (*client)->GetAllUserList(); // entries stay, without what their members knew
    ASSERT_EQ(listed.size(), 1U);
    EXPECT_EQ(listed[0].deviceId, "42");
    EXPECT_EQ(listed[0].contactInfo.contactId, 0);

    Turn(STATE_SHARE_ENABLE);
    EXPECT_TRUE((*client)->StartDiscovery());
    EXPECT_TRUE((*second)->UnRegisterTrellisCallback(second->callback));
    EXPECT_TRUE((*client)->StopDiscovery());
    EXPECT_TRUE((*client)->StopDiscovery());
    EXPECT_EQ(Engine().TakeAsked(), "Subscribe, UnSubscribe 9024");
}

// A client may take its eight seconds over a callback; a stop must not wait for that.
TEST_F(Discovery, StopsWhileAClientIsBeingCalled)
{
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
    AllowError("RemoveFromMergeDeviceMap, 2 or more devices", "device is not found in AllDeviceMap",
        "IsOneInMergeDevice, GetShareDeviceInfoList size==0");
    EXPECT_EQ(Found(Peer("phone")), Lines{"OnDeviceFound phone 101"});
    EXPECT_EQ(Found(Peer("phone")), Lines{"OnDeviceFound phone 101"});
    EXPECT_EQ(Found(Peer("A", 42, "Ann")), Lines{"OnDeviceFound 42 101"});
    EXPECT_EQ(Found(Peer("B", 42, "Ann")), Lines{"OnDeviceFound 42 101"});
    EXPECT_EQ(client->callback->lastDevice.btName, "Ann");
    EXPECT_EQ((*client)->GetAllUserList().size(), 2U);
    EXPECT_TRUE(hub->TakeHeard().empty());
    EXPECT_EQ(Lost(Peer("A", 42)), Lines{});
    EXPECT_EQ(Lost(Peer("B", 42)), Lines{"OnDeviceLost 42"});
    EXPECT_EQ(hub->TakeHeard(), Lines{"OnDeviceLost 42"}); // though it never heard of it before
    EXPECT_EQ(Lost(Peer("B", 42)), Lines{});
}

TEST_F(Discovery, AnnouncesTheNewEntryBeforeTheOldOneIsLostAndMovesARunningSendThere)
{
    EXPECT_TRUE(CacheMapManager::InsertToBytesInfoMap("phone", BytesInfo())); // left behind by a refused send
    (void)Found(Peer("phone"));
    EXPECT_EQ(Found(Peer("phone", 41, "Ada")), (Lines{"OnDeviceFound 41 101", "OnDeviceLost phone"}));
    (void)Found(Peer("tablet", 41, "Ada"));
    EXPECT_EQ(Found(Peer("phone")), Lines{"OnDeviceFound phone 101"}); // 41 lives on
    (void)CacheMapManager::RemoveFromBytesInfoMap("phone");
    (void)SendText("phone");
    EXPECT_EQ(Found(Peer("phone", 42, "Ann")),
        (Lines{"OnDeviceFound 42 108", "OnDeviceLost phone", "OnSendBytes 42 title=note"}));
    (void)Progress("phone", 30);
    EXPECT_EQ(Found(Peer("phone", 43, "Bea")),
        (Lines{"OnDeviceFound 43 103", "OnDeviceLost 42", "OnCancel 42", "OnSendBytes 43 title=note"}));
    EXPECT_EQ(Found(Peer("phone", 43, "Bea")), Lines{"OnDeviceFound 43 103"});
    (void)Success("phone");
}

TEST_F(Discovery, KeepsALostDeviceForItsSend)
{
    (void)Found(Peer("phone"));
    (void)SendText("phone");
    EXPECT_EQ(Lost(Peer("phone")), Lines{});
    EXPECT_TRUE(IsDisappeared("phone"));
    EXPECT_FALSE((*client)->GetAllUserList().front().isDisappeared);   // lists never say so
    EXPECT_EQ(Found(Peer("phone")), Lines{"OnDeviceFound phone 108"}); // back, and still in its send
    EXPECT_FALSE(IsDisappeared("phone"));
    EXPECT_EQ(Success("phone").size(), 1U); // the end, and no loss
    EXPECT_EQ(Lost(Peer("phone")), Lines{"OnDeviceLost phone"});
    (void)Found(Peer("phone"));
    (void)SendText("phone");
    TrellisService::OnDeviceNewStateRetrieve(Entry("phone")); // an end has begun, and asks no more
    EXPECT_EQ(Lost(Peer("phone")), Lines{"OnDeviceLost phone"});
}

TEST_F(Discovery, HandsTappedDevicesToTheEngineAndSeesThemComeBack)
{
    int errorCode = 0;
    const auto tap = [&errorCode](const char* id, uint32_t updateFlag) {
        const sptr<ShareDevice> device = id == nullptr ? nullptr : new ShareDevice(Peer(id));
        return TrellisService::OnSynfoldDeviceFound(device, errorCode, updateFlag);
    };
    AllowError("Device is already sending.", "device nullptr.", "OnCollabDeviceFound failed.", "ShareService disable.");
    (void)Found(Peer("phone"));
    (void)SendText("phone");
    EXPECT_TRUE(tap("phone", 1)); // in a send, again
    EXPECT_FALSE(tap(nullptr, 0));
    EXPECT_EQ(errorCode, 0);
    EXPECT_FALSE(tap("phone", 0));
    EXPECT_EQ(errorCode, TransferError::DEVICE_BUSY);
    EXPECT_EQ(Heard(), Lines{"OnDeviceFound phone 108"});
    errorCode = 0;
    Engine().Refuse("OnCollabDeviceFound");
    EXPECT_FALSE(tap("tablet", 0));
    EXPECT_EQ(Engine().TakeAsked(), "OnCollabDeviceFound phone 1, OnCollabDeviceFound tablet 0");
    Turn(STATE_SHARE_DISABLE);
    EXPECT_FALSE(tap("tablet", 0));
    EXPECT_EQ(errorCode, 0);
    for (const char* text : {"device nullptr.", "OnCollabDeviceFound failed.", "ShareService disable."}) {
        EXPECT_TRUE(Logged(text));
    }
    (void)Success("phone");
}

TEST_F(Discovery, ATapIsToldToHubsAndAGestureFlagServesOneSend)
{
    // What the client's record says, whether the flag is cleared; what comes of it.
    const std::tuple<uint32_t, bool, bool, TransmitEventType, const char*> rows[] = {
        {Discoverer::ORDINARY, true, true, TransmitEventType::ORDINARY, ""},
        {Discoverer::TAP, false, true, TransmitEventType::TAP, ""},
        {Discoverer::TAP | Discoverer::SWING, true, true, TransmitEventType::TAP, "ClearDiscovererFlag phone 2"},
        {Discoverer::TAP, true, false, TransmitEventType::ORDINARY, ""}, // used up
        {Discoverer::TAP | Discoverer::SWING, true, false, TransmitEventType::ORDINARY, ""},
        {Discoverer::SWING, true, true, TransmitEventType::SWING, "ClearDiscovererFlag phone 4"},
        {Discoverer::SWING, true, false, TransmitEventType::ORDINARY, ""},
    };
    AllowError("failed to get app mgr proxy", "alternativeCbs", "motionSenderCb_ nullptr"); // nobody wants the tap
    AllowError("Discoverer not contain nudge", "Discoverer not contain swing");
    (void)Found(FoundBy("tablet", Discoverer::SWING));
    EXPECT_EQ(hub->TakeHeard(), Lines{});
    EXPECT_EQ(Found(FoundBy("phone", Discoverer::TAP | Discoverer::SWING)), Lines{"OnDeviceFound phone 101"});
    EXPECT_EQ(hub->TakeHeard(), Lines{"OnDeviceFound phone 101"}); // hubs hear of tapped devices alone
    LookAway();
    for (const auto& [asked, clear, isGood, expected, engine] : rows) {
        auto type = TransmitEventType::ORDINARY;
        EXPECT_EQ(TrellisService::CheckAndClearDeviceDiscoveredByFlag(Entry("phone", asked), clear, type), isGood);
        EXPECT_EQ(type, expected) << asked;
        EXPECT_EQ(Engine().TakeAsked(), engine);
    }
}

} // namespace
} // namespace OHOS::Pelago
