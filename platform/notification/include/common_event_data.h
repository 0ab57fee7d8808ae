#ifndef OHOS_EVENTFWK_COMMON_EVENT_DATA_H
#define OHOS_EVENTFWK_COMMON_EVENT_DATA_H

#include <cstdint>
#include <string>

#include "want.h"

namespace OHOS::EventFwk {

/// One common event: its action and element in a want, its number and its text. A value; not for use by several
/// threads at once.
class CommonEventData {
public:
    CommonEventData() = default;
    explicit CommonEventData(const AAFwk::Want& want, int32_t code = 0, const std::string& data = {})
        : want_(want), code_(code), data_(data)
    {}

    void SetWant(const AAFwk::Want& want)
    {
        want_ = want;
    }
    void SetCode(int32_t code)
    {
        code_ = code;
    }
    void SetData(const std::string& data)
    {
        data_ = data;
    }
    [[nodiscard]] const AAFwk::Want& GetWant() const
    {
        return want_;
    }
    [[nodiscard]] int32_t GetCode() const
    {
        return code_;
    }
    [[nodiscard]] const std::string& GetData() const
    {
        return data_;
    }

private:
    AAFwk::Want want_;
    int32_t code_ = 0;
    std::string data_;
};

} // namespace OHOS::EventFwk

#endif // OHOS_EVENTFWK_COMMON_EVENT_DATA_H
