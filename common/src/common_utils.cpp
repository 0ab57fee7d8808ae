#include "common_utils.h"

#include <openssl/evp.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "bluetooth_host.h"
#include "cJSON.h"
#include "os_account_manager.h"
#include "parameters.h"
#include "runtime_env.h"
#include "share_log.h"
#include "share_mutex.h"
#include "softbus_bus_center.h"
#include "system_ability_definition.h"
#include "wifi_device.h"

namespace OHOS::Pelago {
namespace {

constexpr const char* BUS_PACKAGE = "ohos.InterConnection.pelago";
constexpr size_t SHORT_HASH_BYTES = 8;
constexpr size_t ANONYMOUS_END = 5; // characters that are shown at each end
constexpr size_t MAX_CUT_TEXT = 1024;
constexpr const char* MASK = "***";
constexpr size_t MAX_LOCALE_NAME = 255; // the C library takes no longer ones

struct DeviceTypeWord {
    const char* word;
    int type;
};
constexpr DeviceTypeWord DEVICE_TYPES[] = {
    {"phone", DeviceType::PHONE},
    {"default", DeviceType::PHONE},
    {"pc", DeviceType::PC},
    {"tablet", DeviceType::TABLET},
    {"watch", DeviceType::WATCH},
    {"car", DeviceType::CAR},
    {"tv", DeviceType::TV},
    {"2in1", DeviceType::TWO_IN_ONE},
};

bool IsWifiUp(int state)
{
    return state == static_cast<int>(Wifi::WifiDetailState::STATE_ACTIVATED) ||
           state == static_cast<int>(Wifi::WifiDetailState::STATE_SEMI_ACTIVE);
}

// The locale belongs to the whole process: from its change to its return nobody else may convert.
Mutex g_localeMutex("CommonUtils locale", LockRank::LEAF);

// The front of `text` that stays when whole characters are taken off its end until `capacity` bytes or fewer are left.
// All of it for a text that does not decode. The locale is C.UTF-8.
std::string CutByCharacters(const std::string& text, size_t capacity)
{
    std::array<wchar_t, MAX_CUT_TEXT> wide{};
    const size_t count = std::mbstowcs(wide.data(), text.c_str(), text.size());
    if (count == static_cast<size_t>(-1)) {
        return text;
    }
    if (count == 0) {
        SHARE_LOGE(Log::SHARE, "mbstowcs failed");
        return text;
    }
    size_t kept = text.size();
    for (size_t i = count; i-- > 0 && kept > capacity;) {
        char bytes[MB_LEN_MAX];
        const int size = std::wctomb(bytes, wide[i]);
        if (size < 1) {
            SHARE_LOGE(Log::SHARE, "wctomb failed on w_char. truncateIndex=%{public}d", static_cast<int>(i));
            return text;
        }
        kept -= std::min(kept, static_cast<size_t>(size));
    }
    return text.substr(0, kept);
}

// Adds the item, or deletes it.
bool AddItem(cJSON* json, const char* key, cJSON* item)
{
    if (cJSON_AddItemToObject(json, key, item) == 0) {
        cJSON_Delete(item);
        return false;
    }
    return true;
}

} // namespace

std::string CommonUtils::GetLocalDeviceUdid()
{
    NodeBasicInfo node{};
    if (int32_t ret = GetLocalNodeDeviceInfo(BUS_PACKAGE, &node); ret != SOFTBUS_OK) {
        SHARE_LOGE(Log::SHARE, "GetLocalNodeDeviceInfo failed with: %{public}d", ret);
        return "";
    }
    std::array<uint8_t, UDID_BUF_LEN> udid{};
    if (int32_t ret = GetNodeKeyInfo(BUS_PACKAGE, node.networkId, NODE_KEY_UDID, udid.data(), UDID_BUF_LEN);
        ret != SOFTBUS_OK) {
        SHARE_LOGE(Log::SHARE, "GetNodeKeyInfo failed with: %{public}d", ret);
        return "";
    }
    return std::string(udid.begin(), std::find(udid.begin(), udid.end(), 0));
}

std::string CommonUtils::GetLocalDeviceUdidHash(bool isShort)
{
    return GetUdidHashByUdid(GetLocalDeviceUdid(), isShort);
}

std::string CommonUtils::GetUdidHashByUdid(const std::string& udid, bool isShort)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    if (EVP_Digest(udid.data(), udid.size(), digest.data(), &size, EVP_sha256(), nullptr) != 1) {
        SHARE_LOGE(Log::SHARE, "EVP_Digest failed.");
        return "";
    }
    constexpr const char* DIGITS = "0123456789ABCDEF";
    std::string hash;
    for (size_t i = 0; i < (isShort ? SHORT_HASH_BYTES : size); ++i) {
        hash += DIGITS[digest[i] >> 4];
        hash += DIGITS[digest[i] & 0xF];
    }
    return hash;
}

std::string CommonUtils::GetAnonymousUdid(const std::string& udid)
{
    if (udid.size() < 2 * ANONYMOUS_END) {
        return "";
    }
    return udid.substr(0, ANONYMOUS_END) + "**" + udid.substr(udid.size() - ANONYMOUS_END);
}

int CommonUtils::GetLocalDeviceType()
{
    const std::string word = system::GetDeviceType();
    for (const DeviceTypeWord& row : DEVICE_TYPES) {
        if (word == row.word) {
            return row.type;
        }
    }
    return DeviceType::UNKNOWN;
}

bool CommonUtils::IsBluetoothEnable()
{
    return Bluetooth::BluetoothHost::GetDefaultHost().GetBtState() == Bluetooth::STATE_TURN_ON;
}

bool CommonUtils::IsBleAvailable()
{
    if (!Bluetooth::BluetoothHost::GetDefaultHost().IsBleEnabled()) {
        SHARE_LOGI(Log::SHARE, "Ble is not available");
        return false;
    }
    return true;
}

bool CommonUtils::GetWifiState(int& state)
{
    const std::shared_ptr<Wifi::WifiDevice> device = Wifi::WifiDevice::GetInstance(WIFI_DEVICE_SYS_ABILITY_ID, 0);
    if (device == nullptr) {
        SHARE_LOGE(Log::SHARE, "wifiDevice is nullptr");
        return false;
    }
    auto detail = Wifi::WifiDetailState::STATE_UNKNOWN;
    if (device->GetWifiDetailState(detail) != Wifi::WIFI_OPT_SUCCESS) {
        SHARE_LOGE(Log::SHARE, "GetWifiDetailState failed");
        return false;
    }
    state = static_cast<int>(detail);
    return true;
}

bool CommonUtils::IsWifiAvailable()
{
    int state = 0;
    if (!GetWifiState(state)) {
        return false;
    }
    if (!IsWifiUp(state)) {
        SHARE_LOGI(Log::SHARE, "Wifi is not available, curr state: %{public}d", state);
        return false;
    }
    return true;
}

bool CommonUtils::IsWifiAvailableOrActivating()
{
    int state = 0;
    if (!GetWifiState(state)) {
        return false;
    }
    const bool ret = IsWifiUp(state) || state == static_cast<int>(Wifi::WifiDetailState::STATE_ACTIVATING);
    SHARE_LOGI(Log::SHARE, "curr state: %{public}d, ret: %{public}d", state, ret);
    return ret;
}

bool CommonUtils::GetCurrentForegroundUserId(int& userId)
{
    const int32_t ret = AccountSA::OsAccountManager::GetForegroundOsAccountLocalId(userId);
    if (ret != 0) {
        SHARE_LOGE(Log::SHARE, "GetForegroundOsAccountLocalId failed, error code: %{public}d", ret);
    }
    return ret == 0;
}

bool CommonUtils::IsUserVerified(int userId)
{
    if (!IsUserIdValid(userId)) {
        return false;
    }
    bool isVerified = false;
    if (int32_t ret = AccountSA::OsAccountManager::IsOsAccountVerified(userId, isVerified); ret != 0) {
        SHARE_LOGE(Log::SHARE, "IsOsAccountVerified failed, error code: %{public}d", ret);
        return false;
    }
    return isVerified;
}

bool CommonUtils::IsUserPrivacy(int userId)
{
    AccountSA::OsAccountInfo account;
    if (int32_t ret = AccountSA::OsAccountManager::QueryOsAccountById(userId, account); ret != 0) {
        SHARE_LOGE(Log::SHARE, "QueryOsAccountById failed, error code: %{public}d", ret);
        return false;
    }
    return account.GetType() == AccountSA::PRIVATE;
}

int64_t CommonUtils::GetCurrentTimestamp()
{
    return RuntimeEnv::WallClockMs();
}

bool CommonUtils::IsValidPath(const char* path)
{
    if (path == nullptr) {
        return false;
    }
    const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path, nullptr), &std::free);
    if (resolved == nullptr) {
        SHARE_LOGE(Log::SHARE, "file path is not real path!");
    }
    return resolved != nullptr;
}

bool CommonUtils::IsFileExist(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

std::string CommonUtils::ConvertHexToString(int value)
{
    char digits[2 * sizeof(value) + 1];
    (void)std::snprintf(digits, sizeof(digits), "%03X", static_cast<unsigned int>(value)); // has room for every int
    return digits;
}

bool CommonUtils::SetLocale(char** localeBefore)
{
    if (localeBefore == nullptr) {
        SHARE_LOGE(Log::SHARE, "localeBefore is nullptr");
        return false;
    }
    *localeBefore = nullptr;
    // The library's own text of the name may go with the next change.
    thread_local std::array<char, MAX_LOCALE_NAME + 1> nameBefore;
    if (const char* name = std::setlocale(LC_CTYPE, nullptr); name == nullptr) {
        SHARE_LOGE(Log::SHARE, "get locale failed");
    } else {
        (void)std::snprintf(nameBefore.data(), nameBefore.size(), "%s", name); // has room for every name
        *localeBefore = nameBefore.data();
    }
    return std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr;
}

void CommonUtils::RestoreLocale(const char* localeBefore)
{
    if (localeBefore == nullptr) {
        SHARE_LOGE(Log::SHARE, "localeBefore is nullptr");
    } else if (std::setlocale(LC_CTYPE, localeBefore) == nullptr) {
        SHARE_LOGE(Log::SHARE, "restore locale failed");
    }
}

std::string CommonUtils::TruncMultilingualStringByCapacity(const std::string& text, uint32_t capacity)
{
    if (text.size() > MAX_CUT_TEXT) {
        SHARE_LOGE(Log::SHARE, "input multiByteStr size over max size");
        return text;
    }
    if (text.size() <= capacity) {
        return text;
    }
    MutexLock lock(g_localeMutex);
    char* localeBefore = nullptr;
    if (!SetLocale(&localeBefore)) {
        return text;
    }
    std::string front = CutByCharacters(text, capacity);
    RestoreLocale(localeBefore);
    return front;
}

std::string CommonUtils::GetSecureDeviceName(const std::string& name)
{
    const std::string prefix = TruncMultilingualStringByCapacity(name, static_cast<uint32_t>(name.size() / 2));
    if (prefix.empty()) {
        return MASK; // not even one character fits into the front half
    }
    return MASK + name.substr(prefix.size());
}

bool CommonUtils::AddStringToJsonObject(cJSON* json, const char* key, const char* value)
{
    if (json == nullptr || key == nullptr || value == nullptr) {
        return false;
    }
    cJSON* item = cJSON_CreateString(value);
    if (item == nullptr) {
        SHARE_LOGE(Log::SHARE, "Cannot create cJSON string object %{public}s", key);
        return false;
    }
    return AddItem(json, key, item);
}

bool CommonUtils::AddNumberToJsonObject(cJSON* json, const char* key, int value)
{
    if (json == nullptr || key == nullptr) {
        return false;
    }
    cJSON* item = cJSON_CreateNumber(value);
    if (item == nullptr) {
        SHARE_LOGE(Log::SHARE, "Cannot create cJSON number object %{public}s", key);
        return false;
    }
    return AddItem(json, key, item);
}

bool CommonUtils::AddBoolToJsonObject(cJSON* json, const char* key, bool value)
{
    return json != nullptr && key != nullptr && cJSON_AddBoolToObject(json, key, value ? 1 : 0) != nullptr;
}

} // namespace OHOS::Pelago
