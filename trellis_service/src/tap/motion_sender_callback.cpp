#include "tap/motion_sender_callback.h"

namespace OHOS::Pelago {

std::shared_ptr<AppExecFwk::EventHandler> MotionSenderCallback::GetEventHandler() const
{
    return nullptr;
}

std::shared_ptr<ShareRadarDfx> MotionSenderCallback::GetRadar() const
{
    return nullptr;
}

std::vector<int32_t> MotionSenderCallback::GetFocusedPids() const
{
    return {};
}

} // namespace OHOS::Pelago
