#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "host/ability_host.h"
#include "host/device.h"
#include "host/faults.h"
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
    explicit Listener(std::string& heard, int32_t id = OWN_ID, bool runOnCreate = true)
        : SystemAbility(id, runOnCreate), heard_(heard)
    {}
    using SystemAbility::AddSystemAbilityListener;
    using SystemAbility::Publish;

private:
    void OnStart() override
    {
        Hear("start");
    }
    void OnStop() override
    {
        Hear("stop");
    }
    void OnAddSystemAbility(int32_t id, const std::string&) override
    {
        Hear("add " + std::to_string(id));
    }
    void OnRemoveSystemAbility(int32_t id, const std::string&) override
    {
        Hear("remove " + std::to_string(id));
    }
    void Hear(const std::string& what)
    {
        heard_ += what + "; ";
    }

    std::string& heard_;
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

struct PresenceRow {
    const char* name;
    std::function<void(Device&)> given;
    std::function<void(Device&, Listener&)> when;
    const char* heard;
};

void PrintTo(const PresenceRow& row, std::ostream* out)
{
    *out << row.name;
}

const std::vector<PresenceRow> PRESENCE_ROWS = {
    {"one that is present is told once", [](Device&) {}, [](Device&, Listener&) {}, "add 1301; "},
    {"one that is absent is not told", [](Device& device) { device.SetAbilityPresent(AbilityId::DATA_SHARE, false); },
        [](Device&, Listener&) {}, ""},
    {"one that comes later is told then",
        [](Device& device) { device.SetAbilityPresent(AbilityId::DATA_SHARE, false); },
        [](Device& device, Listener&) { device.SetAbilityPresent(AbilityId::DATA_SHARE, true); }, "add 1301; "},
    {"what was under way when the listener came is told too",
        [](Device& device) {
            device.SetAbilityPresent(AbilityId::DATA_SHARE, false);
            device.SetAbilityPresent(AbilityId::DATA_SHARE, true);
        },
        [](Device&, Listener&) {}, "add 1301; remove 1301; add 1301; "},
    {"a loss and a return are both told, however quick", [](Device&) {},
        [](Device& device, Listener&) {
            EXPECT_TRUE(Scheduler::Instance().Settle());
            device.SetAbilityPresent(AbilityId::DATA_SHARE, false);
            device.SetAbilityPresent(AbilityId::DATA_SHARE, true);
        },
        "add 1301; remove 1301; add 1301; "},
    {"a repeated listener changes nothing", [](Device&) {},
        [](Device&, Listener& listener) { EXPECT_TRUE(listener.AddSystemAbilityListener(AbilityId::DATA_SHARE)); },
        "add 1301; "},
    {"other abilities are not told", [](Device&) {},
        [](Device& device, Listener&) { device.SetAbilityPresent(AbilityId::TIME, false); }, "add 1301; "},
};

class SamgrPresenceTest : public SamgrTest, public testing::WithParamInterface<PresenceRow> {};

TEST_P(SamgrPresenceTest, IsTold)
{
    GetParam().given(device);
    ASSERT_TRUE(ability->AddSystemAbilityListener(AbilityId::DATA_SHARE));
    EXPECT_EQ(heard, "") << "nothing is told inside the call";
    GetParam().when(device, *ability);
    EXPECT_EQ(Heard(), GetParam().heard);
}

INSTANTIATE_TEST_SUITE_P(Rows, SamgrPresenceTest, testing::ValuesIn(PRESENCE_ROWS),
    [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST_F(SamgrTest, PublishedIsFoundAtOnceAndTold)
{
    sptr<Listener> other = MakeSptr<Listener>(heard, OTHER_ID);
    ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(other.GetRefPtr()));
    ASSERT_TRUE(ability->AddSystemAbilityListener(OTHER_ID));
    EXPECT_FALSE(other->Publish(nullptr));
    sptr<IRemoteObject> object = MakeSptr<IPCObjectStub>();
    ASSERT_TRUE(other->Publish(object));
    EXPECT_EQ(Find(OTHER_ID), object);
    ASSERT_TRUE(other->Publish(MakeSptr<IPCObjectStub>())) << "the latest stands";
    EXPECT_NE(Find(OTHER_ID), object);
    EXPECT_EQ(Heard(), "add 60002; ");
    host.Unpublish(OTHER_ID);
    EXPECT_EQ(Heard(), "remove 60002; ");
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
    EXPECT_EQ(Heard(), "");
    EXPECT_EQ(Find(APP_MGR_SERVICE_ID), nullptr) << "published, but gone";
    ASSERT_TRUE(ability->AddSystemAbilityListener(APP_MGR_SERVICE_ID));
    ASSERT_TRUE(host.Publish(APP_MGR_SERVICE_ID, manager));
    EXPECT_EQ(Heard(), "") << "publishing makes nothing come that the device lacks";
    EXPECT_EQ(Find(OTHER_ID), nullptr);
}

TEST_F(SamgrTest, FaultsMakeItUnreachable)
{
    Faults::Inject("samgr.manager");
    EXPECT_EQ(SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager(), nullptr);
    Faults::Inject("samgr.find");
    EXPECT_EQ(Find(TIME_SERVICE_ID), nullptr);
    Faults::Inject("samgr.publish");
    EXPECT_FALSE(ability->Publish(MakeSptr<IPCObjectStub>()));
    Faults::Inject("samgr.listen");
    EXPECT_FALSE(ability->AddSystemAbilityListener(AbilityId::DATA_SHARE));
    EXPECT_NE(Find(TIME_SERVICE_ID), nullptr) << "each fault is spent";
    Listener stranger(heard, OTHER_ID);
    EXPECT_FALSE(stranger.AddSystemAbilityListener(AbilityId::DATA_SHARE)) << "the framework does not hold it";
    EXPECT_EQ(Heard(), "");
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
    EXPECT_TRUE(found->IsProxyObject());
    EXPECT_EQ(found->GetObjectDescriptor(), u"own");
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
