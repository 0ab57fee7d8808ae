#include "discovery/share_merge_info.h"

#include <algorithm>
#include <optional>

#include "discovery/cache_map_manager.h"
#include "share_log.h"

namespace OHOS::Pelago {

namespace {

constexpr int32_t KEEP = -1; // leaves a percentage or a speed as it is

bool IsContactDevice(const ShareDeviceInfo& device)
{
    return device.contactInfo.contactId != 0;
}

// Whether a member in this state has begun a send and not got further than being shown to its user.
bool IsBeginning(int32_t state)
{
    return state == DeviceState::PREPARED || state == DeviceState::WAITING;
}

// What a transfer event sets: the row of its number.
struct UiValues {
    int32_t state;
    int32_t percent;
    int32_t speed;
};

std::optional<UiValues> UiValuesOf(int32_t event, int32_t value)
{
    switch (event) {
        case TransferEvent::PREPARED:
            return UiValues{DeviceState::PREPARED, KEEP, KEEP};
        case TransferEvent::PROGRESS:
            return UiValues{DeviceState::TRANSFERRING, value, KEEP};
        case TransferEvent::SUCCESS:
            return UiValues{DeviceState::SUCCEEDED, KEEP, KEEP};
        case TransferEvent::STATUS: {
            const int32_t state = ShareDeviceInfo::ConvertOnStatus(value);
            const int32_t rest = (state == DeviceState::DECLINED || state == DeviceState::CANCELLED) ? 0 : KEEP;
            return UiValues{state, rest, rest};
        }
        case TransferEvent::FAILED:
            return UiValues{DeviceState::FAILED, 0, 0};
        case TransferEvent::CANCELLED:
            return UiValues{DeviceState::CANCELLED, KEEP, KEEP};
        case TransferEvent::SPEED:
            return UiValues{DeviceState::TRANSFERRING, KEEP, value};
        default:
            return std::nullopt; // total length and creation say nothing about the entry
    }
}

} // namespace

bool ShareMergeInfo::ContainDevice(const ShareDeviceInfo& device) const
{
    return contactId_ == device.deviceId || GetDevicePos(device) != -1;
}

int32_t ShareMergeInfo::GetDevicePos(const ShareDeviceInfo& device) const
{
    auto found = std::find(deviceList_.begin(), deviceList_.end(), device.deviceId);
    return found == deviceList_.end() ? -1 : static_cast<int32_t>(found - deviceList_.begin());
}

bool ShareMergeInfo::AddDevice(const ShareDeviceInfo& device)
{
    if (GetDevicePos(device) != -1) {
        SHARE_LOGE(Log::SERVICE, "AddDevice, pos = -1"); // the text is older than the test; people search for it
        return false;
    }
    deviceList_.push_back(device.deviceId);
    Refresh(device);
    return true;
}

bool ShareMergeInfo::RemoveDevice(const ShareDeviceInfo& device)
{
    const int32_t pos = GetDevicePos(device);
    if (pos == -1) {
        SHARE_LOGE(Log::SERVICE, "RemoveDevice, pos = -1");
        return false;
    }
    deviceList_.erase(deviceList_.begin() + pos);
    const auto known = CacheMapManager::GetAllDeviceStates({device.deviceId});
    if (!known.empty() && known.front().second == DeviceState::TRANSFERRING) {
        SHARE_LOGI(Log::SERVICE, "RemoveDevice, sending remove");
        eventCode_ = 0;
        deviceState_ = DeviceState::IDLE;
        percent_ = 0;
        speed_ = 0;
        isCancelOther_ = false; // the target stays: the next send replaces it
    }
    SHARE_LOGI(Log::SERVICE, "RemoveDevice %{public}zu", deviceList_.size());
    return deviceList_.empty();
}

void ShareMergeInfo::Refresh(const ShareDeviceInfo& device)
{
    isContact_ = IsContactDevice(device);
    if (isContact_) {
        RefreshContact(device);
    } else {
        RefreshNormal(device);
    }
}

void ShareMergeInfo::RefreshContact(const ShareDeviceInfo& device)
{
    SHARE_LOGI(Log::SERVICE, "refreshContact %{public}zu", deviceList_.size());
    if (deviceList_.size() != 1) {
        return;
    }
    contactId_ = std::to_string(device.contactInfo.contactId);
    name_ = device.contactInfo.name;
    avatar_ = device.contactInfo.avatar;
    RefreshCommon(device);
}

void ShareMergeInfo::RefreshNormal(const ShareDeviceInfo& device)
{
    SHARE_LOGI(Log::SERVICE, "refreshNormal");
    if (deviceList_.size() != 1 || isContact_) {
        return;
    }
    contactId_ = device.deviceId;
    name_ = device.btName;
    corvaneIdName_ = device.corvaneIdName;
    avatar_ = device.avatar;
    deviceType_ = device.deviceType;
    isSameAccount_ = device.isSameAccount;
    RefreshCommon(device);
}

void ShareMergeInfo::RefreshCommon(const ShareDeviceInfo& device)
{
    eventCode_ = device.eventCode;
    deviceState_ = device.deviceState;
    percent_ = device.percent;
    speed_ = device.speed;
    isOHDevice_ = device.isOHDevice;
}

void ShareMergeInfo::UpdateDeviceAttributes(const ShareDeviceInfo& device, bool contactChange)
{
    const int32_t pos = GetDevicePos(device);
    if (pos == -1) {
        SHARE_LOGE(Log::SERVICE, "UpdateDeviceAttributes, pos = -1");
        return;
    }
    if (contactChange) {
        UpdateContactDeviceAttributes(device, pos);
    } else {
        UpdateNormalDeviceAttributes(device, pos);
    }
}

void ShareMergeInfo::UpdateContactDeviceAttributes(const ShareDeviceInfo& device, int32_t /* pos */)
{
    if (isContact_) {
        name_ = device.contactInfo.name;
        avatar_ = device.contactInfo.avatar;
    }
}

void ShareMergeInfo::UpdateNormalDeviceAttributes(const ShareDeviceInfo& device, int32_t /* pos */)
{
    if (!isContact_) {
        name_ = device.btName;
        corvaneIdName_ = device.corvaneIdName;
        avatar_ = device.avatar;
        isSameAccount_ = device.isSameAccount;
    }
}

void ShareMergeInfo::UpdateDeviceState(const ShareDeviceInfo& device, int32_t event, int32_t value)
{
    const int32_t pos = GetDevicePos(device);
    if (pos == -1) {
        SHARE_LOGE(Log::SERVICE, "UpdateDeviceState, pos = -1");
        return;
    }
    if (isContact_) {
        UpdateContactDeviceState(device, event, value, pos);
    } else {
        UpdateNormalDeviceState(device, event, value);
    }
}

void ShareMergeInfo::UpdateContactDeviceState(
    const ShareDeviceInfo& /* device */, int32_t event, int32_t value, int32_t pos)
{
    SHARE_LOGI(Log::SERVICE, "UpdateContactDeviceState: %{public}d %{public}d", event, value);
    if (const auto values = UiValuesOf(event, value)) {
        UpdateContactUi(event, values->state, values->percent, values->speed, pos);
    }
}

void ShareMergeInfo::UpdateNormalDeviceState(const ShareDeviceInfo& /* device */, int32_t event, int32_t value)
{
    auto values = UiValuesOf(event, value);
    if (!values) {
        return;
    }
    if (event == TransferEvent::FAILED) {
        values->percent = KEEP; // a single device shows how far it came, a contact starts over
        values->speed = KEEP;
    }
    UpdateUi(event, values->state, values->percent, values->speed);
}

void ShareMergeInfo::UpdateUi(int32_t event, int32_t state, int32_t percent, int32_t speed)
{
    constexpr uint32_t PERCENT_END = 101;
    eventCode_ = event;
    deviceState_ = state;
    if (static_cast<uint32_t>(percent) < PERCENT_END) {
        percent_ = percent;
    }
    if (speed >= 0) {
        speed_ = speed;
    }
}

void ShareMergeInfo::UpdateContactUi(int32_t event, int32_t state, int32_t percent, int32_t speed, int32_t pos)
{
    const std::string& member = deviceList_[static_cast<size_t>(pos)];
    const bool isTarget = targetDeviceId_ == member;
    if (state == DeviceState::CANCELLED || state == DeviceState::SUCCEEDED || state == DeviceState::PREPARED) {
        SHARE_LOGI(Log::SERVICE, "updateContactUi, send");
        targetDeviceId_.clear();
        isCancelOther_ = false;
    } else if (state == DeviceState::REFUSED || state == DeviceState::DECLINED) {
        SHARE_LOGI(Log::SERVICE, "updateContactUi, cancel");
        targetDeviceId_.clear(); // isCancelOther_ stays: the others of this send are being cancelled right now
    } else if (state == DeviceState::TRANSFERRING && !isTarget) {
        SHARE_LOGI(Log::SERVICE, "updateContactUi, start sending");
        targetDeviceId_ = member;
    } else if (isTarget) {
        SHARE_LOGI(Log::SERVICE, "updateContactUi, has target");
    } else if (deviceList_.size() > 1) {
        UpdateNoTargetContactUi(event, state, percent, speed, pos);
        return;
    }
    UpdateUi(event, state, percent, speed);
}

void ShareMergeInfo::UpdateNoTargetContactUi(int32_t event, int32_t state, int32_t percent, int32_t speed, int32_t pos)
{
    if (MembersAllowUi(state, pos)) {
        UpdateUi(event, state, percent, speed);
    }
}

// What each member has in the store counts, which for the reporting one is still the state before this report: so
// nothing but a connection or the failure of all shows while a member is prepared.
bool ShareMergeInfo::MembersAllowUi(int32_t state, int32_t pos) const
{
    const auto known = KnownStates();
    if (state == DeviceState::CONNECTING) {
        return std::all_of(known.begin(), known.end(), [](const auto& device) { return IsBeginning(device.second); });
    }
    if (state == DeviceState::FAILED) {
        return HaveOthersFailed(known, deviceList_[static_cast<size_t>(pos)]);
    }
    const bool isSendRunning = std::any_of(known.begin(), known.end(), [](const auto& device) {
        return device.second == DeviceState::CONNECTING || device.second == DeviceState::TRANSFERRING ||
               IsBeginning(device.second);
    });
    if (isSendRunning) {
        SHARE_LOGI(Log::SERVICE, "no updateContactUi");
    }
    return !isSendRunning;
}

// The devices in view that the entry contains, in the order of a walk over all: by id.
ShareMergeInfo::KnownStateList ShareMergeInfo::KnownStates() const
{
    auto ids = deviceList_;
    ids.push_back(contactId_); // a device of that very id counts as contained
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return CacheMapManager::GetAllDeviceStates(ids);
}

// Whether `member` was the last to fail. Counting stops at the first that has not.
bool ShareMergeInfo::HaveOthersFailed(const KnownStateList& known, const std::string& member) const
{
    size_t failed = 1;
    for (const auto& [deviceId, state] : known) {
        if (deviceId == member) {
            continue;
        }
        if (state != DeviceState::FAILED) {
            break;
        }
        ++failed;
    }
    return failed == deviceList_.size();
}

bool ShareMergeInfo::GetIsDisappeared(const ShareDeviceInfo& device) const
{
    return std::find(disappearedList_.begin(), disappearedList_.end(), device.deviceId) != disappearedList_.end();
}

void ShareMergeInfo::SetIsDisappeared(const ShareDeviceInfo& device, bool isDisappeared)
{
    auto found = std::find(disappearedList_.begin(), disappearedList_.end(), device.deviceId);
    const bool isListed = found != disappearedList_.end();
    if (isDisappeared && !isListed) {
        disappearedList_.push_back(device.deviceId);
    } else if (!isDisappeared && isListed) {
        disappearedList_.erase(found);
    }
}

} // namespace OHOS::Pelago
