#include "samgr_stub.h"

#include "host/ability_host.h"
#include "message_parcel.h"
#include "samgr_codes.h"

namespace OHOS {

int SamgrStub::OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return SAMGR_BAD_TOKEN;
    }
    switch (static_cast<SamgrCode>(code)) {
        case SamgrCode::GET_SYSTEM_ABILITY:
            return AnswerGet(data, reply);
        case SamgrCode::LIST_SYSTEM_ABILITIES:
            return AnswerList(reply);
    }
    return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
}

sptr<IRemoteObject> SamgrStub::GetSystemAbility(int32_t systemAbilityId)
{
    return Host::AbilityHost::Instance().Find(systemAbilityId);
}

std::vector<int32_t> SamgrStub::ListSystemAbilities()
{
    return Host::AbilityHost::Instance().List();
}

int SamgrStub::AnswerGet(MessageParcel& data, MessageParcel& reply)
{
    sptr<IRemoteObject> object = GetSystemAbility(data.ReadInt32());
    if (object == nullptr) {
        return ERR_NONE;
    }
    return reply.WriteRemoteObject(object) ? ERR_NONE : SAMGR_BAD_REPLY;
}

int SamgrStub::AnswerList(MessageParcel& reply)
{
    return reply.WriteInt32Vector(ListSystemAbilities()) ? ERR_NONE : SAMGR_BAD_REPLY;
}

} // namespace OHOS
