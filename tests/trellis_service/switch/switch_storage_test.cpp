#include "ipc_object_stub.h"
#include "ipc_skeleton.h"
#include "switch/share_setting_provider.h"
#include "switch_scene.h"

namespace OHOS::Pelago {
namespace {

// What is found at the start, and what the switch makes of it.
struct Found {
    const char* name;
    std::vector<int32_t> file;   // empty: there is none
    std::vector<int32_t> legacy; // where an older install kept it
    std::string kept;
    int permission;
    const char* recoverSettings = nullptr; // main and detect, of an older install
};

const Found FOUND[] = {
    {"on", {1, 2, 1}, {2, 0, 0}, "1,2 | 1,2,1 | 1,2 1,2 | 1,2", 1},
    {"off", {2, 0, 1}, {}, "2,0 | 2,0,1 | 0,0 -,- | 0,0", 1},
    {"first use", {0, 0, 0}, {}, "0,0 | 0,0,0 | 0,0 -,- | 0,0", 0},
    {"a type without an on is repaired in the settings alone", {2, 1, 0}, {}, "2,0 | 2,1,0 | 0,0 -,0 | 0,0", 0},
    {"a short file reads as zeros behind its end", {1, 2}, {}, "1,2 | 1,2,0 | 1,2 1,2 | 1,2", 0},
    {"a stray state reads as off", {7, 0, 0}, {}, "2,0 | 7,0,0 | 0,0 -,- | 0,0", 0},
    {"a stray permission reads as none", {1, 2, 9}, {}, "1,2 | 1,2,0 | 1,2 1,2 | 1,2", 0},
    {"an older file moves in", {}, {2, 0, 1}, "2,0 | 2,0,1 | 0,0 -,- | 0,0", 1},
    {"no file at all becomes one of zeros", {}, {}, "0,0 | 0,0,0 | 0,0 -,- | none", 0},
    {"an older recover pair moves in", {2, 0, 0}, {}, "1,3 | 1,3,0 | 1,3 1,3 | 1,3", 0, "1,3"},
    {"an older recover pair that is no number", {2, 0, 0}, {}, "2,0 | 2,0,0 | 0,0 -,- | 0,3", 0, "on,3"},
};

class SwitchLoads : public SwitchScene, public testing::WithParamInterface<Found> {};

TEST_P(SwitchLoads, WhatItFinds)
{
    const Found& row = GetParam();
    const auto legacyFile = Root() / "data/service/el1/public/pelago/switch_100.cfg";
    if (!row.legacy.empty()) {
        WriteFields(legacyFile, row.legacy);
    }
    if (row.recoverSettings != nullptr) {
        const std::string pair = row.recoverSettings;
        Put(SettingKey::MAIN_STATE_RECOVER, pair.substr(0, pair.find(',')));
        Put(SettingKey::DETECT_STATE_RECOVER, pair.substr(pair.find(',') + 1));
    }
    AllowFirstLoad();
    AllowError("SetShareAccountPermission paramter error.");
    Boot(row.file);
    EXPECT_EQ(Kept(), row.kept);
    EXPECT_EQ(State().accountPermission, row.permission);
    EXPECT_EQ(std::filesystem::exists(legacyFile), !row.file.empty() && !row.legacy.empty());
}

INSTANTIATE_TEST_SUITE_P(Switch, SwitchLoads, testing::ValuesIn(FOUND), RowName());

class SwitchFiles : public SwitchScene {
protected:
    // What a read gives, from outputs of 5, 6, 7: "1: 1,2,0".
    static std::string Read(const std::string& path)
    {
        int state = 5;
        int type = 6;
        int permission = 7;
        const bool result = Switch()->GetShareStateInfoFromFileByFileName(path, state, type, permission);
        return std::to_string(result) + ": " + std::to_string(state) + "," + std::to_string(type) + "," +
               std::to_string(permission);
    }
};

TEST_F(SwitchFiles, ReadDiffersByWhyItFails)
{
    Boot();
    AllowError("file path is not real path!");
    EXPECT_EQ(Read(StateFile(USER, "nothing.cfg")), "0: 5,6,7"); // no path: untouched
    EXPECT_TRUE(LoggedError("IsValidPath failed enter."));
    WriteFields(StateFile(USER, "empty.cfg"), {});
    EXPECT_EQ(Read(StateFile(USER, "empty.cfg")), "1: 0,0,0"); // as after a crash while writing
    if (geteuid() != 0) {                                      // whom no mode keeps out
        std::filesystem::permissions(StateFile(USER, "empty.cfg"), std::filesystem::perms::none);
        EXPECT_EQ(Read(StateFile(USER, "empty.cfg")), "0: 0,0,0"); // no open: zeros
    }
}

TEST_F(SwitchFiles, OfUsersWhoAreNotVerifiedAreNeitherReadNorWritten)
{
    Boot();
    WriteFields(StateFile(OTHER_USER), {1, 2, 1});
    ASSERT_TRUE(Device::Instance().SetVerified(OTHER_USER, false));
    int state = 5;
    int type = 6;
    int permission = 7;
    EXPECT_FALSE(Switch()->GetShareStateInfoFromFile(OTHER_USER, state, type, permission));
    EXPECT_EQ(state, 5);
    EXPECT_TRUE(LoggedError("user id is invalid"));
    EXPECT_FALSE(Switch()->PutShareStateInfoToFileWithUserId(2, 0, 0, OTHER_USER));
    EXPECT_TRUE(LoggedError("userId: 101 not verified"));
    EXPECT_EQ(File(STATE, OTHER_USER), "1,2,1");
}

TEST_F(SwitchFiles, PatchTouchesOneFieldOfAFileThatIsThere)
{
    AllowError("paramter error");
    Boot({2, 3, 4});
    EXPECT_TRUE(Switch()->PutSingleShareStateInfoToFile(SWITCH_TYPE_MAIN, 9));
    EXPECT_TRUE(Switch()->PutSingleShareStateInfoToFile(SWITCH_TYPE_DETECT, 8));
    EXPECT_TRUE(Switch()->PutSingleShareStateInfoToFile(SWITCH_TYPE_PERMISSION, 7));
    EXPECT_EQ(File(STATE), "9,8,7");
    EXPECT_FALSE(Switch()->PutSingleShareStateInfoToFile(SWITCH_TYPE_AIR, 6));
    EXPECT_TRUE(LoggedError("switchType 3 error"));
    EXPECT_EQ(File(STATE), "9,8,7");
    std::filesystem::remove(StateFile(USER));
    EXPECT_FALSE(Switch()->PutSingleShareStateInfoToFile(SWITCH_TYPE_MAIN, 9));
    EXPECT_TRUE(LoggedError("switch.cfg not exist"));
    EXPECT_EQ(File(STATE), "none");
}

TEST_F(SwitchFiles, ThatCannotBeWrittenChangeNothingInMemory)
{
    Boot({2, 0, 0});
    std::filesystem::remove_all(StateFile(USER).parent_path());
    AllowError("switch.cfg not exist");
    TurnOn();
    EXPECT_EQ(State().enableState, STATE_SHARE_ENABLE);
    EXPECT_EQ(Setting(SettingKey::MAIN_STATE), "1");
    EXPECT_TRUE(LoggedError("open file failed, userId: 100"));
    TurnOff();
    EXPECT_TRUE(LoggedError("open file failed, localUserId: 100"));
    EXPECT_EQ(File(STATE), "none"); // folders are not made
}

TEST_F(SwitchFiles, SettingsThatCannotBeWrittenChangeNothingElse)
{
    Boot({2, 0, 0});
    Faults::Inject("datashare.Create", Faults::ALWAYS);
    AllowErrors({"helper is nullptr", "CreateDataShareHelper return nullptr"});
    EXPECT_TRUE(Switch()->PutShareStateInfoToSettings(SWITCH_TYPE_MAIN, 1, true)); // reads backwards
    TurnOn();
    EXPECT_EQ(State().enableState, STATE_SHARE_ENABLE);
    EXPECT_EQ(File(STATE), "1,2,0");
    Faults::Clear();
    EXPECT_FALSE(Switch()->PutShareStateInfoToSettings(SWITCH_TYPE_MAIN, 1, true));
}

// The way to the settings

class CountingObserver : public AAFwk::DataAbilityObserverStub {
public:
    void OnChange() override
    {
        ++changes;
    }
    int changes = 0;
};

class Settings : public SwitchScene {
protected:
    static ShareSettingProvider& Provider()
    {
        return ShareSettingProvider::GetInstance(TRELLIS_SERVICE_ID);
    }
    static std::string Get(const std::string& key)
    {
        std::string value = "default";
        return std::to_string(Provider().GetStringValue(key, value)) + " " + value;
    }
};

TEST_F(Settings, AnswerAMissingRowWithTheDefaultAndAFailureWithAnError)
{
    Boot();
    EXPECT_EQ(Get("key"), "0 default");
    EXPECT_EQ(Provider().PutStringValue("key", "first", false), 0);
    EXPECT_EQ(Provider().PutStringValue("key", "second", false), 0); // updates the row, adds none
    EXPECT_EQ(Get("key"), "0 second");
    for (const std::string fault : {"datashare.Create", "datashare.Query"}) {
        Faults::Inject(fault);
        AllowErrors({"helper is nullptr", "return nullptr"});
        EXPECT_EQ(Get("key"), "-1 default") << fault;
    }
    Faults::Inject("datashare.Insert");
    EXPECT_EQ(Provider().PutStringValue("another", "1", false), -1);
    EXPECT_TRUE(LoggedError("insert one row failed"));
}

TEST_F(Settings, OfAUserAreApartButNotifyTheGlobalKey)
{
    Boot();
    sptr<CountingObserver> global = new CountingObserver();
    sptr<CountingObserver> secure = new CountingObserver();
    EXPECT_EQ(Provider().RegisterObserver(ShareSettingProvider::AssembleUri("key"), global), 0);
    EXPECT_EQ(Provider().RegisterObserver(ShareSettingProvider::AssembleUserSecureUri(USER, "key"), secure), 0);
    EXPECT_EQ(Provider().PutSecurityStringValue(USER, "key", "secret", true), 0);
    EXPECT_EQ(Provider().PutSecurityStringValue(USER, "key", "quiet", false), 0);
    Settle();
    EXPECT_EQ(Get("key"), "0 default");
    EXPECT_EQ(Setting("key", USER), "quiet");
    EXPECT_EQ(global->changes, 1);
    EXPECT_EQ(secure->changes, 0);
    EXPECT_EQ(Provider().UnRegisterObserver(ShareSettingProvider::AssembleUri("key"), global), 0);
    EXPECT_EQ(Provider().PutStringValue("key", "value", true), 0);
    Settle();
    EXPECT_EQ(global->changes, 1);
}

TEST_F(Settings, WithoutTheServicesObjectStayWithoutIt)
{
    AllowErrors({"systemAbilityId=65570", "helper is nullptr", "return nullptr", "dataShare not ready",
        "not equal to switchToUserId"});
    EXPECT_FALSE(Provider().CheckIfDataShareReady()); // asked before the service is there
    Boot({1, 2, 1});
    EXPECT_FALSE(Provider().CheckIfDataShareReady());
    EXPECT_EQ(State().enableState, STATE_SHARE_FIRST_USE);
}

class InsideACall : public IPCObjectStub {
public:
    explicit InsideACall(std::function<void()> body) : IPCObjectStub(u"test.inside"), body_(std::move(body))
    {}
    int OnRemoteRequest(uint32_t, MessageParcel&, MessageParcel&, MessageOption&) override
    {
        body_();
        return 0;
    }

private:
    const std::function<void()> body_;
};

TEST_F(Settings, AreUsedAsTheServiceInsideAClientsCallWhichGoesOnAsTheClient)
{
    Boot();
    AllowErrors({"helper is nullptr", "return nullptr"});
    const auto client = NewClient(Host::TokenId::SWITCH);
    const sptr<IRemoteObject> call = client->Process().Connect(new InsideACall([this] {
        EXPECT_EQ(Provider().PutStringValue("key", "1", false), 0);
        EXPECT_EQ(Get("key"), "0 1");
        Faults::Inject("datashare.Create");
        EXPECT_EQ(Get("key"), "-1 default");
        Faults::Inject("datashare.Create");
        EXPECT_EQ(Provider().RegisterObserver(ShareSettingProvider::AssembleUri("key"), new CountingObserver()), -1);
        EXPECT_EQ(IPCSkeleton::GetCallingTokenID(), Host::TokenId::SWITCH);
        // Meant: after a registration the rest of the request is the service's own.
        EXPECT_EQ(Provider().RegisterObserver(ShareSettingProvider::AssembleUri("key"), new CountingObserver()), 0);
        EXPECT_NE(IPCSkeleton::GetCallingTokenID(), Host::TokenId::SWITCH);
    }));
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    EXPECT_EQ(call->SendRequest(1, data, reply, option), 0);
}

} // namespace
} // namespace OHOS::Pelago
