#include "switch/time_service_helper.h"
#include "switch_scene.h"

namespace OHOS::Pelago {
namespace {

constexpr const char* NO_WIFI = "wifi.GetWifiDetailState"; // Wi-Fi reads as gone, and says nothing
constexpr const char* WIFI_STUCK = "wifi.arrive";          // Wi-Fi starts to come up and never does

constexpr const char* FIRST_USE_DIALOG = "StartFirstUseDialog exit";
constexpr const char* CONFIRM_DIALOG = "StartEnableConfirmDialog exit";

enum Start {
    FIRST_USE,
    OFF,
    ON
};
enum Radios {
    UP,
    MISSING
};
enum Flags {
    PLAIN,
    CHECK_FIRST_USE,
    CONFIRM
};

constexpr const char* PUBLISHED = "Publish, RegisterReceiveListener, EnableDiscoveryPolicy ";
constexpr const char* HIDDEN = "UnPublish, UnRegisterReceiveListener, EnableDiscoveryPolicy 0";

std::string PublishedAs(int type)
{
    return PUBLISHED + std::to_string(type) + ", SetAccountPermission 0";
}

struct Transition {
    const char* name;
    Start from; // as booted: with a file of (0,0,0), (2,0,0) or (1,2,0)
    Radios radios;
    int enableState;
    int detectableType;
    Flags flags;
    // Afterwards
    std::string kept;
    std::string asked; // of the engine
    int heard;
    size_t deadlines = 0;
    const char* dialog = "";
    const char* refused = ""; // by the engine, if anything
};

const Transition TRANSITIONS[] = {
    {"off again: persisted, nobody told", OFF, UP, 2, 0, PLAIN, "2,0 | 2,0,0 | 2,0 2,0 | 0,0", "", 0},
    {"on again: neither engine nor timer", ON, UP, 1, 2, PLAIN, "1,2 | 1,2,0 | 1,2 1,2 | 1,2", "", 0},

    {"first use, reset with a type: off path", FIRST_USE, UP, 0, 1, PLAIN, "0,0 | 0,0,0 | 0,0 0,0 | 0,0", HIDDEN, 1},
    {"first use, on: asks", FIRST_USE, UP, 1, 2, CHECK_FIRST_USE, "0,0 | 0,0,0 | 0,0 -,- | 0,0", "", 0, 0,
        FIRST_USE_DIALOG},
    {"first use, off: asks", FIRST_USE, UP, 2, 0, CHECK_FIRST_USE, "0,0 | 0,0,0 | 0,0 -,- | 0,0", "", 0, 0,
        FIRST_USE_DIALOG},
    {"first use, off: first use ends", FIRST_USE, UP, 2, 0, PLAIN, "2,0 | 2,0,0 | 2,0 2,0 | 2,0", HIDDEN, 1},
    {"first use, on", FIRST_USE, UP, 1, 2, PLAIN, "1,2 | 1,2,0 | 1,2 1,2 | 0,0", PublishedAs(2), 1},
    {"first use, on, no Wi-Fi: settings have the type, the file does not", FIRST_USE, MISSING, 1, 2, CONFIRM,
        "2,0 | 2,0,0 | 2,2 2,2 | 0,0", "", 0, 0, CONFIRM_DIALOG},
    {"first use, on, no Wi-Fi, unasked", FIRST_USE, MISSING, 1, 2, PLAIN, "2,0 | 2,0,0 | 2,2 2,2 | 0,0", "", 0, 1},

    {"on, another type", ON, UP, 1, 3, PLAIN, "1,3 | 1,3,0 | 1,3 1,3 | 1,2", PublishedAs(3), 1},
    {"on, another type: the radios are not looked at", ON, MISSING, 1, 3, CONFIRM, "1,3 | 1,3,0 | 1,3 1,3 | 1,2",
        PublishedAs(3), 1},
    {"on, the timed type: arms the timer", ON, UP, 1, 1, PLAIN, "1,1 | 1,1,0 | 1,1 1,1 | 1,2", PublishedAs(1), 1, 1},
    {"on, off", ON, UP, 2, 0, PLAIN, "2,0 | 2,0,0 | 2,0 2,0 | 2,0", HIDDEN, 1},
    {"on, reset", ON, UP, 0, 0, PLAIN, "0,0 | 0,0,0 | 0,0 0,0 | 0,0", HIDDEN, 1},

    {"off, off with a type: the type is dropped", OFF, UP, 2, 3, PLAIN, "2,0 | 2,0,0 | 2,0 2,0 | 2,0", HIDDEN, 1},
    {"off, on: first use is not asked about", OFF, UP, 1, 2, CHECK_FIRST_USE, "1,2 | 1,2,0 | 1,2 1,2 | 0,0",
        PublishedAs(2), 1},
    {"off, on, no Wi-Fi: asks", OFF, MISSING, 1, 2, CONFIRM, "2,0 | 2,0,0 | 0,0 -,- | 0,0", "", 0, 0, CONFIRM_DIALOG},
    {"off, on, no Wi-Fi, unasked", OFF, MISSING, 1, 2, PLAIN, "2,0 | 2,0,0 | 0,0 -,- | 0,0", "", 0, 1},
    {"off, reset", OFF, UP, 0, 0, PLAIN, "0,0 | 0,0,0 | 0,0 0,0 | 0,0", HIDDEN, 1},

    {"a stray state is an off that is kept as it came", ON, UP, 7, 5, PLAIN, "7,0 | 7,0,0 | 7,0 7,0 | 7,0", HIDDEN, 1},
    {"on but undetectable", OFF, UP, 1, 0, PLAIN, "1,0 | 1,0,0 | 1,0 1,0 | 0,0",
        std::string(HIDDEN) + ", SetAccountPermission 0", 1},

    {"refused to publish: off stays off", OFF, UP, 1, 2, PLAIN, "2,0 | 2,0,0 | 0,0 -,- | 0,0", "Publish", 0, 0, "",
        "Publish"},
    {"refused to receive: off stays off, though published", OFF, UP, 1, 2, PLAIN, "2,0 | 2,0,0 | 0,0 -,- | 0,0",
        "Publish, RegisterReceiveListener", 0, 0, "", "RegisterReceiveListener"},
    {"refused at all: on stays as it was", ON, UP, 1, 3, PLAIN, "1,2 | 1,2,0 | 1,2 1,2 | 1,2", "", 0, 0, "",
        "ConnectWithRetry"},
    {"refused to hide: off all the same", ON, UP, 2, 0, PLAIN, "2,0 | 2,0,0 | 2,0 2,0 | 2,0", "UnPublish", 1, 0, "",
        "UnPublish"},
};

class SwitchTransitions : public SwitchScene, public testing::WithParamInterface<Transition> {};

TEST_P(SwitchTransitions, LeaveWhatTheTableSays)
{
    const Transition& row = GetParam();
    Boot(row.from == FIRST_USE ? std::vector{0, 0, 0} : row.from == OFF ? std::vector{2, 0, 0} : std::vector{1, 2, 0});
    if (row.radios == MISSING) {
        Faults::Inject(NO_WIFI, Faults::ALWAYS);
        Faults::Inject("wifi.EnableWifi", Faults::ALWAYS);
        AllowErrors({"GetWifiDetailState failed", "fail to EnableWifi()"});
    }
    if (row.refused[0] != '\0') {
        Engine().Refuse(row.refused);
        AllowErrors({"SetDetectableState fail", "connect ShareClient failed.", "Publish false", "unPublish false",
            "RegisterReceiveListener false"});
    }
    Ask(row.enableState, row.detectableType, row.flags == CHECK_FIRST_USE, row.flags == CONFIRM);
    EXPECT_EQ(Kept(), row.kept);
    EXPECT_EQ(Engine().TakeAsked(), row.asked);
    EXPECT_EQ(Heard(), row.heard);
    EXPECT_EQ(Deadlines(), row.deadlines);
    EXPECT_EQ(State().isEnabling, row.deadlines == 1 && row.radios == MISSING);
    for (const std::string dialog : {FIRST_USE_DIALOG, CONFIRM_DIALOG}) {
        EXPECT_EQ(Logged(dialog), dialog == row.dialog) << dialog;
    }
}

INSTANTIATE_TEST_SUITE_P(Switch, SwitchTransitions, testing::ValuesIn(TRANSITIONS), RowName());

// The ten minutes

constexpr auto TEN_MINUTES = static_cast<int64_t>(TimeServiceHelper::DETECTABLE_TIME_MS);

class SwitchTimer : public SwitchScene {
protected:
    void BootTimed()
    {
        Boot({2, 0, 0});
        TurnOn(DETECTABLE_TIMED);
        Forget();
    }
};

TEST_F(SwitchTimer, TurnsTimedIntoLastingAtTheDeadline)
{
    BootTimed();
    Advance(TEN_MINUTES - 1);
    EXPECT_EQ(State().detectableType, DETECTABLE_TIMED);
    EXPECT_EQ(Heard(), 0);
    Advance(1);
    EXPECT_EQ(Kept(), "1,2 | 1,2,0 | 1,2 1,2 | 0,0");
    EXPECT_EQ(Engine().TakeAsked(), PublishedAs(2));
    EXPECT_EQ(Heard(), 1);
    EXPECT_EQ(Deadlines(), 0U);
}

TEST_F(SwitchTimer, HasLapsedOnceForADeviceThatSlept)
{
    BootTimed();
    ASSERT_TRUE(Scheduler::Instance().Jump(3 * TEN_MINUTES));
    EXPECT_EQ(State().detectableType, DETECTABLE_LASTING);
    EXPECT_EQ(Heard(), 1);
}

TEST_F(SwitchTimer, StartsAnewWithEachChangeIntoTimedAndNotWithARepeat)
{
    BootTimed();
    Advance(TEN_MINUTES / 2);
    TurnOn(DETECTABLE_SWING);
    EXPECT_EQ(Deadlines(), 0U);
    TurnOn(DETECTABLE_TIMED);
    Advance(TEN_MINUTES - 1);
    TurnOn(DETECTABLE_TIMED); // the same again
    EXPECT_EQ(State().detectableType, DETECTABLE_TIMED);
    Advance(1);
    EXPECT_EQ(State().detectableType, DETECTABLE_LASTING);
}

TEST_F(SwitchTimer, EndsWithAnOff)
{
    BootTimed();
    TurnOff();
    EXPECT_EQ(Deadlines(), 0U);
    Forget();
    Advance(2 * TEN_MINUTES);
    EXPECT_EQ(Heard(), 0);
}

TEST_F(SwitchTimer, EndsWithTheServiceAndSoDoesTheGesture)
{
    BootTimed();
    StopService();
    EXPECT_EQ(Deadlines(), 0U);
    Put(SettingKey::AIR_SWITCH, "1");
    EXPECT_FALSE(Logged("OnChange"));
}

// Known: the timer looks at the state, not at the queue, so an off that is still queued is overtaken.
TEST_F(SwitchTimer, OvertakesAnOffThatIsStillQueued)
{
    BootTimed();
    ASSERT_TRUE(Switch()->SetShareEnableWithConfirm(STATE_SHARE_DISABLE, UNDETECTABLE, false, false, false));
    Switch()->ExcuteSwitchDetectableStateScheduledTask();
    Settle();
    EXPECT_EQ(State().enableState, STATE_SHARE_ENABLE);
    EXPECT_EQ(State().detectableType, DETECTABLE_LASTING);
}

TEST_F(SwitchTimer, ThatCannotBeMadeLeavesTheTypeStanding)
{
    Boot({2, 0, 0});
    Faults::Inject("time_service.create_timer");
    TurnOn(DETECTABLE_TIMED);
    EXPECT_TRUE(LoggedError("StartSwitchDetectableTypeScheduledTask failed."));
    EXPECT_EQ(Kept(), "1,1 | 1,1,0 | 1,1 1,1 | 0,0");
    EXPECT_EQ(Heard(), 1);
    TurnOn(DETECTABLE_SWING);
    EXPECT_TRUE(Logged("No need to stop timer."));
}

// Waiting for the radios

class SwitchEnabling : public SwitchScene {
protected:
    // Off, and a request that waits for a Wi-Fi that does not come.
    void BootEnabling(const std::vector<int32_t>& stateFile = {2, 0, 0})
    {
        Boot(stateFile);
        Wifi(WifiMode::OFF);
        Faults::Inject(WIFI_STUCK, Faults::ALWAYS);
        TurnOn();
        ASSERT_TRUE(State().isEnabling);
        Forget();
    }
};

TEST_F(SwitchEnabling, EndsAtTheDeadlineAndTellsNobody)
{
    BootEnabling();
    Advance(ShareSwitchManager::ENABLE_TIMEOUT_MS - 1);
    EXPECT_TRUE(State().isEnabling);
    Advance(1);
    EXPECT_FALSE(State().isEnabling);
    EXPECT_TRUE(LoggedError("timeout check: fail to enable Wifi and Bluetooth"));
    EXPECT_EQ(Kept(), "2,0 | 2,0,0 | 2,0 2,0 | 0,0");
    EXPECT_EQ(Heard(), 0);
    EXPECT_EQ(Deadlines(), 0U);
}

TEST_F(SwitchEnabling, CompletesWhenTheRadiosCome)
{
    BootEnabling();
    Faults::Clear();
    Wifi(WifiMode::ON);
    EXPECT_EQ(Kept(), "1,2 | 1,2,0 | 1,2 1,2 | 0,0");
    EXPECT_EQ(Heard(), 1);
    EXPECT_EQ(Deadlines(), 0U);
}

TEST_F(SwitchEnabling, IsNotProlongedByAnotherRequest)
{
    BootEnabling();
    Advance(ShareSwitchManager::ENABLE_TIMEOUT_MS / 2);
    TurnOn(DETECTABLE_SWING);
    EXPECT_EQ(State().enablingData.detectableType, DETECTABLE_SWING);
    EXPECT_EQ(Deadlines(), 2U);
    AllowError("timeout check: fail");
    Advance(ShareSwitchManager::ENABLE_TIMEOUT_MS / 2);
    EXPECT_FALSE(State().isEnabling);
    EXPECT_EQ(Deadlines(), 0U); // the first took the second with it
}

TEST_F(SwitchEnabling, AsksAgainWhenARadioDropsMeanwhile)
{
    BootEnabling();
    Switch()->HandleOnWifiOrBluetoothStateChanged(false);
    Settle();
    EXPECT_TRUE(Logged("EnablingData, enableState: 1, detectableType: 2"));
    EXPECT_TRUE(Logged("EnableWifi invoked"));
    EXPECT_EQ(Deadlines(), 2U);
}

TEST_F(SwitchEnabling, OutlivesAResetWhichItsDeadlineThenTurnsIntoOff)
{
    BootEnabling();
    Switch()->HandleOnPackageDataCleared();
    Settle();
    EXPECT_EQ(State().enableState, STATE_SHARE_FIRST_USE);
    Forget();
    AllowError("timeout check: fail");
    Advance(ShareSwitchManager::ENABLE_TIMEOUT_MS);
    EXPECT_EQ(State().enableState, STATE_SHARE_DISABLE);
    EXPECT_EQ(Heard(), 1);
}

// The air gesture

class SwitchSwing : public SwitchScene {};

TEST_F(SwitchSwing, IsHeldBackWhileSharingIsOffAndComesBackWithIt)
{
    Put(SettingKey::AIR_SWITCH, "1");
    Boot({2, 0, 0});
    EXPECT_EQ(State().swingState, SWING_STATE_SUSPENDED);
    EXPECT_EQ(Setting(SettingKey::AIR_SWITCH) + Setting(SettingKey::AIR_SWITCH, USER), "22");
    TurnOn();
    EXPECT_EQ(State().swingState, SWING_STATE_ON);
    EXPECT_EQ(Setting(SettingKey::AIR_SWITCH), "1");
    TurnOff();
    EXPECT_EQ(Setting(SettingKey::AIR_SWITCH), "2");
    EXPECT_EQ(State().enableState, STATE_SHARE_DISABLE); // its own writes come back and change nothing
}

struct Gesture {
    const char* name;
    std::vector<int32_t> stateFile;
    std::vector<int32_t> recoverFile;
    const char* value; // of the setting, as the user turns it
    int state;
    int type;
    int swing;
    int permission;
};

const Gesture GESTURES[] = {
    {"off: on with the gesture's type", {2, 0, 0}, {}, "1", 1, DETECTABLE_SWING, 1, 0},
    {"off, once lasting: on with that type", {2, 0, 0}, {2, 2}, "1", 1, DETECTABLE_LASTING, 1, 0},
    {"first use: on, and grants the permission", {0, 0, 0}, {}, "1", 1, DETECTABLE_SWING, 1, 1},
    {"on: stays as it is", {1, 2, 0}, {}, "1", 1, DETECTABLE_LASTING, 1, 0},
    {"turned off: sharing stays as it is", {1, 2, 0}, {}, "0", 1, DETECTABLE_LASTING, 0, 0},
    {"suspended: the switch's own word", {2, 0, 0}, {}, "2", 2, 0, 0, 0},
    {"an unknown word", {2, 0, 0}, {}, "3", 2, 0, 0, 0},
};

class SwitchGestures : public SwitchScene, public testing::WithParamInterface<Gesture> {};

TEST_P(SwitchGestures, OfTheUserTurnSharingOn)
{
    const Gesture& row = GetParam();
    if (!row.recoverFile.empty()) {
        WriteFields(StateFile(USER, RECOVER), row.recoverFile);
    }
    Boot(row.stateFile);
    Put(SettingKey::AIR_SWITCH, row.value);
    const auto state = State();
    EXPECT_EQ(state.enableState, row.state);
    EXPECT_EQ(state.detectableType, row.type);
    EXPECT_EQ(state.swingState, row.swing);
    EXPECT_EQ(state.accountPermission, row.permission);
    EXPECT_EQ(LoggedError("airState error"), std::string(row.value) == "3");
}

INSTANTIATE_TEST_SUITE_P(Switch, SwitchGestures, testing::ValuesIn(GESTURES), RowName());

TEST_F(SwitchSwing, TurnedOffByTheUserIsNeverTouched)
{
    Boot({2, 0, 0});
    Put(SettingKey::AIR_SWITCH, "0");
    TurnOn();
    TurnOff();
    EXPECT_EQ(Setting(SettingKey::AIR_SWITCH), "0");
    EXPECT_EQ(State().swingState, SWING_STATE_OFF);
}

// Messages

class SwitchMessages : public SwitchScene {};

TEST_F(SwitchMessages, WithoutARunnerAreRefusedAndHarmless)
{
    const auto fresh = Switch(); // never initialised
    EXPECT_FALSE(fresh->SetShareEnableWithConfirm(STATE_SHARE_ENABLE, DETECTABLE_LASTING, false, false, false));
    EXPECT_TRUE(LoggedError("fail to SendEvent MSG_ENABLE_SHARE_SWITCH_EVENT"));
    fresh->HandleOnWifiSelfHealingEnd(true);
    EXPECT_TRUE(LoggedError("fail to SendEvent HandleOnWifiSelfHealingEnd"));
    fresh->HandleOnBluetoothSaRemoved();
    fresh->Release();
    EXPECT_EQ(fresh->GetEnableState(), STATE_SHARE_FIRST_USE);
}

TEST_F(SwitchMessages, ThatNobodyKnowsAreDropped)
{
    Boot();
    ASSERT_TRUE(Switch()->SendEvent(ShareSwitchManager::MSG_USER_UNLOCKED_EVENT + 1));
    ASSERT_TRUE(Switch()->SendEvent(ShareSwitchManager::MSG_ENABLE_SHARE_SWITCH_EVENT)); // without a request
    Settle();
    EXPECT_TRUE(LoggedError("can not find event func."));
    EXPECT_TRUE(LoggedError("eventData is nullptr"));
}

#ifdef PELAGO_CHECKS
TEST_F(SwitchMessages, AreHandledOnTheRunnerAlone)
{
    Boot();
    const auto event = AppExecFwk::InnerEvent::Get(ShareSwitchManager::MSG_WIFI_SELF_HEAL_BEGIN);
    EXPECT_DEATH(Switch()->ProcessEvent(event), "WifiSelfHealBeginEvent: not on the runner");
}
#endif

} // namespace
} // namespace OHOS::Pelago
