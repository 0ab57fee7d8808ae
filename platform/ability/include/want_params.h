#ifndef OHOS_AAFWK_WANT_PARAMS_H
#define OHOS_AAFWK_WANT_PARAMS_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>

#include "parcel.h"

namespace OHOS::AAFwk {

/// Named values of a want or of a record: booleans, integers, texts, and sets of such values.
///
/// A value type: copies are equal and independent. Not for use by several threads at once.
///
/// It knows no lists and no objects, and a key says nothing about the type that belongs to it.
class WantParams {
public:
    using Nested = std::shared_ptr<const WantParams>; // never null
    using Value = std::variant<bool, int32_t, int64_t, std::string, Nested>;

    /// How deep sets may stand in each other, the outermost counted as 1.
    static constexpr int MAX_DEPTH = 16;

    /// Each replaces what the key had before, whatever its type.
    void SetParam(const std::string& key, bool value);
    void SetParam(const std::string& key, int32_t value);
    void SetParam(const std::string& key, int64_t value);
    void SetParam(const std::string& key, const std::string& value);
    void SetParam(const std::string& key, const char* value);
    void SetParam(const std::string& key, const WantParams& value);

    /// The value of this key if it has this type, null otherwise. Lives until the key is set again or the set goes.
    template <class T>
    [[nodiscard]] const T* Find(const std::string& key) const
    {
        auto found = params_.find(key);
        return found == params_.end() ? nullptr : std::get_if<T>(&found->second);
    }
    /// Everything, ordered by key.
    [[nodiscard]] const std::map<std::string, Value>& GetParams() const
    {
        return params_;
    }
    [[nodiscard]] bool IsEmpty() const
    {
        return params_.empty();
    }

    /// Equal keys with values equal in type and content.
    [[nodiscard]] bool operator==(const WantParams& other) const;
    [[nodiscard]] bool operator!=(const WantParams& other) const
    {
        return !(*this == other);
    }

    /// Appends the whole set: the count, then for each key by order the key, the type and the value. False when it is
    /// too deep or the parcel is full; what was written until then is of no use. `depth` is that of this set, 1 for the
    /// outermost.
    [[nodiscard]] bool Marshalling(Parcel& parcel, int depth = 1) const;

    /// Reads what Marshalling wrote. The caller owns the result; null for anything that Marshalling cannot have
    /// written.
    [[nodiscard]] static WantParams* Unmarshalling(Parcel& parcel, int depth = 1);

private:
    std::map<std::string, Value> params_;
};

} // namespace OHOS::AAFwk

#endif // OHOS_AAFWK_WANT_PARAMS_H
