#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "host/ability_host.h"
#include "host/device.h"
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

std::string g_heard; // by all listeners, in order

// An ability that writes down what it hears.
class Listener : public SystemAbility {
public:
    explicit Listener(int32_t id) : SystemAbility(id, true)
    {}
    using SystemAbility::AddSystemAbilityListener;
    using SystemAbility::Publish;
    void OnAddSystemAbility(int32_t id, const std::string&) override
    {
        g_heard += "+" + std::to_string(id) + "; ";
    }
    void OnRemoveSystemAbility(int32_t id, const std::string&) override
    {
        g_heard += "-" + std::to_string(id) + "; ";
    }
};

class SamgrTest : public testing::Test {
protected:
    SamgrTest()
    {
        EXPECT_TRUE(Scheduler::Instance().UseManualTime());
        EXPECT_TRUE(SystemAbility::MakeAndRegisterAbility(ability.GetRefPtr()));
    }
    std::string Heard()
    {
        EXPECT_TRUE(Scheduler::Instance().Settle());
        return std::exchange(g_heard, "");
    }
    static sptr<IRemoteObject> Find(int32_t id)
    {
        return SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager()->GetSystemAbility(id);
    }

    AbilityHost& host = AbilityHost::Instance();
    Device& device = Device::Instance();
    sptr<Listener> ability = MakeSptr<Listener>(OWN_ID);
};

TEST_F(SamgrTest, ListenersHearWhatIsThereOnceThenEachComingAndGoing)
{
    const auto change = [this](bool present) { device.SetAbilityPresent(AbilityId::DATA_SHARE, present); };
    change(false);
    change(true);
    ASSERT_TRUE(ability->AddSystemAbilityListener(AbilityId::DATA_SHARE));
    EXPECT_EQ(g_heard, "") << "nothing is told inside the call";
    EXPECT_EQ(Heard(), "+1301; -1301; +1301; ") << "what was under way when the listener came is told too";
    ASSERT_TRUE(ability->AddSystemAbilityListener(AbilityId::DATA_SHARE));
    device.SetAbilityPresent(AbilityId::TIME, false);
    EXPECT_EQ(Heard(), "") << "neither a repeated listener nor another ability";
    change(false);
    change(true);
    change(false);
    EXPECT_EQ(Heard(), "-1301; +1301; -1301; ") << "however quick";
    auto late = MakeSptr<Listener>(OTHER_ID);
    EXPECT_FALSE(late->AddSystemAbilityListener(AbilityId::DATA_SHARE)) << "the framework does not hold it";
    ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(late.GetRefPtr()));
    EXPECT_FALSE(SystemAbility::MakeAndRegisterAbility(MakeSptr<Listener>(OWN_ID).GetRefPtr())) << "the id is taken";
    ASSERT_TRUE(late->AddSystemAbilityListener(AbilityId::DATA_SHARE));
    EXPECT_EQ(Heard(), "") << "one that is absent is not told";
}

// Asks the host when it goes.
struct Busybody : public IPCObjectStub {
    ~Busybody() override
    {
        EXPECT_NE(AbilityHost::Instance().Find(OWN_ID), nullptr) << "its successor";
    }
};

TEST_F(SamgrTest, PublishedIsFoundAtOnceAndToldUnlessTheDeviceLacksIt)
{
    const sptr<IRemoteObject> object = MakeSptr<IPCObjectStub>();
    for (int32_t id : {OWN_ID, APP_MGR_SERVICE_ID}) {
        ASSERT_TRUE(ability->AddSystemAbilityListener(id));
    }
    EXPECT_EQ(Heard(), "+501; ");
    EXPECT_FALSE(ability->Publish(nullptr));
    ASSERT_TRUE(ability->Publish(MakeSptr<Busybody>()));
    ASSERT_TRUE(ability->Publish(object)) << "the latest stands";
    EXPECT_EQ(Find(OWN_ID), object);
    EXPECT_EQ(Heard(), "+60001; ");
    host.Unpublish(OWN_ID);
    EXPECT_EQ(Heard(), "-60001; ");

    const sptr<IRemoteObject> opaque = Find(TIME_SERVICE_ID);
    EXPECT_TRUE(opaque != nullptr && opaque == Find(TIME_SERVICE_ID)) << "present, though nobody published it";
    ASSERT_TRUE(host.Publish(APP_MGR_SERVICE_ID, object));
    EXPECT_EQ(Find(APP_MGR_SERVICE_ID), object);
    device.SetAbilityPresent(APP_MGR_SERVICE_ID, false);
    ASSERT_TRUE(host.Publish(APP_MGR_SERVICE_ID, object));
    EXPECT_EQ(Find(APP_MGR_SERVICE_ID), nullptr);
    EXPECT_EQ(Heard(), "-501; ") << "publishing makes nothing come that the device lacks";
    MessageParcel noToken;
    MessageParcel reply;
    MessageOption option;
    EXPECT_NE(host.RootObject()->SendRequest(1, noToken, reply, option), ERR_NONE);
}

} // namespace
