#include "common_event_data.h"
#include "switch/broadcast_receiver.h"
#include "switch_scene.h"

namespace OHOS::Pelago {
namespace {

using Action = ShareSwitchManager::RadioAction;

// In the order of precedence: each row but the first ones would be answered otherwise without the facts above it.
TEST(RadioChange, IsAnsweredByTheFirstRowThatFits)
{
    struct Row {
        const char* name;
        ShareSwitchManager::RadioFacts facts; // available, good news, state, owes a write, enabling, state to return to
        Action action;
    };
    const Row rows[] = {
        {"nothing is wanted", {true, true, 2, false, false, 2}, Action::KEEP},
        {"one radio of two is up, whatever else", {false, true, 1, true, true, 1}, Action::IGNORE_HALF},
        {"on, and a radio is lost", {false, false, 1, true, true, 1}, Action::DISABLE},
        {"off is not written yet", {false, false, 2, true, true, 1}, Action::SYNC},
        {"a request waits and the radios are there", {true, true, 2, true, true, 1}, Action::ASK_AGAIN},
        {"a request waits and a radio dropped", {false, false, 2, false, true, 1}, Action::ASK_AGAIN},
        {"a request waits, though on", {true, true, 1, false, true, 1}, Action::ASK_AGAIN},
        {"on, and the radios are there", {true, false, 1, false, false, 1}, Action::KEEP},
        {"off, once on, and the radios are back", {true, true, 2, true, false, 1}, Action::RECOVER},
        {"first use, once on by another user", {true, false, 0, false, false, 1}, Action::RECOVER},
        {"off, once on, a radio is missing", {false, false, 2, false, false, 1}, Action::KEEP},
        {"off by choice, and the radios are back", {true, true, 2, false, false, 2}, Action::KEEP},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(ShareSwitchManager::DecideOnRadioChange(row.facts), row.action) << row.name;
    }
}

class SwitchRadios : public SwitchScene {};

TEST_F(SwitchRadios, LostTakeSharingDownAndBackBringItUp)
{
    Boot({1, 3, 1});
    Wifi(WifiMode::OFF);
    EXPECT_EQ(Kept(), "2,0 | 2,0,1 | 2,0 2,0 | 1,3");
    EXPECT_EQ(Heard(), 1);
    Bluetooth(BluetoothMode::OFF);
    Wifi(WifiMode::ON);
    EXPECT_EQ(State().enableState, STATE_SHARE_DISABLE); // one of two is not enough
    EXPECT_TRUE(Logged("no need to handle, wifi or ble is not available"));
    Bluetooth(BluetoothMode::BLE_ONLY); // and BLE is all that is needed
    EXPECT_EQ(Kept(), "1,3 | 1,3,1 | 1,3 1,3 | 1,3");
    EXPECT_EQ(Heard(), 1);
}

TEST_F(SwitchRadios, DoNotBringBackAnOffThatWasChosenWhileOn)
{
    Boot({1, 2, 0});
    TurnOff();
    Wifi(WifiMode::OFF);
    Wifi(WifiMode::ON);
    EXPECT_EQ(State().enableState, STATE_SHARE_DISABLE);
}

// Meant: from off the same off only persists again, so the way back stays open; with a type it is a new off.
TEST_F(SwitchRadios, BringBackSharingAfterAnOffThatWasOneAlready)
{
    Boot({1, 2, 0});
    Wifi(WifiMode::OFF);
    TurnOff();
    EXPECT_EQ(File(RECOVER), "1,2");
    Wifi(WifiMode::ON);
    EXPECT_EQ(State().enableState, STATE_SHARE_ENABLE);
    Wifi(WifiMode::OFF);
    Ask(STATE_SHARE_DISABLE, DETECTABLE_TIMED);
    EXPECT_EQ(File(RECOVER), "2,0");
}

TEST_F(SwitchRadios, BringBackSharingAfterARestartInBetween)
{
    WriteFields(StateFile(USER, RECOVER), {1, 3});
    Boot({2, 0, 1});
    EXPECT_EQ(Kept(), "1,3 | 1,3,1 | 1,3 1,3 | 1,3");
}

TEST_F(SwitchRadios, MissingAtStartAreWaitedForAndNotStarted)
{
    Wifi(WifiMode::OFF);
    Boot({1, 2, 0});
    EXPECT_EQ(State().enableState, STATE_SHARE_DISABLE);
    EXPECT_FALSE(State().isEnabling);
    Wifi(WifiMode::ON);
    EXPECT_EQ(Kept(), "1,2 | 1,2,0 | 1,2 1,2 | 1,2");
}

TEST_F(SwitchRadios, WhoseAbilityGoesAreLostToo)
{
    Boot({1, 2, 0});
    SetAbility(Host::AbilityId::WIFI, false);
    AllowError("wifiDevice is nullptr");
    EXPECT_EQ(State().enableState, STATE_SHARE_DISABLE);
    SetAbility(Host::AbilityId::WIFI, true);
    EXPECT_EQ(State().enableState, STATE_SHARE_ENABLE);
}

// Radios that restart themselves. Both behave alike.
struct Healing {
    const char* name;
    const char* beginEvent;
    void (*lose)();
    void (*comeBack)();
    bool ShareSwitchManager::Snapshot::*flag;
};

const Healing HEALINGS[] = {
    {"Wifi", Host::EventName::WIFI_SEMI_STATE, [] { Device::Instance().SwitchWifi(WifiMode::OFF); },
        [] { Device::Instance().SwitchWifi(WifiMode::SEMI); }, &ShareSwitchManager::Snapshot::wifiSelfHealing},
    {"Bluetooth", Host::EventName::BLUETOOTH_RESTRICT, [] { Device::Instance().SwitchBluetooth(BluetoothMode::OFF); },
        [] { Device::Instance().SwitchBluetooth(BluetoothMode::BLE_ONLY); },
        &ShareSwitchManager::Snapshot::btSelfHealing},
};

class SwitchHealing : public SwitchScene, public testing::WithParamInterface<Healing> {
protected:
    static constexpr int64_t LOSS_MS = 500;

    // On, and the radio goes down as it said it would. The three seconds run.
    void BootHealing()
    {
        Boot({1, 2, 0});
        Publish(GetParam().beginEvent, 0);
        ASSERT_TRUE(State().*GetParam().flag);
        GetParam().lose();
        Advance(LOSS_MS);
    }
};

TEST_P(SwitchHealing, InTimeLeavesNoTraceInFileAndSettings)
{
    BootHealing();
    EXPECT_EQ(Kept(), "2,0 | 1,2,0 | 1,2 1,2 | 1,2");
    EXPECT_EQ(Heard(), 1); // clients hear the dip
    GetParam().comeBack();
    Advance(RADIO_MS);
    EXPECT_EQ(Kept(), "1,2 | 1,2,0 | 1,2 1,2 | 1,2");
    EXPECT_FALSE(State().*GetParam().flag);
    EXPECT_EQ(Deadlines(), 0U);
}

TEST_P(SwitchHealing, ThatTakesTooLongIsALoss)
{
    BootHealing();
    Advance(ShareSwitchManager::SELF_HEAL_TIMEOUT_MS - LOSS_MS - 1);
    EXPECT_EQ(File(STATE), "1,2,0");
    Advance(1);
    EXPECT_EQ(Kept(), "2,0 | 2,0,0 | 2,0 2,0 | 1,2");
    EXPECT_FALSE(State().*GetParam().flag);
    GetParam().comeBack();
    Advance(RADIO_MS);
    EXPECT_EQ(State().enableState, STATE_SHARE_ENABLE);
}

TEST_P(SwitchHealing, CountsFromTheLastBegin)
{
    Boot({1, 2, 0});
    Publish(GetParam().beginEvent, 0);
    Advance(ShareSwitchManager::SELF_HEAL_TIMEOUT_MS - 1);
    Publish(GetParam().beginEvent, 0);
    EXPECT_EQ(Deadlines(), 1U);
    Advance(ShareSwitchManager::SELF_HEAL_TIMEOUT_MS - 1);
    EXPECT_TRUE(State().*GetParam().flag);
    Advance(1);
    EXPECT_FALSE(State().*GetParam().flag);
}

INSTANTIATE_TEST_SUITE_P(Switch, SwitchHealing, testing::ValuesIn(HEALINGS), RowName());

TEST_F(SwitchRadios, BothHealingPersistOnlyWhenBothAreDone)
{
    Boot({1, 2, 0});
    Switch()->HandleOnWifiSelfHealingBegin();
    Switch()->HandleOnBtSelfHealingBegin();
    Settle();
    Switch()->HandleOnBtSelfHealingEnd();
    Ask(STATE_SHARE_DISABLE, UNDETECTABLE);
    EXPECT_EQ(File(STATE), "1,2,0");
    Switch()->HandleOnWifiSelfHealingEnd(true);
    Ask(STATE_SHARE_DISABLE, UNDETECTABLE);
    EXPECT_EQ(File(STATE), "2,0,0");
}

TEST_F(SwitchRadios, ThatHealAreNotStartedByARequest)
{
    Boot({2, 0, 0});
    Publish(Host::EventName::WIFI_SEMI_STATE, 0);
    Wifi(WifiMode::OFF);
    Forget();
    TurnOn();
    EXPECT_FALSE(Logged("EnableWifi invoked"));
    EXPECT_TRUE(State().isEnabling);
    Wifi(WifiMode::ON);
    EXPECT_EQ(State().enableState, STATE_SHARE_ENABLE);
}

// The second try of restricted Bluetooth
TEST_F(SwitchRadios, RefusedBluetoothIsTriedOnceMoreIfItsAbilityGoesInTime)
{
    const char* tried = "EnableBluetoothToRestrictMode(), ret:";
    const auto restartAbility = [] {
        SetAbility(Host::AbilityId::BLUETOOTH, false);
        SetAbility(Host::AbilityId::BLUETOOTH, true);
    };
    Boot({2, 0, 0});
    restartAbility();
    EXPECT_FALSE(Logged(tried)); // nobody asked

    Switch()->EnableBluetoothToRestrictModeInDelay();
    Advance(ShareSwitchManager::WAIT_BLUETOOTH_SA_REMOVE_MS - 1);
    restartAbility();
    EXPECT_TRUE(Logged(tried));
    EXPECT_EQ(Deadlines(), 0U);

    Forget();
    Switch()->EnableBluetoothToRestrictModeInDelay();
    Advance(ShareSwitchManager::WAIT_BLUETOOTH_SA_REMOVE_MS);
    restartAbility();
    EXPECT_FALSE(Logged(tried));
}

// What the system tells, and what the switch makes of it: the ids of its messages.
struct Told {
    const char* name;
    const char* event;
    int32_t code;
    std::vector<ShareSwitchManager::Message> messages;
    const char* bundle = "";
    bool bleGone = false;
    int32_t publisherUid = Host::PublisherUid::WIFI;
};

using M = ShareSwitchManager;
constexpr auto CHANGED = M::MSG_ON_WIFI_OR_BLUETOOTH_STATE_CHANGED_EVENT;
constexpr const char* BLUETOOTH = Host::EventName::BLUETOOTH_HOST_STATE_UPDATE;
constexpr const char* WIFI = Host::EventName::WIFI_POWER_STATE;
constexpr const char* SEMI = Host::EventName::WIFI_SEMI_STATE;

const Told EVENTS[] = {
    {"bluetooth turning on", BLUETOOTH, 0, {}},
    {"bluetooth on", BLUETOOTH, 1, {M::MSG_BLUETOOTH_SELF_HEAL_END, CHANGED}},
    {"bluetooth turning off", BLUETOOTH, 2, {}},
    {"bluetooth off, BLE there", BLUETOOTH, 3, {M::MSG_BLUETOOTH_SELF_HEAL_END, CHANGED}},
    {"bluetooth off, BLE gone", BLUETOOTH, 3, {CHANGED}, "", true},
    {"wifi disabling", WIFI, 0, {}},
    {"wifi disabled", WIFI, 1, {CHANGED}},
    {"wifi enabling", WIFI, 2, {M::MSG_WIFI_SELF_HEAL_END}},
    {"wifi enabled", WIFI, 3, {CHANGED}},
    {"wifi restarting", SEMI, 0, {M::MSG_WIFI_SELF_HEAL_BEGIN}},
    {"wifi restarting, says somebody", SEMI, 0, {}, "", false, Host::PublisherUid::SYSTEM},
    {"wifi semi, another code", SEMI, 1, {}},
    {"wifi semi-active", SEMI, 5, {M::MSG_WIFI_SELF_HEAL_END, CHANGED}},
    {"bluetooth restarting", Host::EventName::BLUETOOTH_RESTRICT, 0, {M::MSG_BLUETOOTH_SELF_HEAL_BEGIN}},
    {"bluetooth restrict, another code", Host::EventName::BLUETOOTH_RESTRICT, 1, {}},
    {"our data cleared", Host::EventName::PACKAGE_DATA_CLEARED, 0, {M::MSG_ENABLE_SHARE_SWITCH_EVENT},
        "com.corvane.velos.pelago"},
    {"other data cleared", Host::EventName::PACKAGE_DATA_CLEARED, 0, {}, "com.corvane.velos"},
    {"settings ready", Host::EventName::DATA_SHARE_READY, 0, {M::MSG_DATA_SHARE_READY_EVENT}},
    {"user switched", Host::EventName::USER_SWITCHED, USER, {M::MSG_LOCAL_USER_SWITCHED_EVENT}},
    {"user switched, locked", Host::EventName::USER_SWITCHED, OTHER_USER, {}},
    {"user unlocked, whoever", Host::EventName::USER_UNLOCKED, OTHER_USER, {M::MSG_USER_UNLOCKED_EVENT}},
};

class SwitchEvents : public SwitchScene, public testing::WithParamInterface<Told> {};

TEST_P(SwitchEvents, BecomeMessages)
{
    const Told& row = GetParam();
    Boot({2, 0, 0});
    ASSERT_TRUE(Device::Instance().SetVerified(OTHER_USER, false));
    AllowErrors({"switchToUserId 101 not verified", "not equal to switchToUserId 101"});
    if (row.bleGone) {
        Bluetooth(BluetoothMode::OFF);
        Forget();
    }
    Publish(row.event, row.code, row.bundle, row.publisherUid);
    std::vector<std::string> expected;
    for (const auto id : row.messages) {
        expected.push_back("handle event id: " + std::to_string(id) + ".");
    }
    EXPECT_EQ(LoggedLines("handle event id: "), expected);
    // Each switch of users ends the share connection, also one that the switch drops.
    EXPECT_EQ(Logged("already disConnection_"), row.event == Host::EventName::USER_SWITCHED);
}

INSTANTIATE_TEST_SUITE_P(Switch, SwitchEvents, testing::ValuesIn(EVENTS), RowName());

TEST_F(SwitchRadios, EventsWithoutAKnownActionAreDropped)
{
    Boot();
    BroadcastReceiver receiver{EventFwk::CommonEventSubscribeInfo(EventFwk::MatchingSkills())};
    receiver.OnReceiveEvent({});
    EXPECT_TRUE(LoggedError("action is empty"));
    receiver.OnReceiveEvent(EventFwk::CommonEventData(AAFwk::Want().SetAction("usual.event.NOBODYS")));
    EXPECT_TRUE(LoggedError("OnReceiveEvent failed, code not exist."));
}

TEST_F(SwitchRadios, SubscriptionIsTriedAgainAfterAFailure)
{
    Device::Instance().SetAbilityPresent(Host::AbilityId::COMMON_EVENT, false);
    AllowError("systemAbilityId=3299");
    Boot({2, 0, 0});
    EXPECT_FALSE(State().hasSubscribeCommonEvent);
    SetAbility(Host::AbilityId::COMMON_EVENT, true);
    EXPECT_TRUE(State().hasSubscribeCommonEvent);
    EXPECT_TRUE(Switch()->SubscribeCommonEvent());
    EXPECT_TRUE(Logged("no need to repeat SubscribeCommonEvent."));
}

} // namespace
} // namespace OHOS::Pelago
