#ifndef PELAGO_SERVICES_PARCEL_CONTACT_INFO_H
#define PELAGO_SERVICES_PARCEL_CONTACT_INFO_H

#include <cstdint>
#include <string>

#include "parcel.h"

namespace OHOS::Pelago {

// The contact that a device belongs to. A value, owned by whoever holds it; not for several threads at once. It does
// not say which devices the contact has.
class ContactInfo final : public Parcelable {
public:
    // Appends the record. The parcel's capacity is raised by the length of the avatar. False at the first field that
    // fails; the parcel is then of no use.
    [[nodiscard]] bool Marshalling(Parcel& parcel) const override;
    [[nodiscard]] bool WriteToParcel(Parcel& parcel) const
    {
        return Marshalling(parcel);
    }
    // Reads over this record. False at the first field that fails; the record is then half old, half new.
    [[nodiscard]] bool ReadFromParcel(Parcel& parcel);

    // Whether the id names a contact. Devices are grouped by negative ids all the same: only telemetry asks here.
    [[nodiscard]] static bool IsContactIdValid(const int32_t& id)
    {
        return id > 0;
    }

    [[nodiscard]] int32_t GetContactId() const
    {
        return contactId;
    }
    void SetContactId(const int32_t& value)
    {
        contactId = value;
    }
    [[nodiscard]] const std::string& GetName() const
    {
        return name;
    }
    void SetName(const std::string& value)
    {
        name = value;
    }
    [[nodiscard]] const std::string& GetAvatar() const
    {
        return avatar;
    }
    void SetAvatar(const std::string& value)
    {
        avatar = value;
    }

    int32_t contactId = 0; // 0: no contact
    std::string name;
    std::string avatar; // an image as text
};

} // namespace OHOS::Pelago

#endif // PELAGO_SERVICES_PARCEL_CONTACT_INFO_H
