#include "gesture/swing_adapter.h"

#include "core/trellis_service.h"

namespace OHOS::Pelago {

void SwingAdapter::Init(const wptr<TrellisService>& service)
{
    MutexLock lock(mutex_);
    trellisServicePtr_ = service;
}

void SwingAdapter::SwingPublishService(int32_t, int32_t, const std::string&)
{}

} // namespace OHOS::Pelago
