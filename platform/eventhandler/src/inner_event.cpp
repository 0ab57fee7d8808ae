#include "inner_event.h"

namespace OHOS::AppExecFwk {

InnerEvent::InnerEvent(uint32_t innerEventId, int64_t param)
    : id_(innerEventId), param_(param), objectType_(typeid(void))
{}

InnerEvent::Pointer InnerEvent::Get(uint32_t innerEventId, int64_t param)
{
    return Pointer(new InnerEvent(innerEventId, param), [](InnerEvent* event) { delete event; });
}

} // namespace OHOS::AppExecFwk
