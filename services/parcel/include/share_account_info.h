#ifndef PELAGO_SERVICES_PARCEL_SHARE_ACCOUNT_INFO_H
#define PELAGO_SERVICES_PARCEL_SHARE_ACCOUNT_INFO_H

#include <cstdint>
#include <string>

#include "parcel.h"

namespace OHOS::AccountSA {
class OhosAccountInfo;
}

namespace OHOS::Pelago {

// The account of this device's user, as clients get it. A value, owned by whoever holds it; not for several threads at
// once. The service writes it and clients read it; it is never sent back.
class ShareAccountInfo final : public Parcelable {
public:
    // Appends all fields in the order of their declaration. False at the first field that fails; the parcel is then of
    // no use.
    [[nodiscard]] bool Marshalling(Parcel& parcel) const override;
    [[nodiscard]] bool WriteToParcel(Parcel& parcel) const
    {
        return Marshalling(parcel);
    }
    // Reads over this record, for clients. False at the first field that fails; the record is then half old, half new.
    [[nodiscard]] bool ReadFromParcel(Parcel& parcel);

    [[nodiscard]] static ShareAccountInfo ConvertToShareAccountInfo(const AccountSA::OhosAccountInfo& account);

    std::string corvaneAccountID;
    std::string corvaneAccountIDHash;
    int32_t status = 0;
    int32_t callingUid = -1;
    std::string nickName;
    std::string avatar;
};

} // namespace OHOS::Pelago

#endif // PELAGO_SERVICES_PARCEL_SHARE_ACCOUNT_INFO_H
