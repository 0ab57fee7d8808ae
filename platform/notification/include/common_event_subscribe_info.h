#ifndef OHOS_EVENTFWK_COMMON_EVENT_SUBSCRIBE_INFO_H
#define OHOS_EVENTFWK_COMMON_EVENT_SUBSCRIBE_INFO_H

#include <cstdint>
#include <optional>
#include <string>

#include "matching_skills.h"

namespace OHOS::EventFwk {

/// Which events a subscriber wants, and from whom. A value; not for use by several threads at once.
class CommonEventSubscribeInfo {
public:
    explicit CommonEventSubscribeInfo(const MatchingSkills& matchingSkills) : matchingSkills_(matchingSkills)
    {}

    /// Takes events from publishers with this uid only.
    void SetPublisherUid(int32_t uid)
    {
        publisherUid_ = uid;
    }
    /// Takes events from publishers that hold this permission only; empty: from everybody.
    void SetPermission(const std::string& permission)
    {
        permission_ = permission;
    }

    [[nodiscard]] const MatchingSkills& GetMatchingSkills() const
    {
        return matchingSkills_;
    }
    /// Nothing: any publisher.
    [[nodiscard]] std::optional<int32_t> GetPublisherUid() const
    {
        return publisherUid_;
    }
    [[nodiscard]] const std::string& GetPermission() const
    {
        return permission_;
    }

private:
    MatchingSkills matchingSkills_;
    std::optional<int32_t> publisherUid_;
    std::string permission_;
};

} // namespace OHOS::EventFwk

#endif // OHOS_EVENTFWK_COMMON_EVENT_SUBSCRIBE_INFO_H
