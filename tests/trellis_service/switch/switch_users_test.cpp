#include "switch_scene.h"

namespace OHOS::Pelago {
namespace {

class SwitchUsers : public SwitchScene {
protected:
    static void SwitchUser(int id)
    {
        ASSERT_TRUE(Device::Instance().SwitchUser(id));
        Settle();
    }
};

TEST_F(SwitchUsers, TakeTheirStateWithThemAndFindItAgain)
{
    WriteFields(StateFile(OTHER_USER), {1, 3, 0});
    Boot({1, 2, 1});
    SwitchUser(OTHER_USER);
    EXPECT_EQ(State().localUserId, OTHER_USER);
    EXPECT_EQ(State().detectableType, DETECTABLE_SWING);
    EXPECT_EQ(Heard(), 2); // off for the one, on for the other
    EXPECT_EQ(File(STATE), "1,2,1");
    EXPECT_EQ(File(RECOVER), "1,2");
    EXPECT_EQ(State().accountPermission, ACCOUNT_PERMISSION_OFF);
    SwitchUser(USER);
    EXPECT_EQ(State().detectableType, DETECTABLE_LASTING);
    EXPECT_EQ(State().accountPermission, ACCOUNT_PERMISSION_ON);
}

TEST_F(SwitchUsers, WithoutAFileAreAtFirstUseAndGetNone)
{
    AllowFirstLoad();
    Boot({1, 2, 1});
    SwitchUser(OTHER_USER);
    EXPECT_EQ(State().enableState, STATE_SHARE_FIRST_USE);
    EXPECT_EQ(State().accountPermission, ACCOUNT_PERMISSION_OFF);
    EXPECT_EQ(Setting(SettingKey::PERMISSION_STATE) + Setting(SettingKey::PERMISSION_STATE, OTHER_USER), "0-");
    EXPECT_EQ(File(STATE, OTHER_USER), "none");
    EXPECT_EQ(File(RECOVER, OTHER_USER), "none");
    EXPECT_EQ(Heard(), 1);
}

TEST_F(SwitchUsers, WhoAreLockedComeInWithTheirUnlock)
{
    ASSERT_TRUE(Device::Instance().SetVerified(OTHER_USER, false));
    WriteFields(StateFile(OTHER_USER), {1, 3, 0});
    Boot({1, 2, 1});
    SwitchUser(OTHER_USER);
    EXPECT_EQ(State().localUserId, USER); // whose state stays in force
    EXPECT_TRUE(LoggedError("switchToUserId 101 not verified"));
    ASSERT_TRUE(Device::Instance().SetVerified(OTHER_USER, true));
    Settle();
    EXPECT_EQ(State().localUserId, OTHER_USER);
    EXPECT_EQ(State().detectableType, DETECTABLE_SWING);
}

TEST_F(SwitchUsers, LockedAtStartComeInWithTheirUnlock)
{
    ASSERT_TRUE(Device::Instance().SetVerified(USER, false));
    AllowError("switchToUserId 100 not verified");
    Boot({1, 2, 1});
    EXPECT_EQ(State().localUserId, USER_ID_INVALID);
    EXPECT_EQ(State().enableState, STATE_SHARE_FIRST_USE);
    ASSERT_TRUE(Device::Instance().SetVerified(USER, true));
    Settle();
    EXPECT_EQ(State().enableState, STATE_SHARE_ENABLE);
}

TEST_F(SwitchUsers, ComeInWhenTheSettingsAreReady)
{
    Faults::Inject("datashare.Create", Faults::ALWAYS);
    AllowErrors({"helper is nullptr", "dataShare not ready", "not equal to switchToUserId"});
    Boot({1, 2, 1});
    EXPECT_EQ(State().localUserId, USER_ID_INVALID);
    Faults::Clear();
    Publish(Host::EventName::DATA_SHARE_READY, 0);
    EXPECT_EQ(State().enableState, STATE_SHARE_ENABLE);
}

TEST_F(SwitchUsers, UnlockedAgainOrInTheBackgroundChangeNothing)
{
    Boot({1, 2, 1});
    Publish(Host::EventName::USER_UNLOCKED, USER);
    EXPECT_TRUE(Logged("user not change, 100 -> 100"));
    Publish(Host::EventName::USER_UNLOCKED, OTHER_USER);
    EXPECT_TRUE(LoggedError("verifiedForegroundUserId 100 not equal to switchToUserId 101"));
    EXPECT_EQ(Heard(), 0);
    EXPECT_EQ(State().enableState, STATE_SHARE_ENABLE);
}

// Meant: the background unlock moves the user without a load, and the later switch finds nothing to change.
TEST_F(SwitchUsers, InFrontAreTakenUnloadedByAnUnlockInTheBackground)
{
    Boot({1, 2, 1});
    ASSERT_TRUE(Device::Instance().SwitchUser(OTHER_USER)); // its event is still on the way
    Switch()->HandleOnUserUnlocked(OTHER_USER + 1);
    AllowError("verifiedForegroundUserId 101 not equal to switchToUserId 102");
    Settle();
    EXPECT_EQ(State().localUserId, OTHER_USER);
    EXPECT_EQ(State().detectableType, DETECTABLE_LASTING); // of the user before
    EXPECT_TRUE(Logged("user not change, 101 -> 101"));
}

TEST_F(SwitchUsers, LeavingWhileARequestWaitsTakeItAlong)
{
    WriteFields(StateFile(OTHER_USER), {2, 0, 0});
    Boot({2, 0, 0});
    Wifi(WifiMode::OFF);
    TurnOn();
    SwitchUser(OTHER_USER);
    Wifi(WifiMode::ON);
    EXPECT_EQ(State().localUserId, OTHER_USER);
    EXPECT_EQ(State().enableState, STATE_SHARE_ENABLE); // known: the request does not know whose it was
}

struct PrivateSpace {
    const char* name;
    const char* agreed; // "": did not say
    std::vector<int32_t> stateFile;
    const char* after;
    int state;
};

const PrivateSpace PRIVATE_SPACES[] = {
    {"agreed at set-up", "1", {}, "1,2,1", STATE_SHARE_ENABLE},
    {"declined at set-up", "0", {}, "none", STATE_SHARE_FIRST_USE},
    {"said nothing", "", {}, "none", STATE_SHARE_FIRST_USE},
    {"agreed, and chose off since", "1", {2, 0, 0}, "2,0,0", STATE_SHARE_DISABLE},
};

class SwitchPrivateSpaces : public SwitchUsers, public testing::WithParamInterface<PrivateSpace> {};

TEST_P(SwitchPrivateSpaces, ComeUpAsTheirUserAgreed)
{
    const PrivateSpace& row = GetParam();
    ASSERT_TRUE(Device::Instance().PutUser({OTHER_USER, Host::UserType::PRIVATE, true, {}}));
    if (row.agreed[0] != '\0') {
        Put(SettingKey::PELAGO_OOBE_STATE, row.agreed, OTHER_USER);
    }
    if (!row.stateFile.empty()) {
        WriteFields(StateFile(OTHER_USER), row.stateFile);
    }
    AllowFirstLoad();
    Boot({2, 0, 0});
    SwitchUser(OTHER_USER);
    EXPECT_TRUE(State().isPrivateUser);
    EXPECT_EQ(File(STATE, OTHER_USER), row.after);
    EXPECT_EQ(State().enableState, row.state);
    EXPECT_FALSE(Logged("Dialog"));
}

INSTANTIATE_TEST_SUITE_P(Switch, SwitchPrivateSpaces, testing::ValuesIn(PRIVATE_SPACES), RowName());

// Account permission

struct Permission {
    const char* name;
    std::vector<int32_t> stateFile;
    int value;
    bool result;
    int permission;
    const char* after; // the state file
    const char* asked;
};

const Permission PERMISSIONS[] = {
    {"granted while on", {1, 2, 0}, 1, true, 1, "1,2,1", "SetAccountPermission 1"},
    {"taken back while on", {1, 2, 1}, 0, true, 0, "1,2,0", "SetAccountPermission 0"},
    {"granted while off: the engine hears with the next on", {2, 0, 0}, 1, true, 1, "2,0,1", ""},
    {"too much", {1, 2, 1}, 2, false, 1, "1,2,1", ""},
    {"too little", {1, 2, 1}, -1, false, 1, "1,2,1", ""},
};

class SwitchPermissions : public SwitchScene, public testing::WithParamInterface<Permission> {};

TEST_P(SwitchPermissions, AreKeptAndToldWhileSharingIsOn)
{
    const Permission& row = GetParam();
    Boot(row.stateFile);
    EXPECT_EQ(Service()->SetShareAccountPermission(row.value), row.result);
    Settle();
    EXPECT_EQ(Switch()->GetAccountPermission(), row.permission);
    EXPECT_EQ(File(STATE), row.after);
    EXPECT_EQ(Setting(SettingKey::PERMISSION_STATE), std::to_string(row.permission));
    EXPECT_EQ(Setting(SettingKey::PERMISSION_STATE, USER), std::to_string(row.permission));
    EXPECT_EQ(Engine().TakeAsked(), row.asked);
    EXPECT_EQ(LoggedError("SetShareAccountPermission paramter error."), !row.result);
}

INSTANTIATE_TEST_SUITE_P(Switch, SwitchPermissions, testing::ValuesIn(PERMISSIONS), RowName());

// The first-run experience

class SwitchFirstRun : public SwitchScene {
protected:
    // A device that is being set up; the user has unlocked it.
    void BootUnfinished(const std::vector<int32_t>& stateFile = {})
    {
        AllowFirstLoad();
        ASSERT_TRUE(HostSettings::Put(SettingKey::IS_OTA_FINISHED, "", USER));
        Boot(stateFile);
        ASSERT_EQ(State().localUserId, USER);
        ASSERT_EQ(State().enableState, STATE_SHARE_FIRST_USE);
    }
    static void Finish()
    {
        Put(SettingKey::IS_OTA_FINISHED, "1", USER);
    }
};

struct Agreement {
    const char* name;
    const char* ofUser; // "": did not say
    const char* ofDevice;
    std::vector<int32_t> stateFile;
    const char* after;
    int state;
};

const Agreement AGREEMENTS[] = {
    {"the user agrees", "1", "0", {}, "1,2,1", STATE_SHARE_ENABLE},
    {"the user declines, the device had agreed", "0", "1", {}, "0,0,0", STATE_SHARE_FIRST_USE},
    {"the user says nothing, the device had agreed", "", "1", {}, "1,2,1", STATE_SHARE_ENABLE},
    {"nobody says anything", "", "", {}, "0,0,0", STATE_SHARE_FIRST_USE},
    {"the user agrees, and had chosen off", "1", "", {2, 0, 0}, "2,0,0", STATE_SHARE_DISABLE},
    {"the user declines, and had chosen off", "0", "", {2, 0, 0}, "2,0,0", STATE_SHARE_DISABLE},
};

class SwitchAgreements : public SwitchFirstRun, public testing::WithParamInterface<Agreement> {};

TEST_P(SwitchAgreements, DecideHowSharingStarts)
{
    const Agreement& row = GetParam();
    BootUnfinished(row.stateFile);
    Put(SettingKey::PELAGO_OOBE_STATE, row.ofUser, USER);
    Put(SettingKey::COLLABORATION_OOBE_ENHANCE, row.ofDevice);
    Finish();
    EXPECT_EQ(File(STATE), row.after);
    EXPECT_EQ(State().enableState, row.state);
    Finish();
    EXPECT_TRUE(Logged("Oobe has ready, no need to repeat HandleOnOobeReady."));
}

INSTANTIATE_TEST_SUITE_P(Switch, SwitchAgreements, testing::ValuesIn(AGREEMENTS), RowName());

TEST_F(SwitchFirstRun, IsNotOverWhileAnUpdateWaits)
{
    BootUnfinished();
    Put(SettingKey::IS_OTA_FINISHED, "0", USER);
    EXPECT_TRUE(Logged("Ota activated."));
    EXPECT_FALSE(Logged("CheckIfOobeReady invoked."));
    Put(SettingKey::DEVICE_PROVISIONED, "1");
    EXPECT_TRUE(Logged("isOtaFinished not ready, curr userId: 100."));
    Finish();
    EXPECT_TRUE(Logged("HandleOnOobeReady invoked."));
}

// Meant: agreeing writes the file of the user who agreed and loads the one in front; declining loads only one's own.
TEST_F(SwitchFirstRun, OfAnotherUserWritesThatFileAndLoadsTheUserInFront)
{
    Boot({2, 0, 0});
    WriteFields(StateFile(USER), {1, 2, 0}); // so that a load shows
    Switch()->HandleOnRejectEnhanceOobe(OTHER_USER);
    Settle();
    EXPECT_EQ(State().enableState, STATE_SHARE_DISABLE);
    Switch()->HandleOnAgreeEnhanceOobe(OTHER_USER);
    Settle();
    EXPECT_EQ(File(STATE, OTHER_USER), "1,2,1");
    EXPECT_EQ(State().enableState, STATE_SHARE_ENABLE);
}

// A reload while on: whatever the file says now counts, and what it does not say is off.
TEST_F(SwitchFirstRun, OfAUserWithAChoiceLoadsTheChoice)
{
    Boot({1, 2, 1});
    WriteFields(StateFile(USER), {2, 0, 9});
    WriteFields(StateFile(USER, RECOVER), {2, 0});
    AllowError("SetShareAccountPermission paramter error.");
    Switch()->HandleOnAgreeEnhanceOobe(USER);
    Settle();
    EXPECT_EQ(State().enableState, STATE_SHARE_DISABLE);
    EXPECT_EQ(State().accountPermission, ACCOUNT_PERMISSION_OFF);
    EXPECT_EQ(File(STATE), "2,0,9");
}

// Meant: the move of an older file goes to the user in front, whoever it is read for.
TEST_F(SwitchFirstRun, OfThePrimaryUserInTheBackgroundMovesTheOlderFileToTheUserInFront)
{
    AllowFirstLoad();
    ASSERT_TRUE(Device::Instance().SwitchUser(OTHER_USER));
    Boot({});
    WriteFields(Root() / "data/service/el1/public/pelago/switch_100.cfg", {2, 0, 1});
    Switch()->HandleOnAgreeEnhanceOobe(USER);
    Settle();
    EXPECT_EQ(File(STATE, OTHER_USER), "2,0,1");
    EXPECT_EQ(File(STATE, USER), "none");
}

struct RadioStart {
    const char* name;
    const char* airplane;
    const char* service; // the device's collaboration switch
    bool starts;
};

const RadioStart RADIO_STARTS[] = {
    {"collaboration is on", "0", "1", true},
    {"collaboration is off", "0", "0", false},
    {"in airplane mode", "1", "1", false},
};

class SwitchRadioStarts : public SwitchFirstRun, public testing::WithParamInterface<RadioStart> {};

TEST_P(SwitchRadioStarts, FollowTheDeviceWhateverTheUserAnswered)
{
    const RadioStart& row = GetParam();
    BootUnfinished();
    Wifi(WifiMode::OFF);
    Bluetooth(BluetoothMode::OFF);
    Put(SettingKey::AIRPLANE_MODE, row.airplane);
    Put(SettingKey::COLLABORATION_SERVICE_SWITCH, row.service);
    Put(SettingKey::COLLABORATION_OOBE_ENHANCE, "1");
    Put(SettingKey::PELAGO_OOBE_STATE, "0", USER); // declined
    Finish();
    Advance(RADIO_MS);
    const auto radios = Device::Instance().Radios();
    EXPECT_EQ(radios.wifi == Host::WifiState::SEMI_ACTIVE, row.starts);
    EXPECT_EQ(radios.ble, row.starts);
    EXPECT_EQ(State().enableState, STATE_SHARE_FIRST_USE);
}

INSTANTIATE_TEST_SUITE_P(Switch, SwitchRadioStarts, testing::ValuesIn(RADIO_STARTS), RowName());

TEST_F(SwitchFirstRun, ArmsASecondTryWhenBluetoothRefuses)
{
    BootUnfinished();
    Bluetooth(BluetoothMode::OFF);
    Put(SettingKey::COLLABORATION_SERVICE_SWITCH, "1");
    Put(SettingKey::COLLABORATION_OOBE_ENHANCE, "1");
    Faults::Inject("bluetooth.EnableBluetoothToRestrictMode");
    Finish();
    EXPECT_TRUE(State().waitBluetoothSaRemove);
}

TEST_F(SwitchFirstRun, IsWatchedNoMoreAfterTheStop)
{
    BootUnfinished();
    StopService();
    Forget();
    Finish();
    Put(SettingKey::AIR_SWITCH, "1");
    EXPECT_FALSE(Logged("invoked"));
    EXPECT_EQ(Deadlines(), 0U);
}

} // namespace
} // namespace OHOS::Pelago
