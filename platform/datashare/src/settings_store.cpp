#include "settings_store.h"

#include <algorithm>
#include <charconv>

#include <sqlite3.h>

#include "hilog/log.h"
#include "host/device.h"
#include "host/host_settings.h"

namespace OHOS::DataShare {

namespace {

constexpr unsigned int LOG_DOMAIN_OF_SETTINGS = 0xD003F10;
constexpr const char* FILE_NAME = "/settings.db";

bool IsColumn(const std::string& name)
{
    return name == SettingsStore::KEY_COLUMN || name == SettingsStore::VALUE_COLUMN;
}

bool AreColumns(const SettingsStore::Cells& cells)
{
    return std::all_of(cells.begin(), cells.end(), [](const auto& cell) { return IsColumn(cell.first); });
}

/// The columns of the cells, each followed by `suffix`, with `separator` between them. Their names have been checked.
std::string Join(const SettingsStore::Cells& cells, const char* suffix, const char* separator)
{
    std::string text;
    for (const auto& cell : cells) {
        text += (text.empty() ? "" : separator) + cell.first + suffix;
    }
    return text;
}

std::string Where(const SettingsStore::Cells& cells)
{
    return cells.empty() ? "" : " WHERE " + Join(cells, " = ?", " AND ");
}

void AppendTexts(const SettingsStore::Cells& cells, SettingsStore::Texts& texts)
{
    for (const auto& cell : cells) {
        texts.push_back(cell.second);
    }
}

std::string Column(sqlite3_stmt* statement, int index)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
    return text == nullptr ? "" : std::string(text, static_cast<size_t>(sqlite3_column_bytes(statement, index)));
}

} // namespace

SettingsStore& SettingsStore::Instance()
{
    // Never destroyed: threads of the platform may come here while the process ends.
    static auto* store = new SettingsStore();
    return *store;
}

bool SettingsStore::IsTable(const std::string& name)
{
    static const std::string PREFIX = SECURE_TABLE_PREFIX;
    if (name.compare(0, PREFIX.size(), PREFIX) != 0) {
        return name == GLOBAL_TABLE;
    }
    const std::string digits = name.substr(PREFIX.size());
    int32_t userId = -1;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), userId);
    // The way back to text refuses what a number may also be written as: "-0", "007".
    return error == std::errc() && end == digits.data() + digits.size() && userId >= 0 &&
           std::to_string(userId) == digits;
}

std::optional<std::vector<SettingsStore::Texts>> SettingsStore::Select(
    const std::string& table, const Texts& columns, const Cells& where)
{
    const std::lock_guard lock(mutex_);
    if (!std::all_of(columns.begin(), columns.end(), IsColumn) || !AreColumns(where) || !OpenTable(table)) {
        return std::nullopt;
    }
    std::string names;
    for (const std::string& column : columns) {
        names += (names.empty() ? "" : ", ") + column;
    }
    Texts parameters;
    AppendTexts(where, parameters);
    const Statement statement = Prepare(
        "SELECT " + (names.empty() ? "KEYWORD, VALUE" : names) + " FROM " + table + Where(where) + " ORDER BY KEYWORD",
        parameters);
    return statement == nullptr ? std::nullopt : ReadRows(statement.get());
}

std::optional<int> SettingsStore::Update(const std::string& table, const Cells& values, const Cells& where)
{
    const std::lock_guard lock(mutex_);
    if (values.empty() || !AreColumns(values) || !AreColumns(where) || !OpenTable(table)) {
        return std::nullopt;
    }
    Texts parameters;
    AppendTexts(values, parameters);
    AppendTexts(where, parameters);
    if (!Run("UPDATE " + table + " SET " + Join(values, " = ?", ", ") + Where(where), parameters)) {
        return std::nullopt;
    }
    return sqlite3_changes(database_.get());
}

std::optional<int> SettingsStore::Insert(const std::string& table, const Cells& values)
{
    const std::lock_guard lock(mutex_);
    if (values.empty() || !AreColumns(values) || !OpenTable(table)) {
        return std::nullopt;
    }
    Texts parameters;
    AppendTexts(values, parameters);
    const std::string marks = values.size() == 1 ? "?" : "?, ?"; // there are two columns, each at most once
    if (!Run("INSERT INTO " + table + " (" + Join(values, "", ", ") + ") VALUES (" + marks + ")", parameters)) {
        return std::nullopt;
    }
    return static_cast<int>(sqlite3_last_insert_rowid(database_.get()));
}

bool SettingsStore::Put(const std::string& table, const std::string& key, const std::string& value)
{
    const std::lock_guard lock(mutex_);
    return PutRow({table, key, value});
}

bool SettingsStore::PutRow(const Row& row)
{
    return OpenTable(row.table) &&
           Run("INSERT INTO " + row.table +
                   " (KEYWORD, VALUE) VALUES (?, ?) ON CONFLICT (KEYWORD) DO UPDATE SET VALUE = excluded.VALUE",
               {row.key, row.value});
}

bool SettingsStore::SeedOnce(const std::vector<Row>& rows)
{
    const std::lock_guard lock(mutex_);
    if (!Open() || !Run("BEGIN IMMEDIATE")) {
        return false;
    }
    const std::optional<int> version = UserVersion();
    bool done = version.has_value();
    if (version == 0) {
        done = std::all_of(rows.begin(), rows.end(), [this](const Row& row) { return PutRow(row); }) &&
               Run("PRAGMA user_version = 1");
    }
    if (done && Run("COMMIT")) {
        return true;
    }
    tables_.clear(); // some of them were made in the transaction that ends here
    if (database_ != nullptr) {
        (void)Run("ROLLBACK"); // when this fails too there is nothing left to take back
    }
    return false;
}

std::optional<int> SettingsStore::UserVersion()
{
    const Statement statement = Prepare("PRAGMA user_version", {});
    if (statement == nullptr || sqlite3_step(statement.get()) != SQLITE_ROW) {
        (void)Fail("user_version"); // the empty result tells it
        return std::nullopt;
    }
    return sqlite3_column_int(statement.get(), 0);
}

bool SettingsStore::Open()
{
    const std::string root = Host::Device::Instance().Root();
    if (root.empty()) {
        return false;
    }
    const std::string path = root + FILE_NAME;
    if (database_ != nullptr && path == path_) {
        return true;
    }
    tables_.clear();
    path_ = path;
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(
        path.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    database_.reset(opened); // even a failed opening may have to be closed
    if (result != SQLITE_OK) {
        return Fail("open");
    }
    sqlite3_busy_timeout(opened, Host::SETTINGS_BUSY_LIMIT_MS);
    // The mode stays with the file. Two processes that open a new file at once may get in each other's way here; the
    // later one then finds the mode set, or sets it next time.
    sqlite3_exec(opened, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
    sqlite3_exec(opened, "PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr);
    return true;
}

bool SettingsStore::OpenTable(const std::string& table)
{
    if (!IsTable(table) || !Open()) {
        return false;
    }
    if (tables_.count(table) != 0) {
        return true;
    }
    if (!Run("CREATE TABLE IF NOT EXISTS " + table +
             " (KEYWORD TEXT NOT NULL PRIMARY KEY, VALUE TEXT NOT NULL DEFAULT '')")) {
        return false;
    }
    tables_.insert(table);
    return true;
}

SettingsStore::Statement SettingsStore::Prepare(const std::string& sql, const Texts& parameters)
{
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(database_.get(), sql.c_str(), -1, &prepared, nullptr) != SQLITE_OK) {
        (void)Fail("prepare"); // the null statement tells it
        return nullptr;
    }
    Statement statement(prepared);
    for (size_t i = 0; i < parameters.size(); ++i) {
        const std::string& text = parameters[i];
        if (sqlite3_bind_text64(
                prepared, static_cast<int>(i) + 1, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8) != SQLITE_OK) {
            (void)Fail("bind"); // the null statement tells it
            return nullptr;
        }
    }
    return statement;
}

bool SettingsStore::Run(const std::string& sql, const Texts& parameters)
{
    const Statement statement = Prepare(sql, parameters);
    if (statement == nullptr) {
        return false;
    }
    const int result = sqlite3_step(statement.get());
    return result == SQLITE_DONE || result == SQLITE_ROW || Fail("write");
}

std::optional<std::vector<SettingsStore::Texts>> SettingsStore::ReadRows(sqlite3_stmt* statement)
{
    std::vector<Texts> rows;
    int result = SQLITE_ROW;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
        Texts row;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            row.push_back(Column(statement, i));
        }
        rows.push_back(std::move(row));
    }
    if (result != SQLITE_DONE) {
        (void)Fail("read"); // the empty result tells it
        return std::nullopt;
    }
    return rows;
}

bool SettingsStore::Fail(const char* what)
{
    const int code = sqlite3_errcode(database_.get());
    HILOG_IMPL(LOG_CORE, LOG_DEBUG, LOG_DOMAIN_OF_SETTINGS, "SettingsStore", "%{public}s failed: %{public}s", what,
        sqlite3_errmsg(database_.get()));
    if (code != SQLITE_CONSTRAINT && code != SQLITE_BUSY) {
        tables_.clear();
        database_.reset();
    }
    return false;
}

void SettingsStore::Close::operator()(sqlite3* database) const
{
    // The second form waits for statements that are still alive, as that of the access that failed.
    sqlite3_close_v2(database);
}

void SettingsStore::Finalize::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

} // namespace OHOS::DataShare
