#ifndef OHOS_EVENTFWK_COMMON_EVENT_DATA_H
#define OHOS_EVENTFWK_COMMON_EVENT_DATA_H

#include <cstdint>

#include "want.h"

namespace OHOS::EventFwk {

/// One common event: its action and element in a want, and its number. A value; not for use by several
/// threads at once.
class CommonEventData {
public:
    CommonEventData() = default;
    explicit CommonEventData(const AAFwk::Want& want, int32_t code = 0) : want_(want), code_(code)
    {}

    [[nodiscard]] const AAFwk::Want& GetWant() const
    {
        return want_;
    }
    [[nodiscard]] int32_t GetCode() const
    {
        return code_;
    }

private:
    AAFwk::Want want_;
    int32_t code_ = 0;
};

} // namespace OHOS::EventFwk

#endif // OHOS_EVENTFWK_COMMON_EVENT_DATA_H
