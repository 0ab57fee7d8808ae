#ifndef PELAGO_TAP_MOTION_MESSAGES_H
#define PELAGO_TAP_MOTION_MESSAGES_H

#include <cstdint>
#include <optional>
#include <string>

#include "share_device.h"

// What the two sides of a tap have in common. The types are values; the functions may be called from any thread.
namespace OHOS::Pelago {

class TrellisService;

// What a machine of a tap carries in its events: the text that began it, or the device that it leads to. Immutable once
// sent.
struct MotionMessage {
    std::string extraInfo;
};
struct NudgeDevice {
    sptr<ShareDevice> device;
};

// The values of "shareState" in the texts that peers exchange.
namespace NudgeShareState {
inline constexpr uint8_t ENABLE = 1;
inline constexpr uint8_t DISABLE = 2;
} // namespace NudgeShareState

// What the user is told of a tap that failed. A busy peer is TransferError::DEVICE_BUSY.
namespace NudgeError {
inline constexpr int32_t TIMEOUT = 0;
inline constexpr int32_t NO_APPLICATION = 1203;
inline constexpr int32_t PEER_DISABLED = 1207;
inline constexpr int32_t PEER_REFUSED = 1221; // by a notice of the peer; its reasons are its own
} // namespace NudgeError

// The error that a peer's bare notice stands for; nothing for a notice that is none.
[[nodiscard]] std::optional<int32_t> NudgeErrorOfNotice(int32_t notifyInfo);

enum class NudgeRole : int32_t {
    SENDER = 1,
    RECEIVER = 2,
};

// Steps of the framework's picture of a tap.
namespace NudgeServiceState {
inline constexpr int32_t STARTED = 2;
inline constexpr int32_t ENDED = 11;
} // namespace NudgeServiceState

namespace NudgeServiceName {
inline constexpr const char* SEND = "UI_CorvaneShare_Send";
inline constexpr const char* RECEIVE = "UI_CorvaneShare_Recv";
inline constexpr const char* SHARE = "UI_CorvaneShare";
} // namespace NudgeServiceName

// Has the framework show, or take away, its picture of a tap. An empty `extraInfo` becomes what is shown of any tap of
// this role. What the framework says is logged and changes nothing.
void PublishNudgeState(NudgeRole role, const std::string& serviceName, const std::string& serviceName2,
    std::string& extraInfo, int32_t status);

// The service. Null, and logged, when it is gone.
[[nodiscard]] sptr<TrellisService> ServiceOf(const wptr<TrellisService>& service);

// Whether this device takes part in sharing, as one of NudgeShareState. One whose service is gone does not.
[[nodiscard]] uint8_t NudgeShareStateOf(const wptr<TrellisService>& service);

} // namespace OHOS::Pelago

#endif // PELAGO_TAP_MOTION_MESSAGES_H
