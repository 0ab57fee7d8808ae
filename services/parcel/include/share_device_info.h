#ifndef PELAGO_SERVICES_PARCEL_SHARE_DEVICE_INFO_H
#define PELAGO_SERVICES_PARCEL_SHARE_DEVICE_INFO_H

#include <cstdint>
#include <string>

#include "contact_info.h"
#include "parcel.h"
#include "refbase.h"
#include "share_constants.h"

namespace OHOS::Pelago {

class ShareDevice;

// A device as clients see it and as the service keeps it: who it is, and what is going on with it. A value, copied
// freely and moved cheaply; owned by whoever holds it; not for several threads at once. It does not know the other
// devices of its contact.
class ShareDeviceInfo final : public Parcelable {
public:
    // Appends all fields in the order of their declaration. The parcel's capacity is raised by the length of each
    // avatar, which can be a whole image. False at the first field that fails; the parcel is then of no use.
    [[nodiscard]] bool Marshalling(Parcel& parcel) const override;
    [[nodiscard]] bool WriteToParcel(Parcel& parcel) const
    {
        return Marshalling(parcel);
    }
    // Reads over this record. False at the first field that fails; the record is then half old, half new.
    [[nodiscard]] bool ReadFromParcel(Parcel& parcel);

    // The record of a device that was delivered; a default record for null. The account hash lands in the avatar, which
    // clients key on, and the version of the peer is not taken over: both are meant.
    [[nodiscard]] static ShareDeviceInfo ConvertToShareDeviceInfo(const sptr<ShareDevice>& device);
    // The DeviceState that an engine status is shown as.
    [[nodiscard]] static int32_t ConvertOnStatus(int32_t status);

    // The id under which the devices of one contact meet: the contact's in decimal, or the device's own without one.
    [[nodiscard]] std::string GetMergeId() const;
    // Whether any of the flags is set.
    [[nodiscard]] bool IsContainDiscoverer(const uint32_t& flag) const
    {
        return (discoveredBy & flag) != 0;
    }
    void DelDiscoverer(const uint32_t& flag);

    [[nodiscard]] const std::string& GetBtName() const
    {
        return btName;
    }
    void SetBtName(const std::string& value)
    {
        btName = value;
    }
    [[nodiscard]] const std::string& GetCorvaneIdName() const
    {
        return corvaneIdName;
    }
    void SetCorvaneIdName(const std::string& value)
    {
        corvaneIdName = value;
    }
    [[nodiscard]] const std::string& GetAvatar() const
    {
        return avatar;
    }
    void SetAvatar(const std::string& value)
    {
        avatar = value;
    }
    [[nodiscard]] int32_t GetEventCode() const
    {
        return eventCode;
    }
    void SetEventCode(const int32_t& value)
    {
        eventCode = value;
    }
    [[nodiscard]] int32_t GetDeviceState() const
    {
        return deviceState;
    }
    void SetDeviceState(const int32_t& value)
    {
        deviceState = value;
    }
    [[nodiscard]] int32_t GetPercent() const
    {
        return percent;
    }
    void SetPercent(const int32_t& value)
    {
        percent = value;
    }
    [[nodiscard]] int32_t GetSpeed() const
    {
        return speed;
    }
    void SetSpeed(const int32_t& value)
    {
        speed = value;
    }
    void SetIsDisappeared(const bool& value)
    {
        isDisappeared = value;
    }
    [[nodiscard]] int32_t GetDeviceType() const
    {
        return deviceType;
    }
    void SetDeviceType(const int32_t& value)
    {
        deviceType = value;
    }
    [[nodiscard]] const std::string& GetDeviceId() const
    {
        return deviceId;
    }
    void SetDeviceId(const std::string& value)
    {
        deviceId = value;
    }
    [[nodiscard]] int32_t GetNearbyVersion() const
    {
        return nearbyVersion;
    }
    void SetNearbyVersion(const int32_t& value)
    {
        nearbyVersion = value;
    }
    [[nodiscard]] int64_t GetLastSharedTime() const
    {
        return lastSharedTime;
    }
    void SetLastSharedTime(const int64_t& value)
    {
        lastSharedTime = value;
    }
    [[nodiscard]] bool GetIsSameAccount() const
    {
        return isSameAccount;
    }
    void SetIsSameAccount(const bool& value)
    {
        isSameAccount = value;
    }
    // A copy; who only looks reads the field.
    [[nodiscard]] ContactInfo GetContactInfo() const
    {
        return contactInfo;
    }
    void SetContactInfo(const ContactInfo& value)
    {
        contactInfo = value;
    }
    [[nodiscard]] bool GetIsOHDevice() const
    {
        return isOHDevice;
    }
    void SetIsOHDevice(const bool& value)
    {
        isOHDevice = value;
    }
    [[nodiscard]] uint32_t GetDiscoveredBy() const
    {
        return discoveredBy;
    }
    // Replaces all flags, and logs the new ones.
    void SetDiscoveredBy(const uint32_t& flags);
    void SetConcurrentId(const std::string& value)
    {
        concurrentId = value;
    }
    [[nodiscard]] int32_t GetCapability() const
    {
        return capability;
    }
    void SetCapability(int32_t value)
    {
        capability = value;
    }

    std::string btName;        // the name that is shown
    std::string corvaneIdName; // nick name of the account
    std::string avatar;        // an image as text, or the account hash
    int32_t colorId = -1;      // colour of a generated avatar
    int32_t eventCode = TransferEvent::NONE;
    int32_t deviceState = DeviceState::IDLE; // logs call it stateCode
    int32_t percent = 0;
    int32_t speed = 0;
    bool isDisappeared = false; // gone from discovery
    int32_t deviceType = 1;
    std::string deviceId = "DeviceIdentity";
    int32_t nearbyVersion = 0;
    int64_t lastSharedTime = 0; // milliseconds since the epoch
    bool isSameAccount = false;
    ContactInfo contactInfo;
    bool isOHDevice = true;                       // the peer runs this system's stack
    uint32_t discoveredBy = Discoverer::ORDINARY; // bits of Discoverer; logs call it deviceFounder
    std::string concurrentId;                     // of the share that this device takes part in
    int32_t capability = 0;                       // bits, as the peer tells them
};

} // namespace OHOS::Pelago

#endif // PELAGO_SERVICES_PARCEL_SHARE_DEVICE_INFO_H
