// Where the switch is kept: the state file and the recover file of each user, and the mirror in the settings.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "common_utils.h"
#include "i_trellis_service.h"
#include "runtime_env.h"
#include "share_log.h"
#include "switch/share_setting_keys.h"
#include "switch/share_setting_provider.h"
#include "switch/share_switch_manager.h"

namespace OHOS::Pelago {
namespace {

// Both files are rows of int32 in the byte order of the device, without header or checksum.
using StateFields = std::array<int32_t, 3>;   // enableState, detectableType, accountPermission
using RecoverFields = std::array<int32_t, 2>; // enableState, detectableType

constexpr mode_t FILE_MODE = S_IRUSR | S_IWUSR;

struct SwitchItem {
    SwitchType type;
    const char* key;
    std::optional<off_t> fileOffset; // none: not in the state file
};

constexpr SwitchItem SWITCH_ITEMS[] = {
    {SWITCH_TYPE_MAIN, SettingKey::MAIN_STATE, 0},
    {SWITCH_TYPE_DETECT, SettingKey::DETECT_STATE, 4},
    {SWITCH_TYPE_PERMISSION, SettingKey::PERMISSION_STATE, 8},
    {SWITCH_TYPE_AIR, SettingKey::AIR_SWITCH, std::nullopt},
    {SWITCH_TYPE_MAIN_RECOVER, SettingKey::MAIN_STATE_RECOVER, std::nullopt},
    {SWITCH_TYPE_DETECT_RECOVER, SettingKey::DETECT_STATE_RECOVER, std::nullopt},
};

const SwitchItem* FindItem(SwitchType type)
{
    for (const SwitchItem& item : SWITCH_ITEMS) {
        if (item.type == type) {
            return &item;
        }
    }
    return nullptr;
}

ShareSettingProvider& Settings()
{
    return ShareSettingProvider::GetInstance(TRELLIS_SERVICE_ID);
}

std::string UserFolder(int userId)
{
    return "/data/service/el2/" + std::to_string(userId) + "/pelago/";
}

std::string SwitchFilePath(int userId)
{
    return RuntimeEnv::Path(UserFolder(userId) + "switch.cfg");
}

std::string RecoverFilePath(int userId)
{
    return RuntimeEnv::Path(UserFolder(userId) + "switch_recover.cfg");
}

// Where an older install kept the state file.
std::string LegacySwitchFilePath(int userId)
{
    return RuntimeEnv::Path("/data/service/el1/public/pelago/switch_" + std::to_string(userId) + ".cfg");
}

// False when the file cannot be opened. What it lacks reads as 0.
template <typename Fields>
[[nodiscard]] bool ReadFields(const std::string& path, Fields& fields)
{
    fields.fill(0);
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    (void)!read(fd, fields.data(), sizeof(fields)); // a short or failed read leaves zeros, which is what it means
    close(fd);
    return true;
}

// False when the file cannot be opened. It is emptied first and filled by one write: whoever finds it between the two
// reads first use. The folder is not made here.
template <typename Fields>
[[nodiscard]] bool WriteFields(const std::string& path, const Fields& fields)
{
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, FILE_MODE);
    if (fd < 0) {
        return false;
    }
    (void)!write(fd, fields.data(), sizeof(fields)); // the next transition writes all of it again
    close(fd);
    return true;
}

// As atoi, but defined for every text: what does not fit loses its upper bits.
int ToInt(const std::string& text)
{
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

} // namespace

bool ShareSwitchManager::GetShareStateInfoFromFile(
    int userId, int& enableState, int& detectableType, int& accountPermission)
{
    if (!CommonUtils::IsUserVerified(userId)) {
        SHARE_LOGE(Log::SERVICE, "user id is invalid");
        return false;
    }
    const std::string path = SwitchFilePath(userId);
    bool isRead = false;
    if (CommonUtils::IsFileExist(path)) {
        isRead = GetShareStateInfoFromFileByFileName(path, enableState, detectableType, accountPermission);
    } else if (CommonUtils::IsUserPrimary(userId)) {
        isRead = MoveLegacyStateFile(userId, enableState, detectableType, accountPermission);
    } else {
        return false; // a user without a choice; nothing to log
    }
    SHARE_LOGI(Log::SERVICE,
        "Get state from file, enableState: %{public}d, detectableType: %{public}d, accountPermission: %{public}d",
        enableState, detectableType, accountPermission);
    return isRead;
}

bool ShareSwitchManager::MoveLegacyStateFile(int userId, int& enableState, int& detectableType, int& accountPermission)
{
    const std::string path = LegacySwitchFilePath(userId);
    const bool isRead = GetShareStateInfoFromFileByFileName(path, enableState, detectableType, accountPermission);
    // Whatever was read, and to the file of the user in front: that is this user wherever it can be told apart from
    // another. A user without either file so gets one of zeros, and reads it from the next time on.
    (void)PutShareStateInfoToFileWithUserId(enableState, detectableType, accountPermission, localUserId_); // logged
    const int removeRet = std::remove(path.c_str());
    SHARE_LOGI(Log::SERVICE, "remove old switch file, removeRet: %{public}d", removeRet);
    return isRead;
}

bool ShareSwitchManager::GetShareStateInfoFromFileByFileName(
    const std::string& path, int& enableState, int& detectableType, int& accountPermission)
{
    if (!CommonUtils::IsValidPath(path.c_str())) {
        SHARE_LOGE(Log::SERVICE, "IsValidPath failed enter.");
        return false;
    }
    StateFields fields;
    const bool isOpen = ReadFields(path, fields);
    if (!isOpen) {
        SHARE_LOGE(Log::SERVICE, "open file failed");
    }
    enableState = fields[0]; // zeros when it could not be opened
    detectableType = fields[1];
    accountPermission = fields[2];
    return isOpen;
}

bool ShareSwitchManager::PutShareStateInfoToFileWithUserId(
    int enableState, int detectableType, int accountPermission, int userId)
{
    SHARE_LOGI(Log::SERVICE, "PutShareStateInfoToFileWithUserId invoked, userId: %{public}d", userId);
    if (!CommonUtils::IsUserVerified(userId)) {
        SHARE_LOGE(Log::SERVICE, "userId: %{public}d not verified", userId);
        return false;
    }
    if (!WriteFields(SwitchFilePath(userId), StateFields{enableState, detectableType, accountPermission})) {
        SHARE_LOGE(Log::SERVICE, "open file failed, userId: %{public}d", userId);
        return false;
    }
    return true;
}

void ShareSwitchManager::SaveStateFile(int32_t enableState, int32_t detectableType)
{
    RecursiveLock lock(sharedItemsMutex_); // a client may be patching its permission into the file
    // Logged. File and memory then stay apart until the next transition, which writes all of the file again.
    (void)PutShareStateInfoToFileWithUserId(enableState, detectableType, accountPermission_, localUserId_);
}

bool ShareSwitchManager::PutSingleShareStateInfoToFile(SwitchType switchType, int value)
{
    SHARE_LOGI(Log::SERVICE, "PutSingleShareStateInfoToFile invoked, switchType: %{public}d, value: %{public}d",
        static_cast<int>(switchType), value);
    const std::string path = SwitchFilePath(localUserId_);
    if (!CommonUtils::IsFileExist(path)) {
        SHARE_LOGE(Log::SERVICE, "file %{public}s not exist", path.c_str());
        return false;
    }
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        SHARE_LOGE(Log::SERVICE, "open file %{public}s failed", path.c_str());
        return false;
    }
    const SwitchItem* item = FindItem(switchType);
    const bool isInFile = item != nullptr && item->fileOffset.has_value();
    if (isInFile) {
        const int32_t field = value;
        (void)!pwrite(fd, &field, sizeof(field), *item->fileOffset); // the next transition writes all of it again
    } else {
        SHARE_LOGE(Log::SERVICE, "switchType %{public}d error", static_cast<int>(switchType));
    }
    close(fd);
    return isInFile;
}

bool ShareSwitchManager::GetShareRecoverStateInfoFromFile(int& enableState, int& detectableType)
{
    SHARE_LOGI(Log::SERVICE, "GetShareRecoverStateInfoFromFile invoked, userId: %{public}d", localUserId_.load());
    const std::string path = RecoverFilePath(localUserId_);
    if (!CommonUtils::IsFileExist(path)) {
        // An older install kept the pair of the primary user in the settings; the others start without one.
        return !CommonUtils::IsUserPrimary(localUserId_) ||
               GetShareRecoverStateInfoFromSettings(enableState, detectableType);
    }
    RecoverFields fields;
    const bool isOpen = ReadFields(path, fields);
    enableState = fields[0]; // zeros when it could not be opened
    detectableType = fields[1];
    if (!isOpen) {
        SHARE_LOGE(Log::SERVICE, "open file failed");
        return false;
    }
    SHARE_LOGI(Log::SERVICE, "Get recover state from file, enableState: %{public}d, detectableType: %{public}d",
        enableState, detectableType);
    return true;
}

bool ShareSwitchManager::GetShareRecoverStateInfoFromSettings(int& enableState, int& detectableType)
{
    std::string savedState = SettingKey::NO;
    std::string savedType = SettingKey::NO;
    if (Settings().GetStringValue(SettingKey::MAIN_STATE_RECOVER, savedState) != ShareSettingProvider::SETTING_OK) {
        SHARE_LOGE(Log::SERVICE, "Get enableState for recover from settings failed.");
        return false;
    }
    if (Settings().GetStringValue(SettingKey::DETECT_STATE_RECOVER, savedType) != ShareSettingProvider::SETTING_OK) {
        SHARE_LOGE(Log::SERVICE, "Get detectableType for recover from settings failed.");
        return false;
    }
    enableState = ToInt(savedState);
    detectableType = ToInt(savedType);
    SHARE_LOGI(Log::SERVICE, "Get recover state from settings, enableState: %{public}d, detectableType: %{public}d",
        enableState, detectableType);
    return true;
}

bool ShareSwitchManager::PutShareRecoverStateInfoToFile(int enableState, int detectableType)
{
    SHARE_LOGI(Log::SERVICE,
        "PutShareRecoverStateInfoToFile invoked, enableState: %{public}d, detectableType: %{public}d", enableState,
        detectableType);
    // Unlike the state file it needs no verified user.
    if (!WriteFields(RecoverFilePath(localUserId_), RecoverFields{enableState, detectableType})) {
        SHARE_LOGE(Log::SERVICE, "open file failed, localUserId: %{public}d", localUserId_.load());
        return false;
    }
    return true;
}

bool ShareSwitchManager::PutShareStateInfoToSettings(SwitchType switchType, int value, bool needPutSecurity)
{
    const SwitchItem* item = FindItem(switchType);
    if (item == nullptr) {
        SHARE_LOGE(Log::SERVICE, "key %{public}d not found.", static_cast<int>(switchType));
        return false;
    }
    const std::string text = std::to_string(value);
    const int32_t ret = Settings().PutStringValue(item->key, text, true);
    int32_t retSecurity = ShareSettingProvider::SETTING_OK;
    if (needPutSecurity) {
        retSecurity = Settings().PutSecurityStringValue(localUserId_, item->key, text, true);
    }
    SHARE_LOGI(Log::SERVICE,
        "PutShareStateInfoToSettings, key: %{public}s, value: %{public}d, ret: %{public}d, retSecurity: %{public}d, "
        "needPutSecurity: %{public}d",
        item->key, value, ret, retSecurity, needPutSecurity);
    return ret != ShareSettingProvider::SETTING_OK;
}

bool ShareSwitchManager::GetSwingStateInfoFromSettings(int& swingState)
{
    std::string saved = SettingKey::NO;
    if (Settings().GetStringValue(SettingKey::AIR_SWITCH, saved) != ShareSettingProvider::SETTING_OK) {
        SHARE_LOGE(Log::SERVICE, "Get swingState from settings failed.");
        return false;
    }
    swingState = ToInt(saved);
    SHARE_LOGI(Log::SERVICE, "Get state from settings, swingState: %{public}d", swingState);
    return true;
}

} // namespace OHOS::Pelago
