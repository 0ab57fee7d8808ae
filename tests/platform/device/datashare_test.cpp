// The settings table, as the service's helper and the device's own tools see it.
#include <fstream>
#include <functional>
#include <vector>

#include "data_ability_observer_stub.h"
#include "datashare_helper.h"
#include "folders.h"
#include "host/device.h"
#include "host/host_settings.h"
#include "host/scheduler.h"
#include "ipc_object_stub.h"

using namespace OHOS;
using namespace OHOS::Host;
using namespace OHOS::DataShare;

namespace {

constexpr int32_t USER = 100;

class SettingsTest : public testing::Test {
protected:
    SettingsTest()
    {
        EXPECT_TRUE(Scheduler::Instance().UseManualTime());
        EXPECT_TRUE(device.Configure({"", "", "phone", home.path}));
    }
    static std::shared_ptr<DataShareHelper> Helper()
    {
        return DataShareHelper::Create(new IPCObjectStub(), "", "");
    }
    static std::shared_ptr<DataShareResultSet> Query(
        const std::string& table, const DataSharePredicates& predicates = {}, const std::string& column = "VALUE")
    {
        Uri uri(table);
        std::vector<std::string> columns = {column};
        return Helper()->Query(uri, predicates, columns);
    }
    static int Rows(const std::string& table)
    {
        const std::shared_ptr<DataShareResultSet> rows = Query(table);
        int count = -1;
        return rows != nullptr && rows->GetRowCount(count) == E_OK ? count : -1;
    }
    static int Insert(const std::string& table, const std::string& value, const std::string& column = "VALUE")
    {
        Uri uri(table);
        DataShareValuesBucket bucket;
        bucket.Put(column, value);
        bucket.Put("KEYWORD", "some_key");
        return Helper()->Insert(uri, bucket);
    }
    static int Update(const std::string& table, const std::string& value)
    {
        Uri uri(table);
        DataShareValuesBucket bucket;
        bucket.Put("VALUE", value);
        return Helper()->Update(uri, *DataSharePredicates().EqualTo("KEYWORD", "some_key"), bucket);
    }

    Device& device = Device::Instance();
    const std::string global = HostSettings::UriOf("some_key");
    const Pelago::TestFolder home;
};

TEST_F(SettingsTest, RowIsInsertedOnceThenUpdatedAndReadAtItsPlaceOnly)
{
    EXPECT_EQ(Update(global, "1"), 0);
    EXPECT_EQ(Insert(global, "1"), 1);
    EXPECT_EQ(Insert(global, "2"), E_ERROR);
    EXPECT_EQ(Update(global, "3"), 1);
    const std::shared_ptr<DataShareResultSet> rows = Query(global);
    std::string value = "before";
    EXPECT_EQ(rows->GetString(0, value), E_ERROR) << "no current row";
    EXPECT_EQ(rows->GoToRow(1), E_ERROR);
    EXPECT_EQ(rows->GoToRow(0), E_OK);
    EXPECT_EQ(rows->GetString(0, value), E_OK);
    EXPECT_EQ(value, "3");
    device.SetAbilityPresent(AbilityId::DATA_SHARE, false);
    EXPECT_EQ(Helper(), nullptr);
}

TEST_F(SettingsTest, HostileKeysAndValuesAreOnlyText)
{
    const std::vector<std::string> texts = {"", "'; DROP TABLE SETTINGSDATA; --", "\"%_*?", std::string("a\0b", 3),
        std::string("a\0c", 3), "\xFF\xFE not UTF-8", "line\nbreak\x1b[31m", std::string(1 << 20, 'x')};
    for (const std::string& text : texts) {
        ASSERT_TRUE(HostSettings::Put(text, text));
        ASSERT_TRUE(HostSettings::Put(text, text + "!"));
    }
    for (const std::string& text : texts) {
        EXPECT_EQ(HostSettings::Get(text), text + "!");
    }
    EXPECT_EQ(HostSettings::List()->size(), texts.size());
}

TEST_F(SettingsTest, OnlyTheTablesAndColumnsOfSettingsExist)
{
    const std::string folder = "datashare:///com.ohos.settingsdata/entry/settingsdata/";
    for (const std::string& table : {folder + "SETTINGSDATA", folder + "USER_SETTINGSDATA_SECURE_2147483647?Proxy=true",
             std::string("datashare:///elsewhere/SETTINGSDATA?Proxy=true&key=a/b")}) { // only the path's end counts
        EXPECT_EQ(Rows(table), 0) << table;
    }
    for (const std::string table : {"", "settingsdata", "SETTINGSDATA;", "sqlite_master", "USER_SETTINGSDATA_SECURE_",
             "USER_SETTINGSDATA_SECURE_-0", "USER_SETTINGSDATA_SECURE_007", "USER_SETTINGSDATA_SECURE_1 ",
             "USER_SETTINGSDATA_SECURE_2147483648"}) {
        EXPECT_EQ(Rows(folder + table), -1) << table;
        EXPECT_EQ(Insert(folder + table, "value"), E_ERROR) << table;
    }
    EXPECT_EQ(Query(global, *DataSharePredicates().EqualTo("1 = 1 OR KEYWORD", "x")), nullptr);
    EXPECT_EQ(Query(global, {}, "count(*)"), nullptr);
    EXPECT_EQ(Insert(global, "x", "VALUE) VALUES ('x'); --"), E_ERROR);
}

TEST_F(SettingsTest, ADamagedFileGivesErrors)
{
    std::ofstream(home.path / "settings.db") << std::string(8192, 'x');
    EXPECT_EQ(Rows(global), -1);
    EXPECT_TRUE(Update(global, "2") == E_ERROR && Insert(global, "2") == E_ERROR);
    EXPECT_FALSE(HostSettings::Put("some_key", "2") || HostSettings::List() || HostSettings::SeedFreshDevice({}));
}

struct Watcher final : public AAFwk::DataAbilityObserverStub {
    void OnChange() override
    {
        onChange();
    }
    std::function<void()> onChange;
};

TEST_F(SettingsTest, ObserverHearsOfExactlyItsUriAndLaterAndMayReadWriteAndLeaveMeanwhile)
{
    const sptr<Watcher> watcher = new Watcher();
    int changes = 0;
    watcher->onChange = [&changes] { ++changes; };
    const Uri uri(HostSettings::UriOf("some_key", USER));
    const std::shared_ptr<DataShareHelper> helper = Helper();
    helper->RegisterObserver(uri, watcher);
    helper->RegisterObserver(uri, watcher);
    helper->RegisterObserver(uri, nullptr);
    helper->NotifyChange(Uri(global));
    ASSERT_TRUE(HostSettings::Put("some_key", "1") && HostSettings::Put("some_keyx", "1", USER));
    helper->NotifyChange(uri);
    EXPECT_EQ(changes, 0) << "told inside the call";
    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_EQ(changes, 1);
    watcher->onChange = [&] {
        ++changes;
        EXPECT_EQ(HostSettings::Get("some_key", USER), "2");
        helper->UnregisterObserver(uri, watcher);
        EXPECT_TRUE(HostSettings::Put("some_key", "3", USER));
    };
    ASSERT_TRUE(HostSettings::Put("some_key", "2", USER));
    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(HostSettings::Get("some_key", USER), "3");
    EXPECT_EQ(watcher->GetSptrRefCount(), 1) << "kept after it left";
}

TEST_F(SettingsTest, FreshDeviceIsSeededWholeAndOnce)
{
    EXPECT_FALSE(HostSettings::SeedFreshDevice({USER, -1}));
    EXPECT_EQ(HostSettings::Get("device_provisioned"), std::nullopt);
    ASSERT_TRUE(HostSettings::SeedFreshDevice({USER, 101}));
    EXPECT_EQ(HostSettings::Get("device_provisioned"), "1");
    EXPECT_EQ(HostSettings::Get("is_ota_finished", 101), "1");
    EXPECT_EQ(HostSettings::Get("is_ota_finished"), std::nullopt);
    ASSERT_TRUE(HostSettings::Put("user_setup_complete", "0", USER));
    ASSERT_TRUE(HostSettings::SeedFreshDevice({USER, 102}));
    EXPECT_EQ(HostSettings::Get("user_setup_complete", USER), "0");
    EXPECT_EQ(HostSettings::List(102)->size(), 0U);
}

} // namespace
