#ifndef PELAGO_SERVICES_PARCEL_RECV_PREVIEW_H
#define PELAGO_SERVICES_PARCEL_RECV_PREVIEW_H

#include <cstdint>
#include <string>

#include "parcel.h"

namespace OHOS::Pelago {

// What the engine tells of an incoming share before anybody has accepted it. A value, owned by whoever holds it; not
// for several threads at once. The engine fills the fields and writes it, the service reads it and has no setters; no
// client ever gets one.
class RecvPreview final : public Parcelable {
public:
    // Appends the record, for the engine. The capacity is left alone, so that a preview that does not fit an ordinary
    // parcel fails here. False at the first field that fails; the parcel is then of no use.
    [[nodiscard]] bool Marshalling(Parcel& parcel) const override;
    [[nodiscard]] bool WriteToParcel(Parcel& parcel) const
    {
        return Marshalling(parcel);
    }
    // Reads over this record. False at the first field that fails; the record is then half old, half new.
    [[nodiscard]] bool ReadFromParcel(Parcel& parcel);

    [[nodiscard]] const std::string& GetSenderName() const
    {
        return senderName_;
    }
    [[nodiscard]] int32_t GetRecvType() const
    {
        return recvType_;
    }
    [[nodiscard]] int32_t GetFileCounter() const
    {
        return fileCounter_;
    }
    [[nodiscard]] int32_t GetFolderCounter() const
    {
        return folderCounter_;
    }
    [[nodiscard]] uint64_t GetTotalSize() const
    {
        return itemTotalSize_;
    }
    [[nodiscard]] const std::string& GetPreviewData() const
    {
        return previewData_;
    }
    [[nodiscard]] const std::string& GetAllFileNameData() const
    {
        return allFileNameData_;
    }
    [[nodiscard]] const std::string& GetPreviewInfo() const
    {
        return previewInfo_;
    }
    [[nodiscard]] const std::string& GetPreviewExtraInfo() const
    {
        return previewExtraInfo_;
    }
    [[nodiscard]] int32_t GetBytesType() const
    {
        return bytesType_;
    }
    [[nodiscard]] const std::string& GetBytesData() const
    {
        return bytesData_;
    }
    [[nodiscard]] int32_t GetPopUpStrategy() const
    {
        return popUpStrategy_;
    }
    [[nodiscard]] const std::string& GetPackageInfo() const
    {
        return packageInfo_;
    }
    [[nodiscard]] int32_t GetTransEventType() const
    {
        return transType_;
    }
    [[nodiscard]] int8_t GetDeviceStatus() const
    {
        return deviceStatus_;
    }
    [[nodiscard]] const std::string& GetPreviewInfoSummary() const
    {
        return previewInfoSummary_;
    }

    std::string senderName_;
    int32_t recvType_ = -1;
    int32_t fileCounter_ = 0;
    int32_t folderCounter_ = 0;
    uint64_t itemTotalSize_ = 0; // bytes
    std::string previewData_;
    std::string allFileNameData_;
    std::string previewInfo_;
    std::string previewExtraInfo_;
    int32_t bytesType_ = 0;
    std::string bytesData_;
    int32_t popUpStrategy_ = 0;
    std::string packageInfo_;
    int32_t transType_ = 0;
    int8_t deviceStatus_ = 1; // does not travel: it is 1 in every record that was read
    std::string previewInfoSummary_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_SERVICES_PARCEL_RECV_PREVIEW_H
