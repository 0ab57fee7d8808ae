#ifndef PELAGO_SERVICES_PARCEL_DATA_BEAN_H
#define PELAGO_SERVICES_PARCEL_DATA_BEAN_H

#include <cstdint>
#include <string>
#include <vector>

#include "file_item.h"
#include "parcel.h"
#include "want_params.h"

namespace OHOS::Pelago {

// A send of files by URI, with extra parameters. A value, owned by whoever holds it; not for several threads at once.
// It does not check that totalNum counts fileItems: see there.
class DataBean final : public Parcelable {
public:
    // Appends the record; the parcel's capacity becomes PAYLOAD_PARCEL_CAPACITY on the way. All of fileItems is
    // written, however many. False at the first field that fails; the parcel is then of no use.
    [[nodiscard]] bool Marshalling(Parcel& parcel) const override;
    [[nodiscard]] bool WriteToParcel(Parcel& parcel) const
    {
        return Marshalling(parcel);
    }
    // Reads over this record; files are appended to fileItems, none for a totalNum below 0. False for a totalNum above
    // MAX_SHARED_FILES, and at the first field that fails; the record is then half old, half new.
    [[nodiscard]] bool ReadFromParcel(Parcel& parcel);

    [[nodiscard]] const std::string& GetText() const
    {
        return text;
    }
    [[nodiscard]] const std::string& GetThumbnail() const
    {
        return thumbnail;
    }
    [[nodiscard]] const std::string& GetConCurrentId() const
    {
        return conCurrentId;
    }

    int32_t sendModule = 0;
    int32_t sendType = 0;
    int64_t totalSize = 0; // bytes
    int32_t totalNum = 0;  // a reader takes so many fileItems: a writer must keep it equal to their number
    std::vector<FileItem> fileItems;
    std::string text;
    std::string thumbnail;
    std::string scenarioId;
    std::string conCurrentId;
    int32_t dataExtraInt1 = 0; // the extras are between client and engine
    int32_t dataExtraInt2 = 0;
    int32_t dataExtraInt3 = 0;
    AAFwk::WantParams extra_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_SERVICES_PARCEL_DATA_BEAN_H
