#include "want.h"

#include <memory>
#include <utility>

namespace OHOS::AAFwk {

using AppExecFwk::ElementName;

Want& Want::SetElementName(const std::string& bundleName, const std::string& abilityName)
{
    return SetElement(ElementName("", bundleName, abilityName));
}

Want& Want::SetElement(const ElementName& element)
{
    element_ = element;
    return *this;
}

const ElementName& Want::GetElement() const
{
    return element_;
}

Want& Want::SetAction(const std::string& action)
{
    action_ = action;
    return *this;
}

const std::string& Want::GetAction() const
{
    return action_;
}

Want& Want::SetParam(const std::string& key, bool value)
{
    params_.SetParam(key, value);
    return *this;
}

Want& Want::SetParam(const std::string& key, int value)
{
    params_.SetParam(key, value);
    return *this;
}

Want& Want::SetParam(const std::string& key, const std::string& value)
{
    params_.SetParam(key, value);
    return *this;
}

Want& Want::SetParam(const std::string& key, const char* value)
{
    params_.SetParam(key, value);
    return *this;
}

bool Want::GetBoolParam(const std::string& key, bool defaultValue) const
{
    const bool* value = params_.Find<bool>(key);
    return value != nullptr ? *value : defaultValue;
}

int Want::GetIntParam(const std::string& key, int defaultValue) const
{
    const int32_t* value = params_.Find<int32_t>(key);
    return value != nullptr ? *value : defaultValue;
}

std::string Want::GetStringParam(const std::string& key) const
{
    const std::string* value = params_.Find<std::string>(key);
    return value != nullptr ? *value : std::string();
}

bool Want::HasParameter(const std::string& key) const
{
    return params_.GetParams().count(key) != 0;
}

const WantParams& Want::GetParams() const
{
    return params_;
}

Want& Want::SetParams(const WantParams& params)
{
    params_ = params;
    return *this;
}

bool Want::operator==(const Want& other) const
{
    return action_ == other.action_ && element_ == other.element_ && params_ == other.params_;
}

bool Want::Marshalling(Parcel& parcel) const
{
    return parcel.WriteString(action_) && parcel.WriteString(element_.GetDeviceID()) &&
           parcel.WriteString(element_.GetBundleName()) && parcel.WriteString(element_.GetAbilityName()) &&
           params_.Marshalling(parcel);
}

Want* Want::Unmarshalling(Parcel& parcel)
{
    auto want = std::make_unique<Want>();
    return want->ReadFromParcel(parcel) ? want.release() : nullptr;
}

bool Want::ReadFromParcel(Parcel& parcel)
{
    std::string action;
    std::string deviceId;
    std::string bundleName;
    std::string abilityName;
    if (!parcel.ReadString(action) || !parcel.ReadString(deviceId) || !parcel.ReadString(bundleName) ||
        !parcel.ReadString(abilityName)) {
        return false;
    }
    std::unique_ptr<WantParams> params(WantParams::Unmarshalling(parcel));
    if (params == nullptr) {
        return false;
    }
    action_ = std::move(action);
    element_ = ElementName(deviceId, bundleName, abilityName);
    params_ = std::move(*params);
    return true;
}

} // namespace OHOS::AAFwk
