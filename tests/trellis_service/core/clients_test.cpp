// Who is told: registration, removal and death of clients and of the hubs of the share API.

#include "recording_extension.h"
#include "service_fixture.h"

namespace OHOS::Pelago {
namespace {

class Clients : public ServiceFixture {
protected:
    void SetUp() override
    {
        ServiceFixture::SetUp();
        Boot();
        AllowError("already registered.", "AddTrellisCallback failed", "already unregister.",
            "RemoveTrellisCallback failed!", "registered callback vector is empty.",
            "not find corvaneShareApiCBVector_.", "registered corvaneShareApiCBCount vector is empty.",
            "RemoveCorvaneShareApiTrellisCallback failed!", "is failed, error code: 2003"); // the dead are called too
    }

    // Clients have small letters, hubs capital ones: "+a -B xc" registers a, unregisters B and kills c. Gives whom the
    // service told what, in order, "s" for the switch, a number for that of the clients, and "no" for what it refused;
    // then how many clients, hubs, watched deaths and flags there are.
    std::string Play(const std::string& steps)
    {
        told_.clear();
        std::istringstream all(steps);
        for (std::string step; all >> step;) {
            Do(step[0], step[1]);
            Settle();
        }
        const TrellisService::ListSizes sizes = TrellisService::GetListSizes();
        return told_ + "| " + std::to_string(sizes.trellisCallbacks) + " " + std::to_string(sizes.shareApiCallbacks) +
               " " + std::to_string(sizes.deathRecipients) + " " + std::to_string(sizes.callbackFlags);
    }
    TestClient& Of(char name)
    {
        auto& client = clients_[name];
        if (client == nullptr) {
            client = NewClient();
            client->callback->during = [this, name](const std::string& line) {
                told_ += name + (line == "OnEnableStatusChanged" ? "s " : line.substr(line.rfind(' ') + 1) + " ");
                EXPECT_TRUE(line == "OnEnableStatusChanged" || line.find("OnConnectHub trellisCBCount ") == 0) << line;
            };
        }
        return *client;
    }

private:
    void Do(char verb, char name)
    {
        TestClient& client = Of(name);
        const auto& callback = client.callback;
        const bool isHub = std::isupper(name) != 0;
        if (verb == 'x') {
            client.Kill();
        } else if (verb == '+' ? !(isHub ? client->RegisterCorvaneShareApiTrellisCallback(callback)
                                         : client->RegisterTrellisCallback(callback))
                               : !(isHub ? client->UnRegisterCorvaneShareApiTrellisCallback(callback)
                                         : client->UnRegisterTrellisCallback(callback))) {
            told_ += "no ";
        }
    }

    std::map<char, std::unique_ptr<TestClient>> clients_;
    std::string told_;
};

TEST_F(Clients, EveryRegistrationTellsEverybodyTheirNumberTheOldestFirst)
{
    TestExtension extension;
    EXPECT_EQ(Play("+a"), "as a1 | 1 0 1 1");
    EXPECT_EQ(extension.TakeHeard(), Lines{"start ShareServiceExtension ShareIntent=send_notification"});
    EXPECT_EQ(Play("+b"), "as a2 bs b2 | 2 0 2 2");
    (void)extension.TakeHeard();
    EXPECT_EQ(Play("+a"), "no | 2 0 2 2");
    EXPECT_EQ(extension.TakeHeard(), Lines());
    EXPECT_EQ(Play("-b"), "a1 | 1 0 1 1");
    EXPECT_EQ(Play("-a"), "| 0 0 0 0");
}

TEST_F(Clients, TheOnlyOneGoesWithoutAComparisonAndOneOfTwoDoesNot)
{
    (void)Play("+a +b");
    EXPECT_EQ(Play("-c"), "no | 2 0 2 2");
    EXPECT_EQ(Play("-b -c"), "a1 | 0 0 1 1"); // the first one's death is still watched
    EXPECT_EQ(Play("-a"), "no | 0 0 1 1");
    (void)Play("xa");
    EXPECT_TRUE(Logged("TrellisCallbackDeath end."));
}

TEST_F(Clients, AHubIsToldTheNumberOfClientsAndItsOwnListTellsNobody)
{
    EXPECT_EQ(Play("+A +A -B +B"), "no no | 0 2 2 2"); // always compared
    EXPECT_EQ(Play("+c"), "cs c1 A1 B1 | 1 2 3 3");
    EXPECT_EQ(Play("-c"), "A0 B0 | 0 2 2 2");
    EXPECT_EQ(Play("-A -B -A"), "no | 0 0 0 0");
}

TEST_F(Clients, ADeadClientLeavesAndTheLastOneStopsDiscovery)
{
    (void)Play("+a +b");
    EXPECT_TRUE(Of('a')->SetShareEnable(STATE_SHARE_ENABLE, DETECTABLE_LASTING, false));
    Settle();
    EXPECT_TRUE(Of('a')->StartDiscovery());
    (void)Engine().TakeJournal();
    EXPECT_EQ(Play("xb"), "a1 | 1 0 1 1");
    EXPECT_EQ(Engine().TakeAsked(), "");
    EXPECT_EQ(Play("xa"), "| 0 0 0 0");
    EXPECT_EQ(Engine().TakeAsked(), "UnSubscribe 9024");
}

// How many ordinary clients there are decides what becomes of a dead hub.
TEST_F(Clients, ADeadHubTakesTheOnlyClientWithItAndStays)
{
    EXPECT_EQ(Play("+A xA"), "| 0 0 0 0");
    (void)Play("+b +c +D");
    EXPECT_EQ(Play("xD"), "| 2 0 2 2");
    (void)Play("-c +E");
    EXPECT_EQ(Play("xE"), "| 0 1 1 1");       // the dead hub, and the watch over the innocent client
    EXPECT_EQ(Play("+b"), "bs b1 | 1 1 1 2"); // a second watch over the same object is not noted
}

TEST_F(Clients, AFlagThatComesAroundStillNamesTheOlderCallback)
{
    (void)Play("+a");
    for (int flag = 2; flag <= 100; ++flag) {
        (void)Play("+b -b");
    }
    EXPECT_EQ(Play("+c"), "as a2 cs c2 | 2 0 2 1");
    EXPECT_EQ(Play("xc"), "| 1 0 1 0"); // the oldest is the one that went
    EXPECT_TRUE(Of('a').Process().IsAlive());
}

TEST_F(Clients, EventNamesDoOneThingEachAndAlwaysAnswerTrue)
{
    const std::string name = "disconCorvaneShareApiServiceEx";
    AllowError("connectionCorvaneShareApi_ is nullptr");
    EXPECT_TRUE(Of('a')->RegisterCorvaneShareApiEvent("anything"));
    EXPECT_TRUE(Of('a')->UnRegisterCorvaneShareApiEvent(name)); // this one is for registering alone
    EXPECT_FALSE(Logged("connectionCorvaneShareApi_ is nullptr"));
    EXPECT_TRUE(Of('a')->RegisterCorvaneShareApiEvent(name));
    EXPECT_TRUE(Logged("connectionCorvaneShareApi_ is nullptr"));
}

} // namespace
} // namespace OHOS::Pelago
