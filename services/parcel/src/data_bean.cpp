#include "data_bean.h"

#include <memory>

#include "record_fields.h"

namespace OHOS::Pelago {
namespace {

using R = DataBean;

constexpr const char* INT32_FAILED = "WriteInt32 failed.";

// totalNum is the count of fileItems for a reader. It is signed, a negative one means none, and a writer is not held to
// the limit: clients rely on each.
struct TotalNumField : Field<R, int32_t> {
    using Field::Field;

    [[nodiscard]] bool Read(Parcel& parcel, R& bean, const LogLabel& label) const
    {
        return Field::Read(parcel, bean, label) && bean.totalNum <= static_cast<int32_t>(MAX_SHARED_FILES);
    }
};

struct FileItemsField {
    [[nodiscard]] bool Write(Parcel& parcel, const R& bean, const LogLabel& label) const
    {
        for (const FileItem& item : bean.fileItems) {
            if (!item.WriteToParcel(parcel)) {
                SHARE_LOGE(label, "FileHolder.WriteToParcel failed."); // so worded
                return false;
            }
        }
        return true;
    }
    [[nodiscard]] bool Read(Parcel& parcel, R& bean, const LogLabel&) const
    {
        for (int32_t i = 0; i < bean.totalNum; ++i) {
            if (!bean.fileItems.emplace_back().ReadFromParcel(parcel)) {
                return false;
            }
        }
        return true;
    }
};

struct ExtraField {
    [[nodiscard]] bool Write(Parcel& parcel, const R& bean, const LogLabel& label) const
    {
        if (!bean.extra_.Marshalling(parcel)) {
            SHARE_LOGE(label, "extra_ Marshalling failed.");
            return false;
        }
        return true;
    }
    [[nodiscard]] bool Read(Parcel& parcel, R& bean, const LogLabel&) const
    {
        const std::unique_ptr<AAFwk::WantParams> extra(AAFwk::WantParams::Unmarshalling(parcel, 1));
        if (extra == nullptr) {
            return false;
        }
        bean.extra_ = std::move(*extra);
        return true;
    }
};

// Extras 2 and 1 travel in that order.
constexpr FieldList FIELDS{
    Labels{Log::SHARE_NAPI, Log::SHARE_NAPI},
    Field{&R::sendModule, INT32_FAILED},
    Field{&R::sendType, INT32_FAILED},
    Field{&R::totalSize, "WriteInt64 failed."},
    Field{&R::dataExtraInt2, INT32_FAILED},
    Field{&R::dataExtraInt1, INT32_FAILED},
    TotalNumField{&R::totalNum, INT32_FAILED},
    PayloadRoom{},
    FileItemsField{},
    Field{&R::text},
    Field{&R::thumbnail},
    Field{&R::scenarioId},
    Field{&R::conCurrentId},
    Field{&R::dataExtraInt3, INT32_FAILED},
    ExtraField{},
};

} // namespace

bool DataBean::Marshalling(Parcel& parcel) const
{
    return FIELDS.Write(parcel, *this);
}

bool DataBean::ReadFromParcel(Parcel& parcel)
{
    return FIELDS.Read(parcel, *this);
}

} // namespace OHOS::Pelago
