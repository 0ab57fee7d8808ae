#include "send_bean.h"

#include "record_fields.h"

namespace OHOS::Pelago {
namespace {

using R = SendBean;

constexpr const char* INT32_FAILED = "WriteInt32 failed.";

// The count, then each file. No reader trusts a count before it has looked at it.
struct FileListField {
    [[nodiscard]] bool Write(Parcel& parcel, const R& bean, const LogLabel& label) const
    {
        if (bean.uriList.size() > MAX_SHARED_FILES) {
            SHARE_LOGE(label, "The number of files exceeds the upper limit.");
            return false;
        }
        if (!parcel.WriteInt32(static_cast<int32_t>(bean.uriList.size()))) {
            return false;
        }
        for (const FileHolder& file : bean.uriList) {
            if (!file.WriteToParcel(parcel)) {
                SHARE_LOGE(label, "FileHolder.WriteToParcel failed.");
                return false;
            }
        }
        return true;
    }
    [[nodiscard]] bool Read(Parcel& parcel, R& bean, const LogLabel&) const
    {
        int32_t count = 0;
        if (!parcel.ReadInt32(count) || static_cast<uint32_t>(count) > MAX_SHARED_FILES) {
            return false;
        }
        for (int32_t i = 0; i < count; ++i) {
            if (!bean.uriList.emplace_back().ReadFromParcel(parcel)) {
                bean.uriList.pop_back(); // holds no descriptor; those before it are the caller's
                return false;
            }
        }
        return true;
    }
};

constexpr FieldList FIELDS{
    Labels{Log::SHARE_NAPI, Log::SHARE_NAPI},
    Field{&R::sendModule, INT32_FAILED},
    Field{&R::sendType, INT32_FAILED},
    Field{&R::totalSize, "WriteInt64 failed."},
    Field{&R::totalNum, INT32_FAILED},
    FileListField{},
    PayloadRoom{},
    Field{&R::text},
    Field{&R::thumbnail},
    Field{&R::scenarioId},
    Field{&R::conCurrentId},
    Field{&R::sendExtraFlag},
};

} // namespace

bool SendBean::Marshalling(Parcel& parcel) const
{
    return FIELDS.Write(parcel, *this);
}

bool SendBean::ReadFromParcel(Parcel& parcel)
{
    return FIELDS.Read(parcel, *this);
}

} // namespace OHOS::Pelago
