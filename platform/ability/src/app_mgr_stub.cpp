#include "app_mgr_stub.h"

#include "ability_manager_errors.h"
#include "host/device.h"
#include "host/faults.h"

namespace OHOS::AppExecFwk {

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

} // namespace OHOS::AppExecFwk
