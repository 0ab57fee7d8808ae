#include "host/host_settings.h"

#include <utility>

#include "observer_registry.h"
#include "settings_store.h"

namespace OHOS::Host {

namespace {

using DataShare::ObserverRegistry;
using DataShare::SettingsStore;

constexpr const char* TABLES = "datashare:///com.ohos.settingsdata/entry/settingsdata/";
constexpr const char* DONE = "1";

/// A negative user id gives a name that the store does not take.
std::string TableOf(std::optional<int32_t> userId)
{
    return userId.has_value() ? SettingsStore::SECURE_TABLE_PREFIX + std::to_string(*userId)
                              : std::string(SettingsStore::GLOBAL_TABLE);
}

} // namespace

std::string HostSettings::UriOf(const std::string& key, std::optional<int32_t> userId)
{
    return TABLES + TableOf(userId) + "?Proxy=true&key=" + key;
}

std::optional<std::string> HostSettings::Get(const std::string& key, std::optional<int32_t> userId)
{
    const auto rows = SettingsStore::Instance().Select(
        TableOf(userId), {SettingsStore::VALUE_COLUMN}, {{SettingsStore::KEY_COLUMN, key}});
    return rows.has_value() && !rows->empty() ? std::optional(rows->front().front()) : std::nullopt;
}

bool HostSettings::Put(const std::string& key, const std::string& value, std::optional<int32_t> userId)
{
    if (!SettingsStore::Instance().Put(TableOf(userId), key, value)) {
        return false;
    }
    ObserverRegistry::Instance().Notify(UriOf(key, userId));
    return true;
}

std::optional<std::vector<Setting>> HostSettings::List(std::optional<int32_t> userId)
{
    auto rows = SettingsStore::Instance().Select(TableOf(userId), {}, {});
    if (!rows.has_value()) {
        return std::nullopt;
    }
    std::vector<Setting> settings;
    settings.reserve(rows->size());
    for (auto& row : *rows) {
        settings.push_back({std::move(row[0]), std::move(row[1])});
    }
    return settings;
}

bool HostSettings::SeedFreshDevice(const std::vector<int32_t>& userIds)
{
    std::vector<SettingsStore::Row> rows = {{SettingsStore::GLOBAL_TABLE, "device_provisioned", DONE}};
    for (const int32_t userId : userIds) {
        rows.push_back({TableOf(userId), "user_setup_complete", DONE});
        rows.push_back({TableOf(userId), "is_ota_finished", DONE});
    }
    return SettingsStore::Instance().SeedOnce(rows);
}

} // namespace OHOS::Host
