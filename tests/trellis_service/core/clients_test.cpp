#include "service_fixture.h"

namespace OHOS::Pelago {
namespace {

class Clients : public ServiceFixture {};

TEST_F(Clients, EveryRegistrationTellsEverybodyTheirNumber)
{
    Boot();
    auto first = NewClient();
    auto second = NewClient();
    EXPECT_TRUE((*first)->RegisterTrellisCallback(first->callback));
    EXPECT_EQ(first->TakeHeard(), (Lines{"OnEnableStatusChanged", "OnConnectHub trellisCBCount 1"}));
    EXPECT_TRUE((*second)->RegisterTrellisCallback(second->callback));
    Lines both{"OnEnableStatusChanged", "OnConnectHub trellisCBCount 2"};
    EXPECT_EQ(first->TakeHeard(), both);
    EXPECT_EQ(second->TakeHeard(), both);
    EXPECT_TRUE((*second)->UnRegisterTrellisCallback(second->callback));
    EXPECT_EQ(first->TakeHeard(), Lines{"OnConnectHub trellisCBCount 1"});
    EXPECT_TRUE(second->TakeHeard().empty());
}

} // namespace
} // namespace OHOS::Pelago
