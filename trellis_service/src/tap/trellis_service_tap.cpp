#include "core/trellis_service.h"

// Taps are not served yet: nothing is registered with the collaboration framework, and what the engine tells of a tap
// is not for anybody.
namespace OHOS::Pelago {

bool TrellisService::RegisterMotionReceiverListener()
{
    return false;
}

bool TrellisService::UnRegisterMotionReceiverListener()
{
    return true;
}

bool TrellisService::RegisterMotionSenderListener()
{
    return false;
}

bool TrellisService::UnRegisterMotionSenderListener()
{
    return true;
}

void TrellisService::HandleOnNudgeCancel(const std::string&)
{}

void TrellisService::HandleOnMotionState(int32_t, int32_t, int32_t)
{}

void TrellisService::HandleOnMotionReceiverState(int32_t, int32_t, int32_t)
{}

void TrellisService::ClearNudgePendingFlag()
{}

bool TrellisService::NudgeNotifyEnableShare()
{
    return true;
}

bool TrellisService::NudgeNotifyConnectFailed(int32_t)
{
    return true;
}

} // namespace OHOS::Pelago
