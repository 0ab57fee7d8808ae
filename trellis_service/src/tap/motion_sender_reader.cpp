#include <cstdlib>

#include "cJSON.h"
#include "device_picker_client.h"
#include "omnibind_utils.h"
#include "tap/motion_messages.h"
#include "tap/motion_sender_callback.h"

// Reading what the peer tells of itself: a JSON text, with a text in "extraData", with one in "CUSTOM_DATA", with one
// in "custData". All of it comes from outside.
namespace OHOS::Pelago {
namespace {

constexpr int32_t CONN_ADDR_TYPE_BLE = 2;
constexpr const char* DISC_TYPE_ACTION = "Action";
constexpr long SHARE_BUSINESS_CODE = 4;
constexpr long SUB_ID_VARIANT = 1L << 1; // does not change whose business it is
constexpr int32_t ABILITY_CONTACT_SHARE = 1 << 1;
constexpr uint32_t UPDATE_NEW_ACTION = 1U << 0; // a refreshed action for a tap that runs
constexpr int32_t DEFAULT_ACTION_ID = -1;
constexpr int32_t DEFAULT_NEARBY_VERSION = -1;

// The member's text; "" when it is missing.
const char* TextOf(const cJSON* json, const char* key)
{
    const char* text = Json::StringMember(json, key);
    return text == nullptr ? "" : text;
}

bool IsEmpty(const char* text)
{
    return *text == '\0';
}

int32_t NumberOf(const cJSON* json, const char* key, int32_t otherwise)
{
    return Json::NumberMember(json, key).value_or(otherwise);
}

bool IsTrue(const cJSON* json, const char* key)
{
    return cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(json, key)) != 0;
}

bool IsShareBusinessCode(const char* subId)
{
    char* end = nullptr;
    const long value = std::strtol(subId, &end, 10);
    return end != subId && IsEmpty(end) && (value & ~SUB_ID_VARIANT) == SHARE_BUSINESS_CODE;
}

void MakeUpper(std::string& text)
{
    for (char& c : text) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
}

} // namespace

// A text that does not parse counts as an empty one.
bool MotionSenderCallback::CheckNudgeServiceCode(const cJSON* json)
{
    const Json::Ptr extraData = Json::Parse(TextOf(json, "extraData"));
    if (extraData == nullptr) {
        SHARE_LOGE(Log::SERVICE, "extraData null.");
        return false;
    }
    const Json::Ptr customData = Json::Parse(TextOf(extraData.get(), "CUSTOM_DATA"));
    if (customData == nullptr) {
        SHARE_LOGE(Log::SERVICE, "CUSTOM_DATA null.");
        return false;
    }
    const char* serviceId = TextOf(customData.get(), "serviceId");
    if (Synfold::DevicePickerClient::SOFTBUS_RECEIVER_SERVICE_ID != serviceId) {
        SHARE_LOGE(Log::SERVICE, "ServiceId %{public}s invalid, no need handle.", serviceId);
        return false;
    }
    const char* subId = TextOf(customData.get(), "subId");
    if (!IsShareBusinessCode(subId)) {
        SHARE_LOGE(Log::SERVICE, "subId %{public}s is not SHARE_BUSINESS_CODE, no need handle.", subId);
        return false;
    }
    return true;
}

sptr<ShareDevice> MotionSenderCallback::ConvertToShareDevice(
    const std::string& extraInfo, uint8_t& shareState, uint32_t& updateFlag)
{
    if (extraInfo.empty()) {
        SHARE_LOGE(Log::SERVICE, "deviceInfo is null.");
        return nullptr;
    }
    const char* errorAt = nullptr;
    const Json::Ptr json = Json::Parse(extraInfo, &errorAt);
    if (json == nullptr) {
        SHARE_LOGE(Log::SERVICE, "cJSON_Parse error:%{public}s\n", errorAt);
        return nullptr;
    }
    const std::string deviceId = TextOf(json.get(), "deviceId");
    if (deviceId.empty()) {
        SHARE_LOGE(Log::SERVICE, "deviceId is null.");
        return nullptr;
    }
    sptr<ShareDevice> device = new ShareDevice();
    device->SetDeviceId(deviceId);
    device->SetUdidHash(deviceId);
    device->SetDeviceName(TextOf(json.get(), "deviceName"));
    device->SetDeviceType(NumberOf(json.get(), "deviceTypeId", 0));
    SaveConcurrentId(deviceId, json.get());
    const char* extraData = TextOf(json.get(), "extraData");
    if (IsEmpty(extraData)) {
        SHARE_LOGE(Log::SERVICE, "device addr is null.");
        return nullptr;
    }
    if (!ParseExtraData(*device, extraData, shareState, updateFlag)) {
        SHARE_LOGE(Log::SERVICE, "ParseExtraData failed.");
        return nullptr;
    }
    return device;
}

// A second tap, which will be refused, renames the one that runs: there is one record, and both sides live with that.
void MotionSenderCallback::SaveConcurrentId(const std::string& deviceId, const cJSON* json)
{
    const std::shared_ptr<ShareRadarDfx> radar = GetRadar();
    if (radar == nullptr) {
        SHARE_LOGE(Log::SERVICE, "sendRadarDfx_ null.");
        return;
    }
    const char* concurrentId = TextOf(json, "concurrentId");
    if (!IsEmpty(concurrentId)) {
        radar->SetConcurrentId(concurrentId);
        return;
    }
    SHARE_LOGE(Log::SERVICE, "synfold concurrentId is null.");
    radar->GenerateConcurrentId(deviceId, RadarTrigger::TAP);
}

bool MotionSenderCallback::ParseExtraData(
    ShareDevice& device, const std::string& extraData, uint8_t& shareState, uint32_t& updateFlag)
{
    const Json::Ptr json = Json::Parse(extraData);
    if (json == nullptr) {
        return false;
    }
    const char* bleMac = Json::StringMember(json.get(), "BLE_MAC");
    if (bleMac != nullptr && Json::NumberMember(json.get(), "CONN_ADDR_TYPE") == CONN_ADDR_TYPE_BLE) {
        device.SetBleMac(bleMac);
    }
    const char* customData = Json::StringMember(json.get(), "CUSTOM_DATA");
    if (customData == nullptr) {
        return true;
    }
    const Json::Ptr custom = Json::Parse(customData);
    return custom != nullptr && ParseCustomData(device, custom.get(), shareState, updateFlag);
}

// Everything is read, also of a device that was not found by an action.
bool MotionSenderCallback::ParseCustomData(
    ShareDevice& device, const cJSON* json, uint8_t& shareState, uint32_t& updateFlag)
{
    shareState = static_cast<uint8_t>(NumberOf(json, "shareState", NudgeShareState::DISABLE)); // its low byte
    const char* discType = TextOf(json, "discType");
    const bool isAction = std::string(DISC_TYPE_ACTION) == discType;
    if (isAction) {
        device.SetActionAddrHandle(NumberOf(json, "actionId", DEFAULT_ACTION_ID));
        device.SetDiscType(DISC_TYPE_ACTION);
    } else {
        SHARE_LOGE(Log::SERVICE, "discType not action: %{public}s.", discType);
    }
    const char* member = Json::StringMember(json, "custData");
    if (member == nullptr) {
        SHARE_LOGE(Log::SERVICE, "Action response not contain custData.");
        return isAction;
    }
    const std::string custData = member;
    const char* errorAt = nullptr; // points into custData
    const Json::Ptr cust = Json::Parse(custData, &errorAt);
    if (cust == nullptr) {
        SHARE_LOGE(Log::SERVICE, "cJSON_Parse error:%{public}s\n", errorAt);
        return isAction;
    }
    ParseCustData(cust.get(), device, updateFlag);
    return isAction;
}

// What the peer's engine tells. The hash of a device that runs another stack is also its id; an empty one names nobody.
void MotionSenderCallback::ParseCustData(const cJSON* json, ShareDevice& device, uint32_t& updateFlag)
{
    device.SetOHFlag(NumberOf(json, "OH", 0));
    std::string deviceHash = TextOf(json, "devHash");
    MakeUpper(deviceHash);
    if (!deviceHash.empty()) {
        device.SetDeviceHash(deviceHash);
        if (device.GetOHFlag() == 0) {
            device.SetDeviceId(deviceHash);
        }
    }
    device.SetNickName(TextOf(json, "nick"));
    device.SetNearbyVersion(NumberOf(json, "nbVer", DEFAULT_NEARBY_VERSION));
    device.SetAccountHash(TextOf(json, "corvaneID"));
    device.SetIsContactShareSupported((NumberOf(json, "abl", 0) & ABILITY_CONTACT_SHARE) != 0);
    if (IsTrue(json, "newActionID")) {
        updateFlag |= UPDATE_NEW_ACTION;
    }
    device.SetCapability(NumberOf(json, "capability", 0));
}

} // namespace OHOS::Pelago
