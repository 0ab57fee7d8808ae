#include "ability_registry_stub.h"

#include <unistd.h>

#include "ability_manager_errors.h"
#include "host/ability_registry.h"
#include "host/device.h"
#include "ipc_skeleton.h"
#include "message_parcel.h"

namespace OHOS::Host {

namespace {
bool MayRegister(uint32_t token)
{
    return token == TokenId::EXTENSION || token == TokenId::OWNER;
}
} // namespace

int AbilityRegistryStub::OnRemoteRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return AAFwk::ERR_ABILITY_INVALID_VALUE;
    }
    if (code != REGISTER_EXTENSION) {
        return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
    std::string bundleName;
    std::vector<std::string> abilities;
    if (!data.ReadString(bundleName) || !data.ReadStringVector(&abilities)) {
        return AAFwk::ERR_ABILITY_INVALID_VALUE;
    }
    return reply.WriteInt32(RegisterExtension(bundleName, abilities, data.ReadRemoteObject())) ? AAFwk::ERR_ABILITY_OK
                                                                                               : AAFwk::ERR_ABILITY_IPC;
}

int32_t AbilityRegistryStub::RegisterExtension(
    const std::string& bundleName, const std::vector<std::string>& abilities, const sptr<IRemoteObject>& extension)
{
    if (!MayRegister(IPCSkeleton::GetCallingTokenID())) {
        return AAFwk::ERR_ABILITY_PERMISSION_DENIED;
    }
    // An object of our own, sent back to us, never dies: its registration would outlive whoever made it.
    if (extension != nullptr && !extension->IsProxyObject() && IPCSkeleton::GetCallingPid() != getpid()) {
        return AAFwk::ERR_ABILITY_INVALID_VALUE;
    }
    return AbilityRegistry::Instance().Register(bundleName, abilities, extension);
}

} // namespace OHOS::Host
