#include "recv_preview.h"

#include "record_fields.h"

namespace OHOS::Pelago {
namespace {

using R = RecvPreview;

// Not quite the order of the declaration. Two texts stand twice, for fields that were added by copying their neighbour;
// those who search logs know them.
constexpr FieldList FIELDS{
    Labels{Log::SHARE_NAPI, Log::SHARE_NAPI},
    Field{&R::senderName_},
    Field{&R::recvType_, "WriteInt32 recvType_ failed."},
    Field{&R::fileCounter_, "WriteInt32 fileCounter_ failed."},
    Field{&R::folderCounter_, "WriteInt32 fileCounter_ failed."},
    Field{&R::itemTotalSize_, "WriteInt64 itemTotalSize_ failed."},
    Field{&R::previewData_, "WriteString previewData_ failed."},
    Field{&R::allFileNameData_, "WriteString allFileNameData_ failed."},
    Field{&R::previewInfo_, "WriteString previewInfo_ failed."},
    Field{&R::bytesType_, "WriteInt32 bytesType_ failed."},
    Field{&R::bytesData_, "WriteString bytesData_ failed."},
    Field{&R::popUpStrategy_, "WriteInt32 popUpStrategy_ failed."},
    Field{&R::packageInfo_, "WriteString packageInfo_ failed."},
    Field{&R::transType_, "WriteInt32 transType_ failed."},
    Field{&R::previewExtraInfo_, "WriteString packageInfo_ failed."},
    Field{&R::previewInfoSummary_, "WriteString previewInfoSummary_ failed."},
};

} // namespace

bool RecvPreview::Marshalling(Parcel& parcel) const
{
    return FIELDS.Write(parcel, *this);
}

bool RecvPreview::ReadFromParcel(Parcel& parcel)
{
    return FIELDS.Read(parcel, *this);
}

} // namespace OHOS::Pelago
