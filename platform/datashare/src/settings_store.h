#ifndef OHOS_DATASHARE_SETTINGS_STORE_H
#define OHOS_DATASHARE_SETTINGS_STORE_H

#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace OHOS::DataShare {

/// The settings database of this device: the one connection of this process to the file in the device's folder. Opened
/// by the first access, and anew after the folder has changed or an access failed: a file that was repaired or put
/// aside in the meantime works again.
///
/// One per process, alive until it ends. Any thread may call; accesses take turns. Other processes may use the file
/// too: one access waits for theirs up to SETTINGS_BUSY_LIMIT_MS.
///
/// Tables and columns are names of our own and checked as such; everything else is bound, never pasted into a
/// statement. It knows of no observers.
class SettingsStore {
public:
    using Texts = std::vector<std::string>;
    using Cells = std::vector<std::pair<std::string, std::string>>; // column, text

    static SettingsStore& Instance();

    /// The rows whose cells equal all of `where`, by key, with these columns; nothing on failure.
    [[nodiscard]] std::optional<std::vector<Texts>> Select(
        const std::string& table, const Texts& columns, const Cells& where);
    /// How many rows were written, or nothing on failure.
    [[nodiscard]] std::optional<int> Update(const std::string& table, const Cells& values, const Cells& where);
    /// The number of the new row, or nothing on failure, as for a key that exists.
    [[nodiscard]] std::optional<int> Insert(const std::string& table, const Cells& values);
    /// Sets one key, whether it exists or not.
    [[nodiscard]] bool Put(const std::string& table, const std::string& key, const std::string& value);
    /// Puts every row (table, key, value) in one transaction, unless that was done once before in the life of the file.
    struct Row {
        std::string table;
        std::string key;
        std::string value;
    };
    [[nodiscard]] bool SeedOnce(const std::vector<Row>& rows);

    /// "SETTINGSDATA", or "USER_SETTINGSDATA_SECURE_" and a user id as it is usually written.
    [[nodiscard]] static bool IsTable(const std::string& name);

    static constexpr const char* GLOBAL_TABLE = "SETTINGSDATA";
    static constexpr const char* SECURE_TABLE_PREFIX = "USER_SETTINGSDATA_SECURE_";
    static constexpr const char* KEY_COLUMN = "KEYWORD";
    static constexpr const char* VALUE_COLUMN = "VALUE";

private:
    struct Close {
        void operator()(sqlite3* database) const;
    };
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

    SettingsStore() = default;

    // All below: with mutex_ held.
    [[nodiscard]] bool Open();
    [[nodiscard]] bool OpenTable(const std::string& table);
    [[nodiscard]] Statement Prepare(const std::string& sql, const Texts& parameters);
    [[nodiscard]] bool Run(const std::string& sql, const Texts& parameters = {});
    [[nodiscard]] bool PutRow(const Row& row);
    [[nodiscard]] std::optional<std::vector<Texts>> ReadRows(sqlite3_stmt* statement);
    [[nodiscard]] std::optional<int> UserVersion();
    [[nodiscard]] bool Fail(const char* what);

    std::mutex mutex_;
    std::unique_ptr<sqlite3, Close> database_; // null: not open
    std::string path_;                         // of database_
    std::set<std::string> tables_;             // those that exist for certain
};

} // namespace OHOS::DataShare

#endif // OHOS_DATASHARE_SETTINGS_STORE_H
