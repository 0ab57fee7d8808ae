#ifndef PLATFORM_ABILITY_APP_MGR_STUB_H
#define PLATFORM_ABILITY_APP_MGR_STUB_H

#include <map>
#include <mutex>
#include <string>

#include "app_mgr_interface.h"
#include "iremote_stub.h"

namespace OHOS::AppExecFwk {

/// The application manager: says what the device model says, and lets processes of any token attach as applications.
/// Owned by its publication; any thread. What other processes may ask stands in host/application_host.h; it starts
/// nobody.
class AppMgrStub : public IRemoteStub<IAppMgr> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

    [[nodiscard]] int32_t GetForegroundApplications(std::vector<AppStateData>& list) override;

private:
    class Death; // tells of the end of an application's process

    [[nodiscard]] int32_t Attach(const std::string& bundle, const sptr<IRemoteObject>& application);
    void Detach(int32_t pid, const wptr<IRemoteObject>& application);

    std::mutex mutex_; // guards the next; held while the device model is told, so that both say the same
    struct Attached {
        sptr<IRemoteObject> object; // whose death ends it
        sptr<IRemoteObject::DeathRecipient> death;
    };
    std::map<int32_t, Attached> attached_; // by pid
};

} // namespace OHOS::AppExecFwk

#endif // PLATFORM_ABILITY_APP_MGR_STUB_H
