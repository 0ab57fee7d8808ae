#ifndef PELAGO_GESTURE_SWING_ADAPTER_H
#define PELAGO_GESTURE_SWING_ADAPTER_H

#include <cstdint>
#include <string>

#include "refbase.h"
#include "share_mutex.h"
#include "singleton.h"

namespace OHOS::Pelago {

class TrellisService;

// What the framework knows a swing by: whose side, and how far it has come.
namespace SwingService {
inline constexpr int32_t ROLE_SENDER = 1;
inline constexpr int32_t ROLE_RECEIVER = 2;
inline constexpr int32_t STATE_UNDER_WAY = 2;
inline constexpr int32_t STATE_FAILED = 8;
} // namespace SwingService

// The service's way to the collaboration framework for swings: builds the text that the framework draws from, and hands
// it over. One per process (DelayedSingleton), made on first use; it stays when the service stops. Any thread. It keeps
// nothing of a swing, and what the framework answers is logged and no more. The subscription for gestures is
// TrellisService's.
class SwingAdapter {
public:
    virtual ~SwingAdapter() = default;
    void Init(const wptr<TrellisService>& service);

    // Nothing to be done, on this side of the framework: 0.
    int32_t SwingRegister();
    int32_t UnSwingRegister();

    // Shows how far the swing has come. `previewData` is the thumbnail's text.
    void SwingPublishService(int32_t role, int32_t state, const std::string& previewData);
    // The same with what the application gave: thumbnail and icon are taken out of `thumbnailSource`, title and
    // description out of `previewExtra`. `showMode` counts, whatever the extra says.
    void SwingPublishServiceWithPreviewExtra(int32_t role, int32_t state, const std::string& thumbnailSource,
        const std::string& previewExtra, int32_t showMode);
    // Tells the framework that somebody is there when a swing is broken off.
    void SwingSubscribeNotifyDiscon();

private:
    Mutex mutex_{"SwingAdapter::mutex_", LockRank::LEAF};
    wptr<TrellisService> trellisServicePtr_ SHARE_GUARDED_BY(mutex_);
};

} // namespace OHOS::Pelago

#endif // PELAGO_GESTURE_SWING_ADAPTER_H
