#include "bytes_info.h"

#include "record_fields.h"

namespace OHOS::Pelago {
namespace {

using R = BytesInfo;

constexpr FieldList FIELDS{
    Labels{Log::SHARE_NAPI, Log::SHARE_NAPI},
    PayloadRoom{},
    Field{&R::bytesType, "WriteInt32 failed."},
    Field{&R::bytesTitle},
    Field{&R::previewData},
    Field{&R::conCurrentId},
    Field{&R::text},
};

} // namespace

bool BytesInfo::Marshalling(Parcel& parcel) const
{
    return FIELDS.Write(parcel, *this);
}

bool BytesInfo::ReadFromParcel(Parcel& parcel)
{
    return FIELDS.Read(parcel, *this);
}

} // namespace OHOS::Pelago
