#include "share_account_info.h"

#include "account_info.h"
#include "record_fields.h"

namespace OHOS::Pelago {
namespace {

using R = ShareAccountInfo;

constexpr FieldList FIELDS{
    Labels{Log::SHARE_PROXY, Log::SHARE_STUB},
    Field{&R::corvaneAccountID, "WriteString corvaneAccountID failed."},
    Field{&R::corvaneAccountIDHash, "WriteString corvaneAccountIDHash failed."},
    Field{&R::status, "WriteInt32 status failed."},
    Field{&R::callingUid, "WriteInt32 callingUid failed."},
    Field{&R::nickName, "WriteString nickName failed."},
    Field{&R::avatar, "WriteString avatar failed."},
};

} // namespace

bool ShareAccountInfo::Marshalling(Parcel& parcel) const
{
    return FIELDS.Write(parcel, *this);
}

bool ShareAccountInfo::ReadFromParcel(Parcel& parcel)
{
    return FIELDS.Read(parcel, *this);
}

ShareAccountInfo ShareAccountInfo::ConvertToShareAccountInfo(const AccountSA::OhosAccountInfo& account)
{
    ShareAccountInfo info;
    info.corvaneAccountID = account.name_;
    info.corvaneAccountIDHash = account.uid_;
    info.status = account.status_;
    info.callingUid = account.callingUid_;
    info.nickName = account.nickname_;
    info.avatar = account.avatar_;
    return info;
}

} // namespace OHOS::Pelago
