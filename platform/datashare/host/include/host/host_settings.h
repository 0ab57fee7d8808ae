#ifndef OHOS_HOST_HOST_SETTINGS_H
#define OHOS_HOST_HOST_SETTINGS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace OHOS::Host {

// How long one access waits for another process that uses the file.
inline constexpr int SETTINGS_BUSY_LIMIT_MS = 2000;

struct Setting {
    std::string key;
    std::string value;
};

/// The settings application of the device, for device control and tests: unlike the service it writes a table of a user
/// and tells the observers of that table. Static and stateless; any thread may call. `userId` names the secure table of
/// a user; without one the global table is meant. A failure (a negative user id, a device without a folder, a damaged
/// database) gives false or nothing. It asks for no permission.
class HostSettings {
public:
    HostSettings() = delete;

    /// The URI that observers of this key in this table are registered under.
    [[nodiscard]] static std::string UriOf(const std::string& key, std::optional<int32_t> userId = std::nullopt);
    /// The value; nothing when there is no row, or when it could not be read.
    [[nodiscard]] static std::optional<std::string> Get(
        const std::string& key, std::optional<int32_t> userId = std::nullopt);
    /// Writes, then wakes the observers of UriOf(key, userId).
    [[nodiscard]] static bool Put(
        const std::string& key, const std::string& value, std::optional<int32_t> userId = std::nullopt);
    /// Every row of the table by key; nothing on failure.
    [[nodiscard]] static std::optional<std::vector<Setting>> List(std::optional<int32_t> userId = std::nullopt);
    /// On a device that was never seeded: its set-up and that of these users counts as finished. True also when there
    /// was nothing to do. Wakes nobody; called once before the service starts.
    [[nodiscard]] static bool SeedFreshDevice(const std::vector<int32_t>& userIds);
};

} // namespace OHOS::Host

#endif // OHOS_HOST_HOST_SETTINGS_H
