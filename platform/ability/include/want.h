#ifndef OHOS_AAFWK_WANT_H
#define OHOS_AAFWK_WANT_H

#include <string>

#include "element_name.h"
#include "parcel.h"
#include "want_params.h"

namespace OHOS::AAFwk {

/// What somebody wants done: by which ability, which action, with which parameters. A value type; not for use by
/// several threads at once. It says nothing about who may do it.
class Want : public Parcelable {
public:
    Want& SetElementName(const std::string& bundleName, const std::string& abilityName);
    Want& SetElement(const AppExecFwk::ElementName& element);
    [[nodiscard]] const AppExecFwk::ElementName& GetElement() const;

    Want& SetAction(const std::string& action);
    [[nodiscard]] const std::string& GetAction() const;

    /// Each replaces what the key had before, whatever its type. A literal text is a text, never a bool.
    Want& SetParam(const std::string& key, bool value);
    Want& SetParam(const std::string& key, int value);
    Want& SetParam(const std::string& key, const std::string& value);
    Want& SetParam(const std::string& key, const char* value);

    /// Each gives the default when the key is absent or has another type.
    [[nodiscard]] bool GetBoolParam(const std::string& key, bool defaultValue) const;
    [[nodiscard]] int GetIntParam(const std::string& key, int defaultValue) const;
    [[nodiscard]] std::string GetStringParam(const std::string& key) const; // empty by default
    [[nodiscard]] bool HasParameter(const std::string& key) const;

    /// All parameters with their types, ordered by key.
    [[nodiscard]] const WantParams& GetParams() const;
    Want& SetParams(const WantParams& params);

    [[nodiscard]] bool operator==(const Want& other) const;
    [[nodiscard]] bool operator!=(const Want& other) const
    {
        return !(*this == other);
    }

    /// Appends action, element and parameters. False when the parcel is full or the parameters nest too deep.
    [[nodiscard]] bool Marshalling(Parcel& parcel) const override;
    /// The caller owns the result; null when the parcel holds no want.
    [[nodiscard]] static Want* Unmarshalling(Parcel& parcel);
    /// The same into this want, which stays as it was when the result is false.
    [[nodiscard]] bool ReadFromParcel(Parcel& parcel);

private:
    std::string action_;
    AppExecFwk::ElementName element_;
    WantParams params_;
};

} // namespace OHOS::AAFwk

#endif // OHOS_AAFWK_WANT_H
