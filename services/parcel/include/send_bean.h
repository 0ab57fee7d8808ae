#ifndef PELAGO_SERVICES_PARCEL_SEND_BEAN_H
#define PELAGO_SERVICES_PARCEL_SEND_BEAN_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "file_holder.h"
#include "parcel.h"

namespace OHOS::Pelago {

// A send of files by descriptor, or of a text. A value; not for several threads at once. It owns no descriptor: copies
// hold the same numbers, and whoever read the record out of a parcel owns what came with it.
class SendBean final : public Parcelable {
public:
    // Appends the record to a MessageParcel, which alone carries descriptors; its capacity becomes
    // PAYLOAD_PARCEL_CAPACITY on the way. False for more than MAX_SHARED_FILES files, and at the first field that
    // fails; the parcel is then of no use.
    [[nodiscard]] bool Marshalling(Parcel& parcel) const override;
    [[nodiscard]] bool WriteToParcel(Parcel& parcel) const
    {
        return Marshalling(parcel);
    }
    // Reads over this record, from a MessageParcel; files are appended to uriList. False for a count that is negative
    // or above MAX_SHARED_FILES, and at the first field that fails; the record is then half old, half new, and uriList
    // holds the files that were read: their descriptors are the caller's then too.
    [[nodiscard]] bool ReadFromParcel(Parcel& parcel);

    [[nodiscard]] int32_t GetSendModule() const
    {
        return sendModule;
    }
    void SetSendModule(int32_t value)
    {
        sendModule = value;
    }
    [[nodiscard]] int32_t GetSendType() const
    {
        return sendType;
    }
    void SetSendType(int32_t value)
    {
        sendType = value;
    }
    [[nodiscard]] int64_t GetTotalSize() const
    {
        return totalSize;
    }
    void SetTotalSize(int64_t value)
    {
        totalSize = value;
    }
    [[nodiscard]] int32_t GetTotalNum() const
    {
        return totalNum;
    }
    void SetTotalNum(int32_t value)
    {
        totalNum = value;
    }
    [[nodiscard]] const std::vector<FileHolder>& GetUriList() const
    {
        return uriList;
    }
    void SetUriList(const std::vector<FileHolder>& value)
    {
        uriList = value;
    }
    [[nodiscard]] const std::string& GetText() const
    {
        return text;
    }
    void SetText(const std::string& value)
    {
        text = value;
    }
    [[nodiscard]] const std::string& GetThumbnail() const
    {
        return thumbnail;
    }
    void SetThumbnail(const std::string& value)
    {
        thumbnail = value;
    }
    [[nodiscard]] const std::string& GetScenarioId() const
    {
        return scenarioId;
    }
    void SetScenarioId(std::string value)
    {
        scenarioId = std::move(value);
    }
    [[nodiscard]] const std::string& GetConCurrentId() const
    {
        return conCurrentId;
    }

    int32_t sendModule = -1;
    int32_t sendType = 0;
    int64_t totalSize = 0; // bytes
    int32_t totalNum = 0;  // as the client tells it; the list has a count of its own
    std::vector<FileHolder> uriList;
    std::string text;
    std::string thumbnail;
    std::string scenarioId;
    std::string conCurrentId;
    int32_t sendExtraFlag = 0; // between client and engine
};

} // namespace OHOS::Pelago

#endif // PELAGO_SERVICES_PARCEL_SEND_BEAN_H
