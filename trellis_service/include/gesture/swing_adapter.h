#ifndef PELAGO_GESTURE_SWING_ADAPTER_H
#define PELAGO_GESTURE_SWING_ADAPTER_H

#include <cstdint>
#include <string>

#include "refbase.h"
#include "share_mutex.h"
#include "singleton.h"

namespace OHOS::Pelago {

class TrellisService;

// The service's way to the collaboration framework for swings. One per process (DelayedSingleton), made on first use;
// it stays when the service stops. Any thread. Publishes nothing yet.
class SwingAdapter {
public:
    virtual ~SwingAdapter() = default;
    void Init(const wptr<TrellisService>& service);

    // Shows how far the swing has come. `role`: 1 sender, 2 receiver; `state`: 2 under way, 8 failed; `previewData` is
    // the thumbnail's text. What the framework says is logged.
    void SwingPublishService(int32_t role, int32_t state, const std::string& previewData);

private:
    Mutex mutex_{"SwingAdapter::mutex_", LockRank::LEAF};
    wptr<TrellisService> trellisServicePtr_ SHARE_GUARDED_BY(mutex_);
};

} // namespace OHOS::Pelago

#endif // PELAGO_GESTURE_SWING_ADAPTER_H
