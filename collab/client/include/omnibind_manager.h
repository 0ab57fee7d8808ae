#ifndef COLLAB_CLIENT_OMNIBIND_MANAGER_H
#define COLLAB_CLIENT_OMNIBIND_MANAGER_H

#include <cstdint>
#include <string>

#include "callback_skeleton.h"

namespace OHOS::Synfold {

// The service's way to what the framework shows while people share by gesture or tap, one per process. Forwards to what
// the process installed, see CollabBackend; without it every request fails with -1. Any thread.
class OmnibindManager {
public:
    static OmnibindManager& GetInstance();

    // Shows that the service is in `state`; `extraInfo` is a JSON text for whoever draws it. 0 when it was taken.
    int32_t PublishServiceState(
        const std::string& serviceName, const std::string& serviceName2, const std::string& extraInfo, int32_t state);
    // Says that somebody wants to hear of `event`. 0 when it was taken.
    int32_t SubscribeNotifyDisconnect(const std::string& serviceName, const std::string& serviceName2,
        const std::string& event, const sptr<CallbackSkeleton>& callback);

private:
    OmnibindManager() = default;
};

} // namespace OHOS::Synfold

#endif // COLLAB_CLIENT_OMNIBIND_MANAGER_H
