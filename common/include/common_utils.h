#ifndef PELAGO_COMMON_COMMON_UTILS_H
#define PELAGO_COMMON_COMMON_UTILS_H

#include <cstdint>
#include <string>

struct cJSON;

namespace OHOS::Pelago {

inline constexpr int USER_ID_INVALID = -1;
inline constexpr int USER_ID_PRIMARY = 100;

// The device types as the peers know them, by the platform's word for each.
namespace DeviceType {
inline constexpr int UNKNOWN = 0;
inline constexpr int PC = 0x0C;
inline constexpr int PHONE = 0x0E;
inline constexpr int TABLET = 0x11;
inline constexpr int WATCH = 0x6D;
inline constexpr int CAR = 0x83;
inline constexpr int TV = 0x9C;
inline constexpr int TWO_IN_ONE = 0xA2F;
} // namespace DeviceType

// Questions and small transformations that many classes need: who this device is, whether its radios are up, who is in
// front of it, texts and JSON. Static and without state; any thread may call. It changes nothing but the locale, for
// the length of a conversion, and caches nothing: each question goes to the platform.
class CommonUtils {
public:
    CommonUtils() = delete;

    // ---- Identity. "" on failure. ----

    [[nodiscard]] static std::string GetLocalDeviceUdid();
    // GetUdidHashByUdid of the local UDID, of the empty text when that is not known.
    [[nodiscard]] static std::string GetLocalDeviceUdidHash(bool isShort);
    // SHA-256 in uppercase hexadecimal: 64 characters, or the first 16 of them.
    [[nodiscard]] static std::string GetUdidHashByUdid(const std::string& udid, bool isShort);
    // Five characters from each end around "**"; "" for less than ten. So a text of ten shows all of itself: that is
    // meant.
    [[nodiscard]] static std::string GetAnonymousUdid(const std::string& udid);
    // One of DeviceType, by the platform's word.
    [[nodiscard]] static int GetLocalDeviceType();

    // ---- Radios. A radio that does not answer is not available. ----

    [[nodiscard]] static bool IsBluetoothEnable();
    // BLE works with classic Bluetooth or without.
    [[nodiscard]] static bool IsBleAvailable();
    // Fully up or up for near devices only. This and IsBleAvailable are the one meaning of "available" in the service.
    [[nodiscard]] static bool IsWifiAvailable();
    [[nodiscard]] static bool IsWifiAvailableOrActivating();
    // The Wi-Fi radio's state as the platform numbers it. False with `state` untouched when it does not answer.
    [[nodiscard]] static bool GetWifiState(int& state);

    // ---- Users ----

    // False with `userId` untouched while nobody is in front.
    [[nodiscard]] static bool GetCurrentForegroundUserId(int& userId);
    [[nodiscard]] static bool IsUserIdValid(int userId)
    {
        return userId != USER_ID_INVALID;
    }
    [[nodiscard]] static bool IsUserPrimary(int userId)
    {
        return userId == USER_ID_PRIMARY;
    }
    // Whether the user has unlocked since boot. The invalid id is not asked for.
    [[nodiscard]] static bool IsUserVerified(int userId);
    // Whether the user is a private space.
    [[nodiscard]] static bool IsUserPrivacy(int userId);

    // ---- Time and files ----

    // Milliseconds since the epoch, by the clock of the wall.
    [[nodiscard]] static int64_t GetCurrentTimestamp();
    // Whether the path leads to something, links followed. Null does not.
    [[nodiscard]] static bool IsValidPath(const char* path);
    [[nodiscard]] static bool IsFileExist(const std::string& path);

    // ---- Texts ----

    // Uppercase hexadecimal of at least three digits.
    [[nodiscard]] static std::string ConvertHexToString(int value);
    // Makes C.UTF-8 the locale of the process and stores the name of the one before, for RestoreLocale. The name is a
    // copy that lives until this thread calls again. False for null and when the locale is missing. The locale is that
    // of all threads: callers outside this class must be alone with it.
    [[nodiscard]] static bool SetLocale(char** localeBefore);
    static void RestoreLocale(const char* localeBefore);
    // As much of the front of a UTF-8 text as fits into `capacity` bytes, cut between characters. More than 1024 bytes
    // are not cut at all, nor is a text that does not decode: that is meant. Calls queue for the locale.
    [[nodiscard]] static std::string TruncMultilingualStringByCapacity(const std::string& text, uint32_t capacity);
    // A device name for the log: its front half replaced by "***", all of it where the front cannot be told from the
    // back.
    [[nodiscard]] static std::string GetSecureDeviceName(const std::string& name);

    // ---- JSON. `json` stays the caller's; false, with nothing added, for a null argument and without memory. ----

    [[nodiscard]] static bool AddStringToJsonObject(cJSON* json, const char* key, const char* value);
    [[nodiscard]] static bool AddNumberToJsonObject(cJSON* json, const char* key, int value);
    [[nodiscard]] static bool AddBoolToJsonObject(cJSON* json, const char* key, bool value);
};

} // namespace OHOS::Pelago

#endif // PELAGO_COMMON_COMMON_UTILS_H
