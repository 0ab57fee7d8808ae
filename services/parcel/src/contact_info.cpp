#include "contact_info.h"

#include "record_fields.h"

namespace OHOS::Pelago {
namespace {

// It says nothing: the record around it does.
constexpr FieldList FIELDS{
    Labels{Log::SHARE_NAPI, Log::SHARE_NAPI},
    Field{&ContactInfo::contactId},
    Field{&ContactInfo::name},
    ImageField{&ContactInfo::avatar},
};

} // namespace

bool ContactInfo::Marshalling(Parcel& parcel) const
{
    return FIELDS.Write(parcel, *this);
}

bool ContactInfo::ReadFromParcel(Parcel& parcel)
{
    return FIELDS.Read(parcel, *this);
}

} // namespace OHOS::Pelago
