#ifndef OHOS_APPEXECFWK_ELEMENT_NAME_H
#define OHOS_APPEXECFWK_ELEMENT_NAME_H

#include <string>

namespace OHOS::AppExecFwk {

/// Names one ability of one bundle. A value; not for use by several threads at once.
class ElementName {
public:
    ElementName() = default;
    ElementName(const std::string& deviceId, const std::string& bundleName, const std::string& abilityName)
        : deviceId_(deviceId), bundleName_(bundleName), abilityName_(abilityName)
    {}

    /// Empty: this device.
    [[nodiscard]] const std::string& GetDeviceID() const
    {
        return deviceId_;
    }
    [[nodiscard]] const std::string& GetBundleName() const
    {
        return bundleName_;
    }
    /// Empty: the bundle as a whole.
    [[nodiscard]] const std::string& GetAbilityName() const
    {
        return abilityName_;
    }

    [[nodiscard]] bool operator==(const ElementName& other) const
    {
        return deviceId_ == other.deviceId_ && bundleName_ == other.bundleName_ && abilityName_ == other.abilityName_;
    }
    [[nodiscard]] bool operator!=(const ElementName& other) const
    {
        return !(*this == other);
    }

private:
    std::string deviceId_;
    std::string bundleName_;
    std::string abilityName_;
};

} // namespace OHOS::AppExecFwk

#endif // OHOS_APPEXECFWK_ELEMENT_NAME_H
