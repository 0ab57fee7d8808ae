#ifndef OHOS_EVENTFWK_MATCHING_SKILLS_H
#define OHOS_EVENTFWK_MATCHING_SKILLS_H

#include <set>
#include <string>

namespace OHOS::EventFwk {

/// The actions that a subscription wants. A value; not for use by several threads at once.
class MatchingSkills {
public:
    void AddEvent(const std::string& event)
    {
        events_.insert(event);
    }
    [[nodiscard]] bool HasEvent(const std::string& event) const
    {
        return events_.count(event) != 0;
    }

private:
    std::set<std::string> events_;
};

} // namespace OHOS::EventFwk

#endif // OHOS_EVENTFWK_MATCHING_SKILLS_H
