#include "share_device.h"

#include <memory>

#include "common_utils.h"
#include "record_fields.h"

namespace OHOS::Pelago {
namespace {

constexpr int32_t FOREIGN_TABLET_TYPE = 2575; // another code for a tablet

using R = ShareDevice;

// The type goes through its setter on its way in.
struct DeviceTypeField : Field<R, int32_t> {
    using Field::Field;

    [[nodiscard]] bool Read(Parcel& parcel, R& record, const LogLabel& label) const
    {
        if (!Field::Read(parcel, record, label)) {
            return false;
        }
        record.SetDeviceType(record.deviceType_);
        return true;
    }
};

// Not the order of the declaration, and not all of it.
constexpr FieldList FIELDS{
    Labels{Log::SHARE_PROXY, Log::SHARE},
    Field{&R::deviceId_, nullptr, "read deviceId_ failed."},
    Field{&R::accountHash_, nullptr, "read accountHash_ failed."},
    DeviceTypeField{&R::deviceType_, nullptr, "read deviceType_ failed."},
    Field{&R::deviceName_, nullptr, "read deviceName_ failed."},
    Field{&R::nickName_, nullptr, "read nickName_ failed."},
    Field{&R::lastSharedTime},
    Field{&R::discoveredBy_, nullptr, "read discoveredBy_ failed."},
    Field{&R::contactInfo, "Write contactInfo failed.", "Read contactInfo failed.", &Log::SHARE_PROXY},
    Field{&R::capability_, nullptr, "Read capability_ failed.", &Log::SHARE_PROXY},
};

} // namespace

bool ShareDevice::Marshalling(Parcel& parcel) const
{
    return FIELDS.Write(parcel, *this);
}

bool ShareDevice::ReadFromParcel(Parcel& parcel)
{
    return FIELDS.Read(parcel, *this);
}

ShareDevice* ShareDevice::Unmarshalling(Parcel& parcel)
{
    auto device = std::make_unique<ShareDevice>();
    return device->ReadFromParcel(parcel) ? device.release() : nullptr;
}

void ShareDevice::SetDeviceType(int32_t type)
{
    deviceType_ = type == FOREIGN_TABLET_TYPE ? DeviceType::TABLET : type;
}

void ShareDevice::SetDiscoveredBy(const uint32_t& flags)
{
    SHARE_LOGI(Log::SHARE, "SetDiscoveredBy %{public}d", static_cast<int32_t>(flags));
    discoveredBy_ = flags;
}

} // namespace OHOS::Pelago
