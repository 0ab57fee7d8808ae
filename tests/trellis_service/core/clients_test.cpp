// Who is told: registration, removal and death of clients and of the hubs of the share API.

#include "recording_extension.h"
#include "service_fixture.h"

namespace OHOS::Pelago {
namespace {

class Clients : public ServiceFixture {
protected:
    static Lines Count(int clients)
    {
        return {"OnConnectHub trellisCBCount " + std::to_string(clients)};
    }
    static std::vector<size_t> Sizes()
    {
        TrellisService::ListSizes sizes = TrellisService::GetListSizes();
        return {sizes.trellisCallbacks, sizes.shareApiCallbacks, sizes.deathRecipients, sizes.callbackFlags};
    }
    static void Die(TestClient& client)
    {
        client.Kill();
        Settle();
    }
    static void Leave(TestClient& client)
    {
        EXPECT_TRUE(client->UnRegisterTrellisCallback(client.callback));
        (void)client.TakeHeard();
    }
};

TEST_F(Clients, EveryRegistrationTellsEverybodyTheirNumber)
{
    TestExtension extension;
    Boot();
    auto first = NewClient();
    auto second = NewClient();
    EXPECT_TRUE((*first)->RegisterTrellisCallback(first->callback));
    EXPECT_EQ(first->TakeHeard(), (Lines{"OnEnableStatusChanged", "OnConnectHub trellisCBCount 1"}));
    Settle();
    EXPECT_EQ(extension.TakeHeard(), Lines{"start ShareServiceExtension ShareIntent=send_notification"});
    EXPECT_TRUE((*second)->RegisterTrellisCallback(second->callback));
    Lines both{"OnEnableStatusChanged", "OnConnectHub trellisCBCount 2"};
    EXPECT_EQ(first->TakeHeard(), both);
    EXPECT_EQ(second->TakeHeard(), both);

    Settle();
    (void)extension.TakeHeard();
    AllowError("already registered.");
    AllowError("AddTrellisCallback failed");
    EXPECT_FALSE((*first)->RegisterTrellisCallback(first->callback));
    Settle();
    EXPECT_EQ(first->TakeHeard(), Lines());
    EXPECT_EQ(extension.TakeHeard(), Lines());

    EXPECT_TRUE((*second)->UnRegisterTrellisCallback(second->callback));
    EXPECT_EQ(first->TakeHeard(), Count(1));
    EXPECT_EQ(second->TakeHeard(), Lines());
    EXPECT_EQ(Sizes(), (std::vector<size_t>{1, 0, 1, 1}));
    Leave(*first);
    EXPECT_EQ(Sizes(), (std::vector<size_t>{0, 0, 0, 0}));
}

TEST_F(Clients, TheOnlyOneGoesWithoutAComparisonAndOneOfTwoDoesNot)
{
    Boot();
    for (const char* words :
        {"already unregister.", "RemoveTrellisCallback failed!", "registered callback vector is empty."}) {
        AllowError(words);
    }
    auto first = NewClient();
    auto second = NewClient();
    auto stranger = NewClient();
    first->Register();
    second->Register();
    (void)first->TakeHeard();
    EXPECT_FALSE((*stranger)->UnRegisterTrellisCallback(stranger->callback));
    EXPECT_EQ(first->TakeHeard(), Lines());
    Leave(*second);
    EXPECT_TRUE((*stranger)->UnRegisterTrellisCallback(stranger->callback));
    EXPECT_EQ(Sizes(), (std::vector<size_t>{0, 0, 1, 1})); // the first one's death is still watched
    EXPECT_FALSE((*first)->UnRegisterTrellisCallback(first->callback));
    Die(*first);
    EXPECT_TRUE(Logged("TrellisCallbackDeath end."));
    AllowError("RemoveCorvaneShareApiTrellisCallback failed!");
    AllowError("registered corvaneShareApiCBCount vector is empty.");
}

TEST_F(Clients, AHubIsToldTheNumberOfClientsAndItsOwnListTellsNobody)
{
    Boot();
    for (const char* words : {"already registered.", "not find corvaneShareApiCBVector_.",
             "registered corvaneShareApiCBCount vector is empty.", "RemoveCorvaneShareApiTrellisCallback failed!"}) {
        AllowError(words);
    }
    auto hub = NewClient();
    auto other = NewClient();
    auto client = NewClient();
    EXPECT_TRUE((*hub)->RegisterCorvaneShareApiTrellisCallback(hub->callback));
    EXPECT_FALSE((*hub)->RegisterCorvaneShareApiTrellisCallback(hub->callback));
    EXPECT_FALSE((*other)->UnRegisterCorvaneShareApiTrellisCallback(other->callback)); // always compared
    EXPECT_TRUE((*other)->RegisterCorvaneShareApiTrellisCallback(other->callback));
    EXPECT_EQ(hub->TakeHeard(), Lines());
    client->Register();
    EXPECT_EQ(hub->TakeHeard(), Count(1));
    EXPECT_EQ(other->TakeHeard(), Count(1));
    Leave(*client);
    EXPECT_EQ(hub->TakeHeard(), Count(0));
    EXPECT_TRUE((*hub)->UnRegisterCorvaneShareApiTrellisCallback(hub->callback));
    EXPECT_TRUE((*other)->UnRegisterCorvaneShareApiTrellisCallback(other->callback));
    EXPECT_FALSE((*hub)->UnRegisterCorvaneShareApiTrellisCallback(hub->callback));
    EXPECT_EQ(hub->TakeHeard(), Lines());
    EXPECT_EQ(Sizes(), (std::vector<size_t>{0, 0, 0, 0}));
}

TEST_F(Clients, ADeadClientLeavesAndTheLastOneStopsDiscovery)
{
    BootOn();
    auto first = NewClient();
    auto second = NewClient();
    first->Register();
    second->Register();
    (void)first->TakeHeard();
    EXPECT_TRUE((*first)->StartDiscovery());
    (void)Engine().TakeJournal();
    Die(*second);
    EXPECT_EQ(first->TakeHeard(), Count(1));
    EXPECT_EQ(Engine().TakeAsked(), "");
    Die(*first);
    EXPECT_EQ(Engine().TakeAsked(), "UnSubscribe 9024");
    EXPECT_EQ(Sizes(), (std::vector<size_t>{0, 0, 0, 0}));
}

// How many ordinary clients there are decides what becomes of a dead hub.
TEST_F(Clients, ADeadHubTakesTheOnlyClientWithItAndStays)
{
    Boot();
    AllowError("RemoveTrellisCallback failed!");
    AllowError("registered callback vector is empty.");
    AllowError("already unregister.");
    AllowError("not find corvaneShareApiCBVector_.");
    AllowError("RemoveCorvaneShareApiTrellisCallback failed!");
    AllowError("is failed, error code: 2003"); // the hub that stays is called like the others
    auto alone = NewClient();
    alone->RegisterAsHub();
    Die(*alone);
    EXPECT_EQ(Sizes(), (std::vector<size_t>{0, 0, 0, 0}));

    auto first = NewClient();
    auto second = NewClient();
    auto hub = NewClient();
    first->Register();
    second->Register();
    hub->RegisterAsHub();
    Die(*hub);
    EXPECT_EQ(Sizes(), (std::vector<size_t>{2, 0, 2, 2}));
    Leave(*second);

    auto last = NewClient();
    last->RegisterAsHub();
    (void)first->TakeHeard();
    Die(*last);
    EXPECT_EQ(Sizes(), (std::vector<size_t>{0, 1, 1, 1})); // the dead hub, and the watch over the innocent client
    EXPECT_EQ(first->TakeHeard(), Lines());
    first->Register(); // a second watch over the same object is not noted
    EXPECT_EQ(Sizes(), (std::vector<size_t>{1, 1, 1, 2}));
}

TEST_F(Clients, AFlagThatComesAroundStillNamesTheOlderCallback)
{
    Boot();
    AllowError("is failed, error code: 2003");
    auto oldest = NewClient();
    oldest->Register();
    auto visitor = NewClient();
    for (int flag = 2; flag <= 100; ++flag) {
        visitor->Register();
        Leave(*visitor);
    }
    auto newest = NewClient();
    newest->Register();
    EXPECT_EQ(Sizes(), (std::vector<size_t>{2, 0, 2, 1}));
    (void)oldest->TakeHeard();
    Die(*newest);
    EXPECT_EQ(Sizes(), (std::vector<size_t>{1, 0, 1, 0}));
    EXPECT_EQ(oldest->TakeHeard(), Lines()); // it is the one that went
    EXPECT_TRUE((*visitor)->UnRegisterTrellisCallback(visitor->callback));
    EXPECT_TRUE(oldest->Process().IsAlive());
}

TEST_F(Clients, ACallbackOfThisProcessIsKeptWithoutAWatch)
{
    Boot();
    sptr<RecordingCallback> local = new RecordingCallback();
    EXPECT_TRUE(Service()->RegisterTrellisCallback(local));
    EXPECT_EQ(Sizes(), (std::vector<size_t>{1, 0, 1, 1}));
    Service()->TrellisCallbackDeath(1); // nobody's death, and it still finds it
    EXPECT_EQ(Sizes(), (std::vector<size_t>{0, 0, 0, 0}));
    AllowError("callback is null in RegisterTrellisCallback!");
    AllowError("AddTrellisCallback failed");
    AllowError("callback is null in UnRegisterTrellisCallback!");
    auto client = NewClient();
    EXPECT_FALSE((*client)->RegisterTrellisCallback(nullptr));
    EXPECT_FALSE((*client)->UnRegisterTrellisCallback(nullptr));
}

TEST_F(Clients, ACallbackMayAskTheServiceWhileItIsCalled)
{
    BootOn();
    AllowError("GetShareDeviceInfoList, size==0"); // of nobody
    auto client = NewClient();
    int answered = 0;
    client->callback->during = [&](const std::string&) {
        ITrellisService& service = *client->operator->();
        EXPECT_TRUE(service.IsEnabled());
        EXPECT_EQ(service.GetEnableState(), STATE_SHARE_ENABLE);
        EXPECT_TRUE(service.GetAllUserList().empty());
        EXPECT_TRUE(service.GetSendingUserList().empty());
        EXPECT_TRUE(service.ApplyUriPermission("file://a"));
        EXPECT_TRUE(service.StartConnect());
        EXPECT_TRUE(service.StopConnect());
        EXPECT_TRUE(service.PrepareSend(Entry("nobody")));
        ++answered;
    };
    EXPECT_TRUE((*client)->RegisterTrellisCallback(client->callback));
    EXPECT_EQ(answered, 2);
    client->callback->during = nullptr;
    Leave(*client);
}

TEST_F(Clients, AHangingClientCostsEightSecondsAndNobodyItsTurn)
{
    BootOn();
    auto slow = NewClient();
    auto other = NewClient();
    slow->Register();
    other->Register();
    slow->Process().SetHanging(true);
    AllowError("SendRequest is failed, error code: 2004");
    int64_t before = Host::Scheduler::Instance().BootTimeMs();
    Service()->NotifyCallbackOnEnableStatusChanged();
    EXPECT_EQ(Host::Scheduler::Instance().BootTimeMs() - before, 8000);
    EXPECT_EQ(other->TakeHeard(), Lines{"OnEnableStatusChanged"});
    slow->Process().SetHanging(false);
    EXPECT_EQ(TrellisService::GetListSizes().trellisCallbacks, 2U); // slow is not gone
    Leave(*slow);
    Leave(*other);
}

TEST_F(Clients, EventNamesDoOneThingEachAndAlwaysAnswerTrue)
{
    Boot();
    auto client = NewClient();
    const std::string name = "disconCorvaneShareApiServiceEx";
    for (const std::string& other : {std::string("knockShare"), std::string("anything")}) {
        EXPECT_TRUE((*client)->RegisterCorvaneShareApiEvent(other));
        EXPECT_TRUE((*client)->UnRegisterCorvaneShareApiEvent(other));
    }
    EXPECT_TRUE((*client)->UnRegisterCorvaneShareApiEvent(name)); // this one is for registering alone
    AllowError("connectionCorvaneShareApi_ is nullptr");
    EXPECT_FALSE(Logged("connectionCorvaneShareApi_ is nullptr"));
    EXPECT_TRUE((*client)->RegisterCorvaneShareApiEvent(name));
    EXPECT_TRUE(Logged("connectionCorvaneShareApi_ is nullptr"));
}

} // namespace
} // namespace OHOS::Pelago
