#ifndef OHOS_APPEXECFWK_APP_STATE_DATA_H
#define OHOS_APPEXECFWK_APP_STATE_DATA_H

#include <cstdint>
#include <string>

namespace OHOS::AppExecFwk {

/// One application and its process. A value.
struct AppStateData {
    std::string bundleName;
    int32_t pid = -1;
    int32_t uid = -1;
};

} // namespace OHOS::AppExecFwk

#endif // OHOS_APPEXECFWK_APP_STATE_DATA_H
