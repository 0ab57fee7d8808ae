#ifndef PLATFORM_ABILITY_APP_MGR_STUB_H
#define PLATFORM_ABILITY_APP_MGR_STUB_H

#include "app_mgr_interface.h"
#include "iremote_stub.h"

namespace OHOS::AppExecFwk {

/// The application manager: says what the device model says. Owned by its publication; without state; any thread. It
/// answers no requests from other processes.
class AppMgrStub : public IRemoteStub<IAppMgr> {
public:
    [[nodiscard]] int32_t GetForegroundApplications(std::vector<AppStateData>& list) override;
};

} // namespace OHOS::AppExecFwk

#endif // PLATFORM_ABILITY_APP_MGR_STUB_H
