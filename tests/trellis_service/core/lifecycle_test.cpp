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

constexpr int32_t A = ABILITY_OS_ACCOUNT;
constexpr int32_t D = ABILITY_DISTRIBUTED_DATA;
constexpr int32_t T = ABILITY_TIME;
INSTANTIATE_TEST_SUITE_P(InAnyOrder, LateAbilities,
    testing::ValuesIn(std::vector<std::vector<int32_t>>{{}, {A}, {D}, {T}, {A, D}, {D, A}, {A, T}, {T, A}, {D, T},
        {T, D}, {A, D, T}, {A, T, D}, {D, A, T}, {D, T, A}, {T, A, D}, {T, D, A}}));

TEST_F(Lifecycle, WhatIsThereAtTheStartIsNotWatched)
{
    BootWithout({D});
    Arrive(D);
    EXPECT_TRUE(Logged("OnAddSystemAbility systemAbilityId: 1301"));
    for (int32_t id : {A, T}) {
        SetPresent(id, false);
        Arrive(id);
        EXPECT_FALSE(Logged("OnAddSystemAbility systemAbilityId: " + std::to_string(id)));
    }
}

TEST_F(Lifecycle, TheOthersAreServedWhenTheyArrive)
{
    struct Late {
        int32_t id;
        const char* done;
    };
    const Late late[] = {{ABILITY_COMMON_EVENT, "SubscribeCommonEvent enter."},
        {ABILITY_WINDOW_MANAGER, "OnAddSystemAbility 4606"},
        {ABILITY_SYNFOLD_DETECT, "OnAddSystemAbility Synfold detect 70635"}};
    AllowError("GetShareStateInfoFromFile failed"); // the other user has none
    BootWithout({ABILITY_COMMON_EVENT, ABILITY_WINDOW_MANAGER, ABILITY_SYNFOLD_DETECT});
    EXPECT_TRUE(Switch()->IsEnabled()); // none of them holds that up
    EXPECT_TRUE(Logged("Add SYNFOLD_DETECT_ID listener"));
    EXPECT_FALSE(Logged("OnStart SYNFOLD_DETECT start"));
    for (const Late& ability : late) {
        EXPECT_FALSE(Logged(ability.done));
        Arrive(ability.id);
        EXPECT_TRUE(Logged(ability.done)) << ability.id;
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
    SetPresent(ABILITY_WIFI, false);
    Settle();
    EXPECT_FALSE(Switch()->IsEnabled());
    EXPECT_FALSE(Logged("EnableBluetoothToRestrictMode invoked"));
    SetPresent(ABILITY_BLUETOOTH_HOST, false);
    Settle();
    EXPECT_TRUE(Logged("EnableBluetoothToRestrictMode invoked"));
}

TEST_F(Lifecycle, AnEngineThatRefusesAStepKeepsWhatTheStepsBeforeDid)
{
    BootOn();
    struct Row {
        const char* refused;
        bool enable;
        bool published; // afterwards
        bool receiving;
        const char* words;
    };
    const Row rows[] = {
        {"nothing", true, true, true, nullptr},
        {"ConnectWithRetry", true, false, false, "connect ShareClient failed."},
        {"Publish", true, false, false, "Publish false"},
        {"RegisterReceiveListener", true, true, false, "RegisterReceiveListener false"},
        {"nothing", false, false, false, nullptr},
        {"ConnectWithRetry", false, true, true, "connect ShareClient failed."},
        {"UnPublish", false, true, true, "unPublish false"},
        {"UnRegisterReceiveListener", false, false, true, "UnRegisterReceiveListener false"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.refused) + (row.enable ? " on" : " off"));
        ASSERT_TRUE(Service()->SetPublishAndReceiveState(!row.enable));
        Engine().Refuse(row.refused);
        if (row.words != nullptr) {
            AllowError(row.words);
        }
        EXPECT_EQ(Service()->SetPublishAndReceiveState(row.enable), row.words == nullptr);
        EXPECT_EQ(Engine().IsPublished(), row.published);
        EXPECT_EQ(Engine().IsReceiving(), row.receiving);
        EXPECT_TRUE(row.words == nullptr || Logged(std::string("# ") + row.words));
        Engine().Refuse(row.refused, 0);
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
    EXPECT_EQ(TrellisService::GetListSizes().trellisCallbacks, 0U);
    EXPECT_FALSE(TrellisService::GetListSizes().senderActionCallback);
    EXPECT_EQ(TrellisService::GetListSizes().shareApiCallbacks, 1U);
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
}

} // namespace
} // namespace OHOS::Pelago
