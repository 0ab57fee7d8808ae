#ifndef PELAGO_DISCOVERY_SHARE_MERGE_INFO_H
#define PELAGO_DISCOVERY_SHARE_MERGE_INFO_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "share_device_info.h"

namespace OHOS::Pelago {

// One entry of the list that clients see: a contact with all its devices, or a single device that belongs to nobody.
// It keeps its members in order of arrival, the looks that the first of them gave it, and the one state in which the
// states of its members come together.
//
// Owned by the merge map of CacheMapManager, which copies it nowhere. It has no lock of its own: every call is made
// under mergeDeviceMutex_, on whatever thread holds it.
//
// It does not know its key, does not look for other entries and talks to no client.
class ShareMergeInfo {
public:
    ShareMergeInfo() = default;
    ShareMergeInfo(const ShareMergeInfo&) = default;
    ShareMergeInfo(ShareMergeInfo&&) = default;
    ShareMergeInfo& operator=(const ShareMergeInfo&) = default;
    ShareMergeInfo& operator=(ShareMergeInfo&&) = default;
    virtual ~ShareMergeInfo() = default;

    // Whether `device` is the entry itself, as clients name it, or one of its members.
    bool ContainDevice(const ShareDeviceInfo& device) const;
    // The place of `device` among the members, -1 when it is none.
    int32_t GetDevicePos(const ShareDeviceInfo& device) const;

    // Appends `device`; the first one gives the entry its looks. False, and nothing changed, when it is a member
    // already.
    [[nodiscard]] bool AddDevice(const ShareDeviceInfo& device);
    // Takes `device` out. A member that was sending takes the whole entry back to idle, whoever remains. True when the
    // entry is now empty; false too when `device` was no member.
    [[nodiscard]] bool RemoveDevice(const ShareDeviceInfo& device);

    // Says anew whether this is a contact's entry, and takes over the looks of `device` if it is the only member.
    void Refresh(const ShareDeviceInfo& device);
    void RefreshContact(const ShareDeviceInfo& device);
    void RefreshNormal(const ShareDeviceInfo& device);

    // Takes over what a later report of a member says about name and picture. `contactChange` tells that the contact's
    // own data changed: only that reaches a contact's entry.
    void UpdateDeviceAttributes(const ShareDeviceInfo& device, bool contactChange);
    void UpdateContactDeviceAttributes(const ShareDeviceInfo& device, int32_t pos);
    void UpdateNormalDeviceAttributes(const ShareDeviceInfo& device, int32_t pos);

    // What a transfer event of the member `device` does to the entry. `value` is the percentage of event 2, the
    // engine's status of event 4, the speed of event 11, and unused otherwise. Events that say nothing about the
    // entry's state are ignored.
    void UpdateDeviceState(const ShareDeviceInfo& device, int32_t event, int32_t value);
    void UpdateContactDeviceState(const ShareDeviceInfo& device, int32_t event, int32_t value, int32_t pos);
    void UpdateNormalDeviceState(const ShareDeviceInfo& device, int32_t event, int32_t value);

    // Sets what clients see. A percentage outside 0 to 100 and a negative speed leave the old value.
    void UpdateUi(int32_t event, int32_t state, int32_t percent, int32_t speed);
    // The same, if the member at `pos` may speak for the entry: the target may, and as long as there is none, the
    // members together.
    void UpdateContactUi(int32_t event, int32_t state, int32_t percent, int32_t speed, int32_t pos);
    void UpdateNoTargetContactUi(int32_t event, int32_t state, int32_t percent, int32_t speed, int32_t pos);

    // Members that the engine lost while they were sending.
    bool GetIsDisappeared(const ShareDeviceInfo& device) const;
    void SetIsDisappeared(const ShareDeviceInfo& device, bool isDisappeared);

    const std::string& GetContactId() const
    {
        return contactId_;
    }
    const std::string& GetName() const
    {
        return name_;
    }
    const std::string& GetCorvaneIdName() const
    {
        return corvaneIdName_;
    }
    const std::string& GetAvatar() const
    {
        return avatar_;
    }
    int32_t GetEventCode() const
    {
        return eventCode_;
    }
    int32_t GetDeviceState() const
    {
        return deviceState_;
    }
    int32_t GetPercent() const
    {
        return percent_;
    }
    int32_t GetSpeed() const
    {
        return speed_;
    }
    bool GetIsSameAccount() const
    {
        return isSameAccount_;
    }
    bool GetIsContact() const
    {
        return isContact_;
    }
    int32_t GetDeviceNumber() const
    {
        return static_cast<int32_t>(deviceList_.size());
    }
    // The ids of the members, in order of arrival. Good as long as the lock is held and nobody joins or leaves.
    const std::vector<std::string>& GetDeviceList() const
    {
        return deviceList_;
    }
    bool GetIsCancelOther() const
    {
        return isCancelOther_;
    }
    void SetIsCancelOther(bool isCancelOther)
    {
        isCancelOther_ = isCancelOther;
    }
    // The number of the last decision of a send that another member than `deviceId` made: it transfers, or has refused
    // for all. 0 when there was none. Outlives the send.
    int64_t GetDecisionOfOthers(const std::string& deviceId) const
    {
        return decidedBy_ == deviceId ? decisionOfOthers_ : decision_;
    }
    // `number`: above those of all decisions before, of other entries too.
    void NoteDecision(const std::string& deviceId, int64_t number)
    {
        decisionOfOthers_ = GetDecisionOfOthers(deviceId);
        decidedBy_ = deviceId;
        decision_ = number;
    }
    bool GetIsOHDevice() const
    {
        return isOHDevice_;
    }

private:
    using KnownStateList = std::vector<std::pair<std::string, int32_t>>; // device id and state

    void RefreshCommon(const ShareDeviceInfo& device);
    bool MembersAllowUi(int32_t state, int32_t pos) const;
    KnownStateList KnownStates() const;
    bool HaveOthersFailed(const KnownStateList& known, const std::string& member) const;

    std::string contactId_ = "ContactId"; // the id that clients know the entry by
    std::string name_;
    std::string corvaneIdName_; // account nick name; never set for a contact
    std::string avatar_;
    int32_t eventCode_ = TransferEvent::NONE; // the last one
    int32_t deviceState_ = DeviceState::IDLE;
    int32_t percent_ = 0; // 0 to 100
    int32_t speed_ = 0;
    std::vector<std::string> disappearedList_;
    int32_t deviceType_ = 1;     // stays 1 for a contact
    bool isSameAccount_ = false; // stays false for a contact
    bool isContact_ = false;
    std::vector<std::string> deviceList_;
    std::string targetDeviceId_; // the member that transfers; empty until one has begun
    bool isCancelOther_ = false; // the other members of this send have been cancelled
    std::string decidedBy_;      // the member that made the last decision
    int64_t decision_ = 0;
    int64_t decisionOfOthers_ = 0; // the last that another one made
    bool isOHDevice_ = true;
};

} // namespace OHOS::Pelago

#endif // PELAGO_DISCOVERY_SHARE_MERGE_INFO_H
