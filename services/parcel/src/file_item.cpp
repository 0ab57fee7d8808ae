#include "file_item.h"

#include "record_fields.h"

namespace OHOS::Pelago {
namespace {

using R = FileItem;

constexpr FieldList FIELDS{
    Labels{Log::SHARE_NAPI, Log::SHARE_NAPI},
    Field{&R::fileUri_, "WriteString fileUri_ failed."},
    Field{&R::fileName_, "WriteString fileName_ failed."},
    Field{&R::fileSize_, "WriteInt64 fileSize_ failed."},
    Field{&R::fileRelativePath_, "WriteString fileRelativePath_ failed."},
    Field{&R::fileMimeType_, "WriteString fileMimeType_ failed."},
};

} // namespace

bool FileItem::Marshalling(Parcel& parcel) const
{
    return FIELDS.Write(parcel, *this);
}

bool FileItem::ReadFromParcel(Parcel& parcel)
{
    return FIELDS.Read(parcel, *this);
}

} // namespace OHOS::Pelago
