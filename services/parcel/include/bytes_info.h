#ifndef PELAGO_SERVICES_PARCEL_BYTES_INFO_H
#define PELAGO_SERVICES_PARCEL_BYTES_INFO_H

#include <cstdint>
#include <string>

#include "parcel.h"

namespace OHOS::Pelago {

// A send of a small payload of bytes. A value, owned by whoever holds it; not for several threads at once. What type
// and title mean is between client and engine.
class BytesInfo final : public Parcelable {
public:
    // Appends all fields in the order of their declaration; the parcel's capacity becomes PAYLOAD_PARCEL_CAPACITY.
    // False at the first field that fails; the parcel is then of no use.
    [[nodiscard]] bool Marshalling(Parcel& parcel) const override;
    [[nodiscard]] bool WriteToParcel(Parcel& parcel) const
    {
        return Marshalling(parcel);
    }
    // Reads over this record. False at the first field that fails; the record is then half old, half new.
    [[nodiscard]] bool ReadFromParcel(Parcel& parcel);

    [[nodiscard]] const std::string& GetPreviewData() const
    {
        return previewData;
    }
    [[nodiscard]] const std::string& GetConCurrentId() const
    {
        return conCurrentId;
    }
    [[nodiscard]] const std::string& GetText() const
    {
        return text;
    }

    int32_t bytesType = -1;
    std::string bytesTitle;
    std::string previewData;
    std::string conCurrentId;
    std::string text;
};

} // namespace OHOS::Pelago

#endif // PELAGO_SERVICES_PARCEL_BYTES_INFO_H
