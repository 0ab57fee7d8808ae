#ifndef PLATFORM_ABILITY_ABILITY_REGISTRY_STUB_H
#define PLATFORM_ABILITY_ABILITY_REGISTRY_STUB_H

#include "host/extension_host.h"
#include "iremote_stub.h"

namespace OHOS::Host {

/// Ability 180: lets processes with the extension's or the owner's token register. Owned by its publication; without
/// state; any thread.
class AbilityRegistryStub : public IRemoteStub<IAbilityRegistry> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

    [[nodiscard]] int32_t RegisterExtension(const std::string& bundleName, const std::vector<std::string>& abilities,
        const sptr<IRemoteObject>& extension) override;
};

} // namespace OHOS::Host

#endif // PLATFORM_ABILITY_ABILITY_REGISTRY_STUB_H
