#ifndef PLATFORM_SAMGR_SAMGR_STUB_H
#define PLATFORM_SAMGR_SAMGR_STUB_H

#include "if_system_ability_manager.h"
#include "iremote_stub.h"

namespace OHOS {

/// The manager of the device's own process and the root object of its connections. Owned by AbilityHost and by whoever
/// asks it; without state; any thread. Every caller may look: what is found checks its callers itself.
class SamgrStub : public IRemoteStub<ISystemAbilityManager> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

    sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId) override;
    std::vector<int32_t> ListSystemAbilities() override;

private:
    [[nodiscard]] int AnswerGet(MessageParcel& data, MessageParcel& reply);
    [[nodiscard]] int AnswerList(MessageParcel& reply);
};

} // namespace OHOS

#endif // PLATFORM_SAMGR_SAMGR_STUB_H
