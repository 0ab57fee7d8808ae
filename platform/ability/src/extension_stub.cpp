#include "host/ability_host.h"
#include "host/extension_host.h"
#include "message_parcel.h"

namespace OHOS::Host {

using AAFwk::Want;

int ExtensionStub::OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    Want want;
    if (data.ReadInterfaceToken() != GetDescriptor() || !want.ReadFromParcel(data)) {
        return AAFwk::ERR_ABILITY_INVALID_VALUE;
    }
    switch (static_cast<Code>(code)) {
        case START:
            OnStart(want);
            return AAFwk::ERR_ABILITY_OK;
        case CONNECT:
            return Connect(want, data.ReadRemoteObject());
        case DISCONNECT:
            OnDisconnect(want);
            return AAFwk::ERR_ABILITY_OK;
    }
    return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
}

int ExtensionStub::Connect(const Want& want, const sptr<IRemoteObject>& answerTo)
{
    if (answerTo == nullptr) {
        return AAFwk::ERR_ABILITY_INVALID_VALUE;
    }
    sptr<IRemoteObject> object = OnConnect(want);
    MessageParcel answer;
    MessageParcel reply;
    MessageOption option(MessageOption::TF_ASYNC);
    if (!answer.WriteInterfaceToken(IConnectAnswer::GetDescriptor()) || !answer.WriteBool(object != nullptr) ||
        (object != nullptr && !answer.WriteRemoteObject(object))) {
        return AAFwk::ERR_ABILITY_IPC;
    }
    return answerTo->SendRequest(IConnectAnswer::CONNECTED, answer, reply, option);
}

void ExtensionStub::OnStart(const Want& /*want*/)
{}

sptr<IRemoteObject> ExtensionStub::OnConnect(const Want& /*want*/)
{
    return nullptr;
}

void ExtensionStub::OnDisconnect(const Want& /*want*/)
{}

int32_t RegisterExtension(const sptr<ISystemAbilityManager>& samgr, const std::string& bundleName,
    const std::vector<std::string>& abilities, const sptr<ExtensionStub>& extension)
{
    sptr<IRemoteObject> registry = samgr != nullptr ? samgr->GetSystemAbility(AbilityId::ABILITY_REGISTRY) : nullptr;
    if (registry == nullptr || extension == nullptr) {
        return extension == nullptr ? AAFwk::ERR_ABILITY_INVALID_VALUE : AAFwk::ERR_ABILITY_IPC;
    }
    MessageParcel data;
    MessageParcel reply;
    MessageOption option(MessageOption::TF_SYNC);
    if (!data.WriteInterfaceToken(IAbilityRegistry::GetDescriptor()) || !data.WriteString(bundleName) ||
        !data.WriteStringVector(abilities) || !data.WriteRemoteObject(extension)) {
        return AAFwk::ERR_ABILITY_IPC;
    }
    int32_t result = AAFwk::ERR_ABILITY_IPC;
    int error = registry->SendRequest(IAbilityRegistry::REGISTER_EXTENSION, data, reply, option);
    return error == ERR_NONE && reply.ReadInt32(result) ? result : AAFwk::ERR_ABILITY_IPC;
}

} // namespace OHOS::Host
