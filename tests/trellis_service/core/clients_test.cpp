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
    AllowError("already registered.", "AddTrellisCallback failed");
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
    AllowError("already unregister.", "RemoveTrellisCallback failed!", "registered callback vector is empty.");
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
    AllowError("RemoveCorvaneShareApiTrellisCallback failed!", "registered corvaneShareApiCBCount vector is empty.");
}

TEST_F(Clients, AHubIsToldTheNumberOfClientsAndItsOwnListTellsNobody)
{
    Boot();
    AllowError("already registered.", "not find corvaneShareApiCBVector_.",
        "registered corvaneShareApiCBCount vector is empty.", "RemoveCorvaneShareApiTrellisCallback failed!");
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
    AllowError("RemoveTrellisCallback failed!", "registered callback vector is empty.", "already unregister.",
        "not find corvaneShareApiCBVector_.", "RemoveCorvaneShareApiTrellisCallback failed!",
        "is failed, error code: 2003"); // the hub that stays is called like the others
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

TEST_F(Clients, EventNamesDoOneThingEachAndAlwaysAnswerTrue)
{
    Boot();
    auto client = NewClient();
    const std::string name = "disconCorvaneShareApiServiceEx";
    EXPECT_TRUE((*client)->RegisterCorvaneShareApiEvent("anything"));
    EXPECT_TRUE((*client)->UnRegisterCorvaneShareApiEvent(name)); // this one is for registering alone
    AllowError("connectionCorvaneShareApi_ is nullptr");
    EXPECT_FALSE(Logged("connectionCorvaneShareApi_ is nullptr"));
    EXPECT_TRUE((*client)->RegisterCorvaneShareApiEvent(name));
    EXPECT_TRUE(Logged("connectionCorvaneShareApi_ is nullptr"));
}

} // namespace
} // namespace OHOS::Pelago
