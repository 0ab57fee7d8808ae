#ifndef PELAGO_SERVICES_PARCEL_FILE_ITEM_H
#define PELAGO_SERVICES_PARCEL_FILE_ITEM_H

#include <cstdint>
#include <string>

#include "parcel.h"

namespace OHOS::Pelago {

// A file that is passed by URI. A value, owned by whoever holds it; not for several threads at once. It opens nothing
// and does not say whether the file exists.
class FileItem final : public Parcelable {
public:
    // Appends all fields in the order of their declaration. False at the first field that fails; the parcel is then of
    // no use.
    [[nodiscard]] bool Marshalling(Parcel& parcel) const override;
    [[nodiscard]] bool WriteToParcel(Parcel& parcel) const
    {
        return Marshalling(parcel);
    }
    // Reads over this record. False at the first field that fails; the record is then half old, half new.
    [[nodiscard]] bool ReadFromParcel(Parcel& parcel);

    std::string fileUri_;
    std::string fileName_;
    int64_t fileSize_ = 0; // bytes
    std::string fileRelativePath_;
    std::string fileMimeType_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_SERVICES_PARCEL_FILE_ITEM_H
