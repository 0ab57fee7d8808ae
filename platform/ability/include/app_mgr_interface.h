#ifndef OHOS_APPEXECFWK_APP_MGR_INTERFACE_H
#define OHOS_APPEXECFWK_APP_MGR_INTERFACE_H

#include <cstdint>
#include <vector>

#include "app_state_data.h"
#include "iremote_broker.h"

namespace OHOS::AppExecFwk {

/// The application manager: system ability 501, cast with iface_cast in the device's own process; there is no proxy for
/// others. Any thread may call. It starts and stops nothing.
class IAppMgr : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.appexecfwk.AppMgr");

    /// Replaces `list` by the applications on the screen, the topmost first. 0, or an error that leaves it alone.
    [[nodiscard]] virtual int32_t GetForegroundApplications(std::vector<AppStateData>& list) = 0;
};

} // namespace OHOS::AppExecFwk

#endif // OHOS_APPEXECFWK_APP_MGR_INTERFACE_H
