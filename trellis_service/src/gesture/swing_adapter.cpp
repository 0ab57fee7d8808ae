#include "gesture/swing_adapter.h"

#include "core/trellis_service.h"

namespace OHOS::Pelago {

void SwingAdapter::Init(const wptr<TrellisService>& service)
{
    MutexLock lock(mutex_);
    trellisServicePtr_ = service;
}

} // namespace OHOS::Pelago
