#ifndef PELAGO_TAP_MOTION_RECEIVER_CALLBACK_H
#define PELAGO_TAP_MOTION_RECEIVER_CALLBACK_H

#include "refbase.h"

namespace OHOS::Pelago {

// The receiving side of a tap. Owned by TrellisService; any thread. Taps are not served yet, so there is never one.
class MotionReceiverCallback : public virtual RefBase {};

} // namespace OHOS::Pelago

#endif // PELAGO_TAP_MOTION_RECEIVER_CALLBACK_H
