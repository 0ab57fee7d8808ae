#ifndef PELAGO_GESTURE_CORVANE_SHARE_CALLBACK_MANAGER_H
#define PELAGO_GESTURE_CORVANE_SHARE_CALLBACK_MANAGER_H

#include <cstdint>
#include <memory>
#include <vector>

#include "pelago_api_callback.h"
#include "refbase.h"
#include "share_device_info.h"
#include "share_mutex.h"
#include "share_radar_dfx.h"
#include "singleton.h"

namespace OHOS::Pelago {

class TrellisService;

// Which applications want to hear of a knock or a gesture, by process. One per process (DelayedSingleton), set up by
// the service in OnStart. Any thread. Gestures are not served yet: every registration is refused, and nobody is told of
// a device.
class CorvaneShareCallbackManager {
public:
    void Init(const wptr<TrellisService>& service);
    void Release();

    // Remember, or forget, the callback object of a process. False: not served.
    [[nodiscard]] bool AddShareApiCallback(int32_t pid, const sptr<PelagoApiCallback>& callback);
    [[nodiscard]] bool DelShareApiCallback(int32_t pid);
    // Remember, or forget, that callback `cbId` of a process wants event `eventId`. False: not served.
    [[nodiscard]] bool AddShareEventCallback(int32_t pid, int32_t cbId, int32_t eventId);
    [[nodiscard]] bool DelShareEventCallback(int32_t pid, int32_t cbId, int32_t eventId);

    // Tells the one application among `focusedPids` that wants the event which brought `device`.
    void NotifyUserDeviceFound(
        ShareDeviceInfo& device, const std::vector<int32_t>& focusedPids, const std::shared_ptr<ShareRadarDfx>& radar);

private:
    Mutex mutex_{"CorvaneShareCallbackManager::mutex_", LockRank::LEAF};
    wptr<TrellisService> trellisServicePtr_ SHARE_GUARDED_BY(mutex_);
};

} // namespace OHOS::Pelago

#endif // PELAGO_GESTURE_CORVANE_SHARE_CALLBACK_MANAGER_H
