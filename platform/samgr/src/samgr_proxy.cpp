#include "samgr_proxy.h"

#include "message_parcel.h"
#include "samgr_codes.h"

namespace OHOS {

namespace {
// Sends the request; false, with the reason at debug level of the transport, when no good reply came.
bool Ask(const sptr<IRemoteObject>& root, SamgrCode code, MessageParcel& data, MessageParcel& reply)
{
    MessageOption option(MessageOption::TF_SYNC);
    return root != nullptr && root->SendRequest(static_cast<uint32_t>(code), data, reply, option) == ERR_NONE;
}
} // namespace

sptr<IRemoteObject> SamgrProxy::GetSystemAbility(int32_t systemAbilityId)
{
    MessageParcel data;
    MessageParcel reply;
    if (!data.WriteInterfaceToken(GetDescriptor()) || !data.WriteInt32(systemAbilityId) ||
        !Ask(Remote(), SamgrCode::GET_SYSTEM_ABILITY, data, reply)) {
        return nullptr;
    }
    return reply.ReadRemoteObject();
}

std::vector<int32_t> SamgrProxy::ListSystemAbilities()
{
    MessageParcel data;
    MessageParcel reply;
    std::vector<int32_t> ids;
    if (!data.WriteInterfaceToken(GetDescriptor()) || !Ask(Remote(), SamgrCode::LIST_SYSTEM_ABILITIES, data, reply) ||
        !reply.ReadInt32Vector(&ids)) {
        return {};
    }
    return ids;
}

} // namespace OHOS
