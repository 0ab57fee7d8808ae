// How the service comes up beside what it depends on, makes the device visible, and stops.

#include "service_fixture.h"

namespace OHOS::Pelago {
namespace {

using Host::Device;

void SetPresent(int32_t id, bool present)
{
    Device::Instance().SetAbilityPresent(id, present);
}

class Lifecycle : public ServiceFixture {
protected:
    void SetUp() override
    {
        ServiceFixture::SetUp();
        AllowError("GetSystemAbility return nullptr, systemAbilityId=");
    }

    // Boots with sharing saved as on, while these abilities are away.
    void BootWithout(const std::vector<int32_t>& absent)
    {
        for (int32_t id : absent) {
            SetPresent(id, false);
        }
        Boot({STATE_SHARE_ENABLE, DETECTABLE_LASTING, 0});
    }
    static void Arrive(int32_t id)
    {
        SetPresent(id, true);
        Settle();
    }
};

// What is away at the start, in the order in which it comes.
class LateAbilities : public Lifecycle, public testing::WithParamInterface<std::vector<int32_t>> {};

constexpr int32_t A = ABILITY_OS_ACCOUNT;
constexpr int32_t D = ABILITY_DISTRIBUTED_DATA;
constexpr int32_t T = ABILITY_TIME;

TEST_P(LateAbilities, TheSavedStateIsLoadedWhenTheLastOfThreeIsThere)
{
    AllowError("GetForegroundOsAccountLocalId failed", "userId is invalid");
    BootWithout(GetParam());
    const std::string done = "OnAddSystemAbility systemAbilityId: ";
    for (int32_t id : GetParam()) {
        EXPECT_FALSE(Logged(done)) << "before " << id;
        Arrive(id);
    }
    EXPECT_TRUE(GetParam().empty() || Logged(done + std::to_string(GetParam().back())));
    EXPECT_TRUE(Switch()->IsEnabled());
    EXPECT_TRUE(Engine().IsPublished());
}

INSTANTIATE_TEST_SUITE_P(InAnyOrder, LateAbilities,
    testing::ValuesIn(std::vector<std::vector<int32_t>>{{}, {A}, {D}, {T}, {A, D}, {D, A}, {A, T}, {T, A}, {D, T},
        {T, D}, {A, D, T}, {A, T, D}, {D, A, T}, {D, T, A}, {T, A, D}, {T, D, A}}));

TEST_F(Lifecycle, TheOthersAreServedWhenTheyArriveAndWhatIsThereAtTheStartIsNotWatched)
{
    const std::pair<int32_t, const char*> late[] = {{ABILITY_COMMON_EVENT, "SubscribeCommonEvent enter."},
        {ABILITY_WINDOW_MANAGER, "OnAddSystemAbility 4606"},
        {ABILITY_SYNFOLD_DETECT, "OnAddSystemAbility Synfold detect 70635"}};
    AllowError("GetShareStateInfoFromFile failed"); // the other user has none
    BootWithout({ABILITY_COMMON_EVENT, ABILITY_WINDOW_MANAGER, ABILITY_SYNFOLD_DETECT});
    EXPECT_TRUE(Switch()->IsEnabled()); // none of them holds that up
    EXPECT_TRUE(Logged("Add SYNFOLD_DETECT_ID listener"));
    EXPECT_FALSE(Logged("OnStart SYNFOLD_DETECT start"));
    for (const auto& [id, done] : late) {
        EXPECT_FALSE(Logged(done));
        Arrive(id);
        EXPECT_TRUE(Logged(done)) << id;
    }
    for (int32_t id : {A, T}) {
        SetPresent(id, false);
        Arrive(id);
        EXPECT_FALSE(Logged("OnAddSystemAbility systemAbilityId: " + std::to_string(id)));
    }
    EXPECT_TRUE(Device::Instance().SwitchUser(OTHER_USER)); // heard by the events that were subscribed late
    Settle();
    EXPECT_FALSE(Switch()->IsEnabled());
}

TEST_F(Lifecycle, ALostRadioServiceEndsSharingAndOnlyBluetoothsIsAskedAgain)
{
    BootOn();
    AllowError("wifiDevice is nullptr");
    Switch()->EnableBluetoothToRestrictModeInDelay();
    for (int32_t id : {ABILITY_WIFI, ABILITY_BLUETOOTH_HOST}) {
        SetPresent(id, false);
        Settle();
        EXPECT_FALSE(Switch()->IsEnabled());
        EXPECT_EQ(Logged("EnableBluetoothToRestrictMode invoked"), id == ABILITY_BLUETOOTH_HOST);
    }
}

TEST_F(Lifecycle, AStopLetsGoOfTheListenersForGoodAndOfTheHubsOnlyAtTheNextStart)
{
    BootOn();
    auto client = NewClient();
    client->Register();
    EXPECT_TRUE((*client)->RegisterSenderActionCallback(client->senderAction));
    auto hub = NewClient();
    hub->RegisterAsHub();
    (void)client->TakeHeard();
    sptr<TrellisService> service = Service();
    (void)Engine().TakeJournal();
    StopService();
    EXPECT_EQ(Engine().TakeAsked(), ""); // nothing is taken back
    EXPECT_EQ(client->TakeHeard(), Lines());
    const auto sizes = TrellisService::GetListSizes();
    EXPECT_TRUE(sizes.trellisCallbacks == 0 && !sizes.senderActionCallback && sizes.shareApiCallbacks == 1);
    AllowError("Publish listener or Receive listener is null");
    EXPECT_FALSE(service->SetPublishAndReceiveState(true));

    Boot();
    EXPECT_EQ(TrellisService::GetListSizes().shareApiCallbacks, 0U);
    AllowError("receiveListener is null", "SetDetectableState", "registered callback vector is empty.",
        "RemoveTrellisCallback failed!", "registered corvaneShareApiCBCount vector is empty.",
        "RemoveCorvaneShareApiTrellisCallback failed!", "already unregistered.",
        "listener"); // whatever discovery calls its missing one
    EXPECT_FALSE(Service()->SetPublishAndReceiveState(true));
    EXPECT_FALSE(Service()->StartDiscovery());
    EXPECT_EQ(Service()->GetPreviewData(), "");
    EXPECT_FALSE(Service()->RegisterSenderActionCallback(new RecordingSenderAction()));
    EXPECT_TRUE(TrellisService::GetListSizes().senderActionCallback); // kept all the same
    EXPECT_EQ(Engine().TakeAsked(), "");
}

TEST_F(Lifecycle, APlainEnableWithoutARadioAsksTheUser)
{
    Boot({STATE_SHARE_DISABLE, UNDETECTABLE, 0});
    Device::Instance().SwitchWifi(Host::WifiMode::OFF);
    Settle();
    (void)(*NewClient())->SetShareEnable(STATE_SHARE_ENABLE, DETECTABLE_LASTING, false);
    Settle();
    EXPECT_TRUE(Logged("StartEnableConfirmDialog exit"));
}

TEST_F(Lifecycle, TheAccountIsToldOnlyWhenTheUserPermitsIt)
{
    Boot();
    ASSERT_TRUE(Device::Instance().SetAccount(USER, {"name", "hash", 1, 2, "Ann", "face"}));
    auto client = NewClient();
    AllowError("GetAccountInfo permission denied");
    EXPECT_EQ((*client)->GetAccountInfo().nickName, "");
    EXPECT_TRUE((*client)->SetShareAccountPermission(1));
    ShareAccountInfo account = (*client)->GetAccountInfo();
    EXPECT_EQ(
        account.corvaneAccountID + account.corvaneAccountIDHash + account.nickName + account.avatar, "namehashAnnface");
    EXPECT_TRUE(account.status == 1 && account.callingUid == 2);
}

} // namespace
} // namespace OHOS::Pelago
