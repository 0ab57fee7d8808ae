#include "share_device_info.h"

#include "record_fields.h"
#include "share_device.h"

namespace OHOS::Pelago {
namespace {

using R = ShareDeviceInfo;

// The misspelling in the last texts and the label of one of them are known by those who search logs.
constexpr FieldList FIELDS{
    Labels{Log::SHARE_PROXY, Log::SHARE_STUB},
    Field{&R::btName},
    Field{&R::corvaneIdName, "WriteString corvaneIdName failed.", "ReadString corvaneIdName failed."},
    ImageField{&R::avatar, "WriteString avatar failed.", "ReadString avatar failed."},
    Field{&R::colorId, "WriteInt32 colorId failed.", "ReadInt32 colorId failed."},
    Field{&R::eventCode, "WriteInt32 eventCode failed.", "ReadInt32 eventCode failed."},
    Field{&R::deviceState, "WriteInt32 stateCode failed.", "ReadInt32 stateCode failed."},
    Field{&R::percent, "WriteInt32 percent failed.", "ReadInt32 percent failed."},
    Field{&R::speed, "WriteInt32 speed failed.", "ReadInt32 speed failed."},
    Field{&R::isDisappeared, "WriteBool isDisappeared failed.", "ReadBool isDisappeared failed."},
    Field{&R::deviceType, "WriteInt32 deviceType failed.", "ReadInt32 deviceType failed."},
    Field{&R::deviceId, "WriteString deviceId failed.", "ReadString deviceId failed."},
    Field{&R::nearbyVersion, "WriteInt32 nearbyVersion failed.", "ReadInt32 nearbyVersion failed."},
    Field{&R::lastSharedTime, "WriteInt64 lastSharedTime failed.", "ReadInt64 lastSharedTime failed."},
    Field{&R::isSameAccount, "WriteBool isSameAccount failed.", "ReadBool isSameAccount failed."},
    Field{&R::contactInfo, "Write contactInfo failed.", "Read contactInfo failed."},
    Field{&R::isOHDevice, "Write isOHDevice failed.", "Read isOHDevice failed."},
    Field{&R::discoveredBy, "WriteInt32 deviceFounder failed.", "ReadInt32 deviceFounder failed."},
    Field{&R::concurrentId, "WriteString concurentId failed.", "ReadString concurentId failed.", &Log::SHARE_PROXY},
    Field{&R::capability},
};

// The state that a status is shown as; none for a status that means nothing here.
int32_t StateOfStatus(int32_t status)
{
    switch (status) {
        case 1001:
        case 1002:
        case 1003:
        case 1006:
        case 1010:
        case 1011:
            return DeviceState::UNDER_WAY;
        case EngineStatus::CONNECTING:
        case 1005:
            return DeviceState::CONNECTING;
        case EngineStatus::CANCELLED_BY_RECEIVER:
        case 1015:
        case 1016:
        case 1020:
        case 1021:
            return DeviceState::CANCELLED;
        case EngineStatus::DECLINED:
            return DeviceState::DECLINED;
        case EngineStatus::REFUSED:
            return DeviceState::REFUSED;
        case EngineStatus::SHOWN_TO_USER:
            return DeviceState::WAITING;
        case EngineStatus::NO_ANSWER:
            return DeviceState::NO_ANSWER;
        case EngineStatus::BUSY:
            return DeviceState::BUSY;
        case EngineStatus::NO_SPACE:
            return DeviceState::NO_SPACE;
        case 1019:
            return DeviceState::ENDED_BY_1019;
        case 2008:
            return DeviceState::ENDED_BY_2008;
        default: // 1018 too, which the engine does send
            return DeviceState::UNKNOWN_STATUS;
    }
}

} // namespace

bool ShareDeviceInfo::Marshalling(Parcel& parcel) const
{
    return FIELDS.Write(parcel, *this);
}

bool ShareDeviceInfo::ReadFromParcel(Parcel& parcel)
{
    return FIELDS.Read(parcel, *this);
}

ShareDeviceInfo ShareDeviceInfo::ConvertToShareDeviceInfo(const sptr<ShareDevice>& device)
{
    ShareDeviceInfo info;
    if (device == nullptr) {
        return info;
    }
    info.btName = device->GetDeviceName();
    info.deviceId = device->GetDeviceId();
    info.corvaneIdName = device->GetNickName();
    info.deviceType = device->GetDeviceType();
    info.avatar = device->GetAccountHash();
    info.lastSharedTime = device->GetLastSharedTime();
    info.isSameAccount = device->GetIsSameAccount();
    info.contactInfo = device->GetContactInfo();
    info.isOHDevice = device->GetOHFlag() != 0;
    info.discoveredBy = device->GetDiscoveredBy();
    info.capability = device->GetCapability();
    return info;
}

int32_t ShareDeviceInfo::ConvertOnStatus(int32_t status)
{
    SHARE_LOGI(Log::SHARE, "status: %{public}d", status);
    const int32_t state = StateOfStatus(status);
    if (state == DeviceState::UNKNOWN_STATUS) {
        SHARE_LOGE(Log::SHARE, "invalid status!");
    }
    return state;
}

std::string ShareDeviceInfo::GetMergeId() const
{
    // Negative ids group devices as well.
    return contactInfo.contactId != 0 ? std::to_string(contactInfo.contactId) : deviceId;
}

void ShareDeviceInfo::DelDiscoverer(const uint32_t& flag)
{
    SHARE_LOGI(Log::SHARE, "DelDiscoverer, old %{public}d, del %{public}d", static_cast<int32_t>(discoveredBy),
        static_cast<int32_t>(flag));
    discoveredBy &= ~flag;
    SHARE_LOGI(Log::SHARE, "DelDiscoverer exit, new %{public}d", static_cast<int32_t>(discoveredBy));
}

void ShareDeviceInfo::SetDiscoveredBy(const uint32_t& flags)
{
    SHARE_LOGI(Log::SHARE, "SetDiscoveredBy %{public}d", static_cast<int32_t>(flags));
    discoveredBy = flags;
}

} // namespace OHOS::Pelago
