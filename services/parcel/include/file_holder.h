#ifndef PELAGO_SERVICES_PARCEL_FILE_HOLDER_H
#define PELAGO_SERVICES_PARCEL_FILE_HOLDER_H

#include <cstdint>
#include <string>

#include "parcel.h"

namespace OHOS::Pelago {

// A file that is passed by descriptor. A value; not for several threads at once. It holds the number of the descriptor
// and nothing more: copies share it, and no FileHolder ever closes it. Whoever reads a holder out of a parcel owns the
// descriptor that came with it.
class FileHolder final : public Parcelable {
public:
    // Appends the record and a duplicate of the descriptor. `parcel` must be a MessageParcel, which alone carries
    // descriptors. False at the first field that fails, as -1 does; the parcel is then of no use.
    [[nodiscard]] bool Marshalling(Parcel& parcel) const override;
    [[nodiscard]] bool WriteToParcel(Parcel& parcel) const
    {
        return Marshalling(parcel);
    }
    // Reads over this record; `parcel` must be a MessageParcel. A descriptor that is missing is no failure: it reads as
    // -1. False at the first field that fails; the record is then half old, half new, and holds no descriptor.
    [[nodiscard]] bool ReadFromParcel(Parcel& parcel);

    [[nodiscard]] const std::string& GetFileName() const
    {
        return fileName_;
    }
    void SetFileName(const std::string& value)
    {
        fileName_ = value;
    }
    [[nodiscard]] int64_t GetFileSize() const
    {
        return fileSize_;
    }
    void SetFileSize(int64_t value)
    {
        fileSize_ = value;
    }
    [[nodiscard]] int32_t GetFileFd() const
    {
        return fileFd;
    }
    void SetFileFd(int32_t value)
    {
        fileFd = value;
    }
    [[nodiscard]] const std::string& GetFileType() const
    {
        return fileType_;
    }
    void SetFileType(const std::string& value)
    {
        fileType_ = value;
    }

    std::string fileName_;
    int64_t fileSize_ = 0; // bytes
    int32_t fileFd = -1;
    std::string fileType_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_SERVICES_PARCEL_FILE_HOLDER_H
