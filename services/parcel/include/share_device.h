#ifndef PELAGO_SERVICES_PARCEL_SHARE_DEVICE_H
#define PELAGO_SERVICES_PARCEL_SHARE_DEVICE_H

#include <cstdint>
#include <string>

#include "contact_info.h"
#include "parcel.h"
#include "share_constants.h"

namespace OHOS::Pelago {

// A device as it is delivered: by the engine in a parcel, or made in this process from what a tap told. Held by strong
// references, written by its maker before anybody else has one and only read afterwards, then by any thread.
// It has no state of a transfer; ShareDeviceInfo is the record that the service keeps.
class ShareDevice final : public Parcelable {
public:
    // Appends the fields that travel. False at the first field that fails; the parcel is then of no use.
    [[nodiscard]] bool Marshalling(Parcel& parcel) const override;
    [[nodiscard]] bool WriteToParcel(Parcel& parcel) const
    {
        return Marshalling(parcel);
    }
    // Reads over the fields that travel; ohFlag and isSameAccount are not among them, so that every device from the
    // engine says no to both. False at the first field that fails; the record is then half old, half new.
    [[nodiscard]] bool ReadFromParcel(Parcel& parcel);
    // A new record out of the parcel, or null. The caller owns it: take it into an sptr at once.
    [[nodiscard]] static ShareDevice* Unmarshalling(Parcel& parcel);

    [[nodiscard]] const std::string& GetDeviceId() const
    {
        return deviceId_;
    }
    void SetDeviceId(const std::string& value)
    {
        deviceId_ = value;
    }
    [[nodiscard]] const std::string& GetAccountHash() const
    {
        return accountHash_;
    }
    void SetAccountHash(const std::string& value)
    {
        accountHash_ = value;
    }
    [[nodiscard]] int32_t GetDeviceType() const
    {
        return deviceType_;
    }
    // Stores the type by which clients know it: 2575 is a tablet too, and never stands in the record.
    void SetDeviceType(int32_t type);
    [[nodiscard]] const std::string& GetDeviceName() const
    {
        return deviceName_;
    }
    void SetDeviceName(const std::string& value)
    {
        deviceName_ = value;
    }
    [[nodiscard]] const std::string& GetNickName() const
    {
        return nickName_;
    }
    void SetNickName(const std::string& value)
    {
        nickName_ = value;
    }
    void SetBleMac(const std::string& value)
    {
        bleMac = value;
    }
    void SetUdidHash(const std::string& value)
    {
        udidHash = value;
    }
    void SetDeviceHash(const std::string& value)
    {
        deviceHash = value;
    }
    void SetDiscType(const std::string& value)
    {
        discType = value;
    }
    void SetNearbyVersion(int32_t value)
    {
        nearbyVersion = value;
    }
    [[nodiscard]] int32_t GetOHFlag() const
    {
        return ohFlag;
    }
    void SetOHFlag(int32_t value)
    {
        ohFlag = value;
    }
    [[nodiscard]] int64_t GetLastSharedTime() const
    {
        return lastSharedTime;
    }
    [[nodiscard]] bool GetIsSameAccount() const
    {
        return isSameAccount;
    }
    void SetIsContactShareSupported(bool value)
    {
        isContactShareSupported = value;
    }
    [[nodiscard]] int32_t GetActionAddrHandle() const
    {
        return actionAddrHandle;
    }
    void SetActionAddrHandle(int32_t value)
    {
        actionAddrHandle = value;
    }
    [[nodiscard]] const ContactInfo& GetContactInfo() const
    {
        return contactInfo;
    }
    [[nodiscard]] uint32_t GetDiscoveredBy() const
    {
        return discoveredBy_;
    }
    // Replaces all flags, and logs the new ones.
    void SetDiscoveredBy(const uint32_t& flags);
    [[nodiscard]] int32_t GetCapability() const
    {
        return capability_;
    }
    void SetCapability(int32_t value)
    {
        capability_ = value;
    }

    std::string deviceId_;
    std::string accountHash_;
    int32_t deviceType_ = 0;
    std::string deviceName_;
    std::string nickName_;
    std::string bleMac;
    std::string udidHash;
    std::string deviceHash;
    std::string discType; // how a tap found it
    int32_t nearbyVersion = 0;
    int32_t ohFlag = 0;         // not 0: the peer runs this system's stack
    int64_t lastSharedTime = 0; // milliseconds since the epoch
    bool isSameAccount = false;
    bool isContactShareSupported = false;
    int32_t actionAddrHandle = -1;
    ContactInfo contactInfo;
    uint32_t discoveredBy_ = Discoverer::ORDINARY;
    int32_t capability_ = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_SERVICES_PARCEL_SHARE_DEVICE_H
