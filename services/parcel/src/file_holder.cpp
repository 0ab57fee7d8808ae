#include "file_holder.h"

#include <unistd.h>

#include "message_parcel.h"
#include "record_fields.h"

namespace OHOS::Pelago {
namespace {

using R = FileHolder;

// Descriptors travel beside the bytes, which only a MessageParcel knows. One that is missing reads as -1.
struct DescriptorField : Field<R, int32_t> {
    using Field::Field;

    [[nodiscard]] bool Write(Parcel& parcel, const R& record, const LogLabel& label) const
    {
        return static_cast<MessageParcel&>(parcel).WriteFileDescriptor(record.fileFd) || WriteFailed(texts, label);
    }
    [[nodiscard]] bool Read(Parcel& parcel, R& record, const LogLabel&) const
    {
        record.fileFd = static_cast<MessageParcel&>(parcel).ReadFileDescriptor();
        return true;
    }
};

constexpr FieldList FIELDS{
    Labels{Log::SHARE_NAPI, Log::SHARE_NAPI},
    Field{&R::fileName_, "WriteString fileName_ failed."},
    Field{&R::fileSize_, "WriteInt64 fileSize_ failed."},
    DescriptorField{&R::fileFd, "WriteFileDescriptor failed."},
    Field{&R::fileType_, "WriteString fileType_ failed."},
};

} // namespace

bool FileHolder::Marshalling(Parcel& parcel) const
{
    return FIELDS.Write(parcel, *this);
}

bool FileHolder::ReadFromParcel(Parcel& parcel)
{
    fileFd = -1; // not this record's to close
    if (FIELDS.Read(parcel, *this)) {
        return true;
    }
    if (fileFd >= 0) { // just read: nobody else knows of it
        (void)close(fileFd);
        fileFd = -1;
    }
    return false;
}

} // namespace OHOS::Pelago
