#ifndef PELAGO_TAP_MOTION_SENDER_CALLBACK_H
#define PELAGO_TAP_MOTION_SENDER_CALLBACK_H

#include <memory>
#include <vector>

#include "event_handler.h"
#include "refbase.h"
#include "share_radar_dfx.h"

namespace OHOS::Pelago {

// The sending side of a tap: its event machine, the record of the running tap, and who had the focus when it began.
// Owned by TrellisService while taps are subscribed; any thread. Taps are not served yet, so there is never one.
class MotionSenderCallback : public virtual RefBase {
public:
    // The messages of the event machine that others may send.
    enum Message : uint32_t {
        MSG_NUDGE_MOTION_CANCEL = 4, // parameter: the error code that the user is told
    };

    std::shared_ptr<AppExecFwk::EventHandler> GetEventHandler() const;
    std::shared_ptr<ShareRadarDfx> GetRadar() const;
    std::vector<int32_t> GetFocusedPids() const;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TAP_MOTION_SENDER_CALLBACK_H
