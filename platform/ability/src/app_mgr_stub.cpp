#include "app_mgr_stub.h"

#include "ability_manager_errors.h"
#include "host/application_host.h"
#include "host/device.h"
#include "host/faults.h"
#include "ipc_skeleton.h"
#include "message_parcel.h"

namespace OHOS::AppExecFwk {

class AppMgrStub::Death : public IRemoteObject::DeathRecipient {
public:
    Death(const wptr<AppMgrStub>& manager, int32_t pid) : manager_(manager), pid_(pid)
    {}
    void OnRemoteDied(const wptr<IRemoteObject>& object) override
    {
        if (const sptr<AppMgrStub> manager = manager_.promote(); manager != nullptr) {
            manager->Detach(pid_, object);
        }
    }

private:
    const wptr<AppMgrStub> manager_;
    const int32_t pid_;
};

int AppMgrStub::OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return AAFwk::ERR_ABILITY_INVALID_VALUE;
    }
    if (code != Host::AppMgrCode::ATTACH_APPLICATION) {
        return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
    std::string bundle;
    if (!data.ReadString(bundle)) {
        return AAFwk::ERR_ABILITY_INVALID_VALUE;
    }
    return reply.WriteInt32(Attach(bundle, data.ReadRemoteObject())) ? AAFwk::ERR_ABILITY_OK : AAFwk::ERR_ABILITY_IPC;
}

int32_t AppMgrStub::GetForegroundApplications(std::vector<AppStateData>& list)
{
    if (Host::Faults::Take("app.foreground")) {
        return AAFwk::ERR_ABILITY_IPC;
    }
    list.clear();
    for (const Host::Application& application : Host::Device::Instance().ForegroundApplications()) {
        list.push_back({application.bundleName, application.pid, application.uid});
    }
    return AAFwk::ERR_ABILITY_OK;
}

int32_t AppMgrStub::Attach(const std::string& bundle, const sptr<IRemoteObject>& application)
{
    // An object of this process, which any caller can hand back, would never die.
    if (application == nullptr || !application->IsProxyObject() || bundle.empty() ||
        bundle.size() > Host::MAX_BUNDLE_NAME) {
        return AAFwk::ERR_ABILITY_INVALID_VALUE;
    }
    const int32_t pid = IPCSkeleton::GetCallingPid();
    Attached next{application, MakeSptr<Death>(this, pid)}; // afterwards the earlier one, which goes after the lock
    const std::lock_guard<std::mutex> lock(mutex_);
    // Under the lock: a death that is told at once finds the application.
    if (!application->AddDeathRecipient(next.death)) {
        return AAFwk::ERR_ABILITY_DIED;
    }
    if (!Host::Device::Instance().AttachApplication(
            {pid, static_cast<int32_t>(IPCSkeleton::GetCallingUid()), bundle})) {
        (void)application->RemoveDeathRecipient(next.death); // a call under way finds nobody
        return AAFwk::ERR_ABILITY_TOO_MANY;
    }
    std::swap(attached_[pid], next);
    if (next.object != nullptr) {
        (void)next.object->RemoveDeathRecipient(next.death); // as above
    }
    return AAFwk::ERR_ABILITY_OK;
}

void AppMgrStub::Detach(int32_t pid, const wptr<IRemoteObject>& application)
{
    Attached gone; // goes after the lock
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = attached_.find(pid);
    if (found == attached_.end() || application != found->second.object.GetRefPtr()) {
        return; // attached again since, perhaps by another process with the same pid
    }
    gone = std::move(found->second);
    attached_.erase(found);
    Host::Device::Instance().DetachApplication(pid);
}

} // namespace OHOS::AppExecFwk
