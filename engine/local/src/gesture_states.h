#ifndef PELAGO_ENGINE_LOCAL_GESTURE_STATES_H
#define PELAGO_ENGINE_LOCAL_GESTURE_STATES_H

#include <cstdint>

#include "transmit_param.h"

// What OnMotionState tells of a transfer that a tap or a swing has begun. docs/engine.md tells when.
namespace OHOS::Pelago::Local {

namespace SenderMotion {
inline constexpr int32_t FAILED = 0;    // with its status or error
inline constexpr int32_t BEGUN = 1;     // the peer shows it: the tap waits no longer
inline constexpr int32_t CONFIRMED = 4; // the tap is over; the transfer goes on by itself
inline constexpr int32_t ENDED_BY_USER = 6;
} // namespace SenderMotion

namespace ReceiverMotion {
inline constexpr int32_t FAILED = 0;
inline constexpr int32_t CONTINUES = 1; // the offer is here
inline constexpr int32_t CANCELLED = 2; // by the sender, or by nobody answering
inline constexpr int32_t FINISHED = 3;  // the user has answered
} // namespace ReceiverMotion

inline constexpr int32_t SWING_GOES_ON = 1; // the choice in SwingConfirm; every other one refuses

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_GESTURE_STATES_H
