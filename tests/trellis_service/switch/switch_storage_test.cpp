// What the switch finds at its load, and its way to the settings.
#include "ipc_object_stub.h"
#include "ipc_skeleton.h"
#include "switch/share_setting_provider.h"
#include "switch_scene.h"

namespace OHOS::Pelago {
namespace {

using Host::Faults;

class SwitchLoads : public SwitchScene, public testing::WithParamInterface<Row> {};

TEST_P(SwitchLoads, WhatItFinds)
{
    Check(GetParam());
}

// clang-format off
const Row FOUND[] = {
    {"on", "legacy 2,0,0", "boot 1,2,1", "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | show 2, permit 1 | 0 | 0", "!remove old"},
    {"off", "", "boot 2,0,1", "2,0,1 | 2,0,1 | 0,0,1 / -,-,1 | 0,0 | - | 0 | 0"},
    {"off, on before the radios went", "recover 100 1,3", "boot 2,0,1",
        "1,3,1 | 1,3,1 | 1,3,1 | 1,3 | show 3, permit 1 | 0 | 0"},
    {"a type without an on is repaired in the settings alone", "", "boot 2,1,0",
        "2,0,0 | 2,1,0 | 0,0,0 / -,0,0 | 0,0 | - | 0 | 0", "recover saveType from 1 to 0."},
    {"a short file reads as zeros behind its end", "", "boot 1,2",
        "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | show 2, permit 0 | 0 | 0"},
    {"an empty file, of a writer that was killed, reads as first use", "write 100 ,", "boot",
        "0,0,0 | 0,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0"},
    {"and returns with the pair, if that says on", "write 100 ,; recover 100 1,2", "boot",
        "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | show 2, permit 0 | 0 | 0"},
    {"an empty pair is none", "recover 100 ,", "boot 2,0,0", "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0"},
    {"a stray state reads as off", "", "boot 7,0,0", "2,0,0 | 7,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0"},
    {"a stray permission reads as none", "", "boot 1,2,9", "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | show 2, permit 0 | 0 | 0",
        "SetShareAccountPermission paramter error."},
    {"an older file moves in", "legacy 2,0,1", "boot", "2,0,1 | 2,0,1 | 0,0,1 / -,-,1 | 0,0 | - | 0 | 0",
        "remove old switch file, removeRet: 0"},
    {"no file at all becomes one of zeros", "", "boot", "0,0,0 | 0,0,0 | 0,0,0 / -,-,- | none | - | 0 | 0",
        "remove old switch file, removeRet: -1|GetShareStateInfoFromFile failed|IsValidPath failed enter.|"
        "~file path is not real path!"},
    {"which is a first use from then on", "boot", "agree 100", "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | show 2, permit 1 | 1 | 0",
        "~GetShareStateInfoFromFile failed|~IsValidPath failed enter.|~file path is not real path!"},
    {"an older pair moves in", "set old-state 1; set old-type 3", "boot 2,0,0",
        "1,3,0 | 1,3,0 | 1,3,0 | 1,3 | show 3, permit 0 | 0 | 0"},
    {"an older pair yields to the file", "set old-state 1; set old-type 3; recover 100 2,0", "boot 2,0,0",
        "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 | 2,0 | - | 0 | 0"},
    {"an older pair that is no number", "set old-state on; set old-type 3", "boot 2,0,0",
        "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 | 0,3 | - | 0 | 0"},
    {"an older pair is the primary user's alone", "set old-state 1; set old-type 3; write 101 2,0,0; boot 2,0,0; "
        "off", "user 101", "2,0,0 user 101 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | hide | 1 | 0"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Found, SwitchLoads, testing::ValuesIn(FOUND), RowName());

class SwitchFiles : public SwitchScene {};

// Whatever the state of the screen says now counts: a user may be locked between two operations.
TEST_F(SwitchFiles, OfUsersWhoAreNotVerifiedAreNeitherReadNorWritten)
{
    Play("boot 2,0,0; write 101 1,2,1; lock 101");
    int state = 5;
    int type = 6;
    int permission = 7;
    EXPECT_FALSE(Switch()->GetShareStateInfoFromFile(OTHER_USER, state, type, permission));
    EXPECT_EQ(state, 5);
    EXPECT_TRUE(Said("user id is invalid"));
    EXPECT_FALSE(Switch()->PutShareStateInfoToFileWithUserId(2, 0, 0, OTHER_USER));
    EXPECT_TRUE(Said("userId: 101 not verified"));
    EXPECT_EQ(ReadFields(StateFile(OTHER_USER)), (std::vector<int32_t>{1, 2, 1}));
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
    Play("boot 2,0,0");
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
    EXPECT_TRUE(Said("insert one row failed"));
}

TEST_F(Settings, OfAUserAreApartButNotifyTheGlobalKey)
{
    Play("boot 2,0,0");
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
    Play("boot 1,2,1");
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
    Play("boot 2,0,0");
    AllowErrors({"helper is nullptr", "return nullptr"});
    const auto client = NewClient(Host::TokenId::SWITCH);
    const sptr<IRemoteObject> call = client->Process().Connect(new InsideACall([] {
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
