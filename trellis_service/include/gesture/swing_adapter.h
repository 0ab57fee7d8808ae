#ifndef PELAGO_GESTURE_SWING_ADAPTER_H
#define PELAGO_GESTURE_SWING_ADAPTER_H

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

private:
    Mutex mutex_{"SwingAdapter::mutex_", LockRank::LEAF};
    wptr<TrellisService> trellisServicePtr_ SHARE_GUARDED_BY(mutex_);
};

} // namespace OHOS::Pelago

#endif // PELAGO_GESTURE_SWING_ADAPTER_H
