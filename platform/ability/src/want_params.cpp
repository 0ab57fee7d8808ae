#include "want_params.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace OHOS::AAFwk {

namespace {
// Stands in front of each value in a parcel.
enum class ValueType : int32_t {
    BOOL = 0,
    INT32 = 1,
    INT64 = 2,
    TEXT = 3,
    NESTED = 4,
};
static_assert(std::variant_size_v<WantParams::Value> == 5, "a type is the place of its alternative in the variant");

bool WriteOne(Parcel& parcel, bool value, int /*depth*/)
{
    return parcel.WriteBool(value);
}

bool WriteOne(Parcel& parcel, int32_t value, int /*depth*/)
{
    return parcel.WriteInt32(value);
}

bool WriteOne(Parcel& parcel, int64_t value, int /*depth*/)
{
    return parcel.WriteInt64(value);
}

bool WriteOne(Parcel& parcel, const std::string& value, int /*depth*/)
{
    return parcel.WriteString(value);
}

bool WriteOne(Parcel& parcel, const WantParams::Nested& value, int depth)
{
    return value->Marshalling(parcel, depth + 1);
}

// Reads a value of this type into `target`. `read` is the parcel's operation for it.
template <class T>
bool ReadOne(Parcel& parcel, bool (Parcel::*read)(T&), WantParams::Value& target)
{
    T value{};
    if (!(parcel.*read)(value)) {
        return false;
    }
    target = std::move(value);
    return true;
}

bool ReadNested(Parcel& parcel, int depth, WantParams::Value& target)
{
    WantParams::Nested nested(WantParams::Unmarshalling(parcel, depth));
    if (nested == nullptr) {
        return false;
    }
    target = std::move(nested);
    return true;
}

// A value with its type in front, of a set at this depth.
bool ReadValue(Parcel& parcel, int depth, WantParams::Value& target)
{
    int32_t type = -1;
    if (!parcel.ReadInt32(type)) {
        return false;
    }
    switch (static_cast<ValueType>(type)) {
        case ValueType::BOOL:
            return ReadOne<bool>(parcel, &Parcel::ReadBool, target);
        case ValueType::INT32:
            return ReadOne<int32_t>(parcel, &Parcel::ReadInt32, target);
        case ValueType::INT64:
            return ReadOne<int64_t>(parcel, &Parcel::ReadInt64, target);
        case ValueType::TEXT:
            return ReadOne<std::string>(parcel, &Parcel::ReadString, target);
        case ValueType::NESTED:
            return ReadNested(parcel, depth + 1, target);
    }
    return false;
}

struct SameContent {
    template <class T>
    bool operator()(const T& left, const T& right) const
    {
        return left == right;
    }
    bool operator()(const WantParams::Nested& left, const WantParams::Nested& right) const
    {
        return *left == *right;
    }
    template <class T, class U>
    bool operator()(const T& /*left*/, const U& /*right*/) const
    {
        return false;
    }
};
} // namespace

void WantParams::SetParam(const std::string& key, bool value)
{
    params_.insert_or_assign(key, value);
}

void WantParams::SetParam(const std::string& key, int32_t value)
{
    params_.insert_or_assign(key, value);
}

void WantParams::SetParam(const std::string& key, int64_t value)
{
    params_.insert_or_assign(key, value);
}

void WantParams::SetParam(const std::string& key, const std::string& value)
{
    params_.insert_or_assign(key, value);
}

void WantParams::SetParam(const std::string& key, const char* value)
{
    params_.insert_or_assign(key, std::string(value != nullptr ? value : ""));
}

void WantParams::SetParam(const std::string& key, const WantParams& value)
{
    params_.insert_or_assign(key, std::make_shared<const WantParams>(value));
}

bool WantParams::operator==(const WantParams& other) const
{
    auto same = [](const auto& left, const auto& right) {
        return left.first == right.first && std::visit(SameContent(), left.second, right.second);
    };
    return std::equal(params_.begin(), params_.end(), other.params_.begin(), other.params_.end(), same);
}

bool WantParams::Marshalling(Parcel& parcel, int depth) const
{
    if (depth > MAX_DEPTH || !parcel.WriteInt32(static_cast<int32_t>(params_.size()))) {
        return false;
    }
    for (const auto& [key, value] : params_) {
        auto writeOne = [&parcel, depth](const auto& content) { return WriteOne(parcel, content, depth); };
        if (!parcel.WriteString(key) || !parcel.WriteInt32(static_cast<int32_t>(value.index())) ||
            !std::visit(writeOne, value)) {
            return false;
        }
    }
    return true;
}

WantParams* WantParams::Unmarshalling(Parcel& parcel, int depth)
{
    int32_t count = -1;
    if (depth < 1 || depth > MAX_DEPTH || !parcel.ReadInt32(count) || count < 0) {
        return nullptr;
    }
    auto params = std::make_unique<WantParams>();
    // The count is only believed as far as there are entries: each takes bytes that must be there.
    for (int32_t i = 0; i < count; ++i) {
        std::string key;
        Value value;
        if (!parcel.ReadString(key) || !ReadValue(parcel, depth, value) ||
            !params->params_.try_emplace(std::move(key), std::move(value)).second) {
            return nullptr;
        }
    }
    return params.release();
}

} // namespace OHOS::AAFwk
