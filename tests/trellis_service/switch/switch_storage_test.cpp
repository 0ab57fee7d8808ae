// The files of users, and the switch's way to the settings.
#include "core/trellis_callback_proxy.h"
#include "ipc_skeleton.h"
#include "switch/share_setting_provider.h"
#include "switch_scene.h"

namespace OHOS::Pelago {
namespace {

using Host::Faults;

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
    AllowError("helper is nullptr", "return nullptr");
    EXPECT_EQ(Get("key"), "0 default");
    EXPECT_EQ(Provider().PutStringValue("key", "first", false), 0);
    EXPECT_EQ(Provider().PutStringValue("key", "second", false), 0); // updates the row, adds none
    EXPECT_EQ(Get("key"), "0 second");
    for (const std::string fault : {"datashare.Create", "datashare.Query"}) {
        Faults::Inject(fault);
        EXPECT_EQ(Get("key"), "-1 default") << fault;
    }
    Faults::Inject("datashare.Insert");
    EXPECT_EQ(Provider().PutStringValue("another", "1", false), -1);
    EXPECT_TRUE(Said("insert one row failed"));
}

TEST_F(Settings, OfAUserAreApartButNotifyTheGlobalKey)
{
    Play("boot 2,0,0");
    const Uri globalKey = ShareSettingProvider::AssembleUri("key");
    sptr<CountingObserver> global = new CountingObserver();
    sptr<CountingObserver> secure = new CountingObserver();
    EXPECT_EQ(Provider().RegisterObserver(globalKey, global), 0);
    EXPECT_EQ(Provider().RegisterObserver(ShareSettingProvider::AssembleUserSecureUri(USER, "key"), secure), 0);
    EXPECT_EQ(Provider().PutSecurityStringValue(USER, "key", "secret", true), 0);
    EXPECT_EQ(Provider().PutSecurityStringValue(USER, "key", "quiet", false), 0);
    Settle();
    EXPECT_EQ(Get("key") + " " + Setting("key", USER), "0 default quiet");
    EXPECT_EQ(Provider().UnRegisterObserver(globalKey, global), 0);
    EXPECT_EQ(Provider().PutStringValue("key", "value", true), 0);
    Settle();
    EXPECT_EQ(global->changes, 1);
    EXPECT_EQ(secure->changes, 0);
}

TEST_F(Settings, WithoutTheServicesObjectStayWithoutIt)
{
    AllowError("systemAbilityId=65570", "helper is nullptr", "return nullptr", "dataShare not ready",
        "not equal to switchToUserId");
    EXPECT_FALSE(Provider().CheckIfDataShareReady()); // asked before the service is there
    Play("boot 1,2,1");
    EXPECT_FALSE(Provider().CheckIfDataShareReady());
    EXPECT_EQ(State().enableState, STATE_SHARE_FIRST_USE);
}

TEST_F(Settings, AreUsedAsTheServiceInsideAClientsCallWhichGoesOnAsTheClient)
{
    Play("boot 2,0,0");
    AllowError("helper is nullptr", "return nullptr");
    const auto client = NewClient(Host::TokenId::SWITCH);
    const sptr<RecordingCallback> callee = new RecordingCallback();
    callee->during = [](const std::string&) {
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
    };
    TrellisCallbackProxy(client->Process().Connect(callee->AsObject())).OnEnableStatusChanged();
    EXPECT_EQ(callee->TakeHeard().size(), 1U);
}

} // namespace
} // namespace OHOS::Pelago
