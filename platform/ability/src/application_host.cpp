#include "host/application_host.h"

#include "app_mgr_interface.h"
#include "host/device.h"
#include "ipc_object_stub.h"
#include "message_option.h"
#include "message_parcel.h"

namespace OHOS::Host {

int32_t AttachApplication(const sptr<ISystemAbilityManager>& samgr, const std::string& bundle)
{
    const sptr<IRemoteObject> manager =
        samgr != nullptr ? samgr->GetSystemAbility(AbilityId::APPLICATION_MANAGER) : nullptr;
    MessageParcel data;
    MessageParcel reply;
    MessageOption option(MessageOption::TF_SYNC);
    // The manager holds the object from here on; it ends with this process.
    if (manager == nullptr || !data.WriteInterfaceToken(AppExecFwk::IAppMgr::GetDescriptor()) ||
        !data.WriteString(bundle) ||
        !data.WriteRemoteObject(MakeSptr<IPCObjectStub>(u"ohos.pelago.host.Application"))) {
        return AAFwk::ERR_ABILITY_IPC;
    }
    int32_t result = AAFwk::ERR_ABILITY_IPC;
    const int error = manager->SendRequest(AppMgrCode::ATTACH_APPLICATION, data, reply, option);
    return error == ERR_NONE && reply.ReadInt32(result) ? result : AAFwk::ERR_ABILITY_IPC;
}

} // namespace OHOS::Host
