#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "host/ability_host.h"
#include "host/device.h"
#include "host/loopback.h"
#include "host/scheduler.h"
#include "ipc_object_stub.h"
#include "iservice_registry.h"
#include "message_parcel.h"
#include "system_ability_definition.h"

using namespace OHOS;
using namespace OHOS::Host;

namespace {

constexpr int32_t OWN_ID = 60001;
constexpr int32_t OTHER_ID = 60002;

// An ability that writes down what it hears.
class Listener : public SystemAbility {
public:
    explicit Listener(std::string& text, int32_t id = OWN_ID, bool runOnCreate = true)
        : SystemAbility(id, runOnCreate), heard(text)
    {}
    using SystemAbility::AddSystemAbilityListener;
    using SystemAbility::Publish;
    void OnStart() override
    {
        heard += "start; ";
    }
    void OnStop() override
    {
        heard += "stop; ";
    }
    void OnAddSystemAbility(int32_t id, const std::string&) override
    {
        heard += "+" + std::to_string(id) + "; ";
    }
    void OnRemoveSystemAbility(int32_t id, const std::string&) override
    {
        heard += "-" + std::to_string(id) + "; ";
    }
    std::string& heard;
};

class SamgrTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Scheduler::Instance().UseManualTime());
        ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(ability.GetRefPtr()));
    }
    std::string Heard()
    {
        EXPECT_TRUE(Scheduler::Instance().Settle());
        return std::exchange(heard, "");
    }
    static sptr<IRemoteObject> Find(int32_t id)
    {
        return SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager()->GetSystemAbility(id);
    }

    AbilityHost& host = AbilityHost::Instance();
    Device& device = Device::Instance();
    std::string heard;
    sptr<Listener> ability = MakeSptr<Listener>(heard);
};

TEST_F(SamgrTest, StartsAndStopsAbilitiesOnItsQueueInOrder)
{
    EXPECT_FALSE(SystemAbility::MakeAndRegisterAbility(nullptr));
    EXPECT_FALSE(SystemAbility::MakeAndRegisterAbility(MakeSptr<Listener>(heard).GetRefPtr())) << "the id is taken";
    ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(MakeSptr<Listener>(heard, OTHER_ID, false).GetRefPtr()));
    host.Start([this] { heard += "started; "; });
    EXPECT_EQ(heard, "") << "nothing runs inside the call";
    EXPECT_EQ(Heard(), "start; started; ") << "one does not run on creation";
    ASSERT_TRUE(ability->Publish(MakeSptr<IPCObjectStub>()));
    host.Stop([this] { heard += "stopped; "; });
    EXPECT_EQ(Heard(), "stop; stopped; ");
    EXPECT_EQ(Find(OWN_ID), nullptr);
}

TEST_F(SamgrTest, ListenersHearWhatIsThereOnceThenEachComingAndGoing)
{
    const auto change = [this](bool present) { device.SetAbilityPresent(AbilityId::DATA_SHARE, present); };
    const auto listen = [this] { return ability->AddSystemAbilityListener(AbilityId::DATA_SHARE); };
    change(false);
    change(true);
    ASSERT_TRUE(listen());
    EXPECT_EQ(heard, "") << "nothing is told inside the call";
    EXPECT_EQ(Heard(), "+1301; -1301; +1301; ") << "what was under way when the listener came is told too";
    ASSERT_TRUE(listen());
    device.SetAbilityPresent(AbilityId::TIME, false);
    EXPECT_EQ(Heard(), "") << "neither a repeated listener nor another ability";
    change(false);
    change(true);
    EXPECT_EQ(Heard(), "-1301; +1301; ") << "however quick";
    change(false);
    EXPECT_EQ(Heard(), "-1301; ");
    auto late = MakeSptr<Listener>(heard, OTHER_ID);
    ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(late.GetRefPtr()));
    ASSERT_TRUE(late->AddSystemAbilityListener(AbilityId::DATA_SHARE));
    EXPECT_EQ(Heard(), "") << "one that is absent is not told";
    Listener stranger(heard, 60003);
    EXPECT_FALSE(stranger.AddSystemAbilityListener(AbilityId::DATA_SHARE)) << "the framework does not hold it";
}

// Asks the host when it goes.
struct Busybody : public IPCObjectStub {
    ~Busybody() override
    {
        EXPECT_NE(AbilityHost::Instance().Find(OWN_ID), nullptr) << "its successor";
    }
};

TEST_F(SamgrTest, PublishedIsFoundAtOnceAndTold)
{
    ASSERT_TRUE(ability->AddSystemAbilityListener(OWN_ID));
    EXPECT_FALSE(ability->Publish(nullptr));
    ASSERT_TRUE(ability->Publish(MakeSptr<Busybody>()));
    sptr<IRemoteObject> object = MakeSptr<IPCObjectStub>();
    ASSERT_TRUE(ability->Publish(object)) << "the latest stands";
    EXPECT_EQ(Find(OWN_ID), object);
    EXPECT_EQ(Heard(), "+60001; ");
    host.Unpublish(OWN_ID);
    EXPECT_EQ(Heard(), "-60001; ");
}

TEST_F(SamgrTest, TheDeviceDecidesAboutItsOwnAbilities)
{
    sptr<IRemoteObject> opaque = Find(TIME_SERVICE_ID);
    ASSERT_NE(opaque, nullptr) << "present, though nobody published it";
    EXPECT_EQ(Find(TIME_SERVICE_ID), opaque);
    sptr<IRemoteObject> manager = MakeSptr<IPCObjectStub>();
    ASSERT_TRUE(host.Publish(APP_MGR_SERVICE_ID, manager));
    EXPECT_EQ(Find(APP_MGR_SERVICE_ID), manager);
    device.SetAbilityPresent(APP_MGR_SERVICE_ID, false);
    EXPECT_EQ(Find(APP_MGR_SERVICE_ID), nullptr) << "published, but gone";
    ASSERT_TRUE(ability->AddSystemAbilityListener(APP_MGR_SERVICE_ID));
    ASSERT_TRUE(host.Publish(APP_MGR_SERVICE_ID, manager));
    EXPECT_EQ(Heard(), "") << "publishing makes nothing come that the device lacks";
}

TEST_F(SamgrTest, AClientFindsAndListsWhatTheDaemonHas)
{
    ASSERT_TRUE(ability->Publish(MakeSptr<IPCObjectStub>(u"own")));
    LoopbackProcess client({4711, 20001, TokenId::PLAIN});
    SetRemoteSamgr(client.Connect(host.RootObject()));
    sptr<ISystemAbilityManager> samgr = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    SetRemoteSamgr(nullptr);
    EXPECT_FALSE(Find(OWN_ID)->IsProxyObject()) << "and the daemon itself has the object";
    sptr<IRemoteObject> found = samgr->GetSystemAbility(OWN_ID);
    ASSERT_NE(found, nullptr);
    EXPECT_TRUE(found->IsProxyObject() && found->GetObjectDescriptor() == u"own");
    EXPECT_EQ(samgr->GetSystemAbility(OTHER_ID), nullptr);
    EXPECT_EQ(samgr->ListSystemAbilities(), host.List());
    EXPECT_EQ(host.List().back(), AbilityId::COLLABORATION_DETECT);
    client.Kill();
    EXPECT_EQ(samgr->GetSystemAbility(OWN_ID), nullptr);
    EXPECT_TRUE(samgr->ListSystemAbilities().empty());
    EXPECT_EQ(SamgrOf(nullptr), nullptr);
}

TEST_F(SamgrTest, TheRootRefusesWhatItDoesNotKnow)
{
    MessageParcel reply;
    MessageOption option;
    MessageParcel noToken;
    EXPECT_NE(host.RootObject()->SendRequest(1, noToken, reply, option), ERR_NONE);
    MessageParcel wildCode;
    ASSERT_TRUE(wildCode.WriteInterfaceToken(ISystemAbilityManager::GetDescriptor()));
    EXPECT_EQ(host.RootObject()->SendRequest(77, wildCode, reply, option), IPC_UNKNOWN_CODE);
    MessageParcel noId;
    ASSERT_TRUE(noId.WriteInterfaceToken(ISystemAbilityManager::GetDescriptor()));
    EXPECT_EQ(host.RootObject()->SendRequest(1, noId, reply, option), ERR_NONE) << "nobody has the id 0";
    EXPECT_EQ(reply.ReadRemoteObject(), nullptr);
}

} // namespace
