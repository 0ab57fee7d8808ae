// The settings table, as the service's helper and the device's own tools see it.
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

#include "data_ability_observer_stub.h"
#include "datashare_helper.h"
#include "device_scene.h"
#include "host/host_settings.h"
#include "ipc_object_stub.h"

using namespace OHOS;
using namespace OHOS::Host;
using namespace OHOS::DataShare;

namespace {

constexpr int32_t USER = 100;

class SettingsTest : public DeviceScene {
protected:
    void SetUp() override
    {
        DeviceScene::SetUp();
        ASSERT_NE(mkdtemp(root.data()), nullptr);
        ASSERT_TRUE(device.Configure({"", "", "phone", root}));
    }
    void TearDown() override
    {
        std::filesystem::remove_all(root);
    }

    static std::shared_ptr<DataShareHelper> Helper()
    {
        return DataShareHelper::Create(new IPCObjectStub(), "", "");
    }
    static int Rows(const std::string& uriText, const DataSharePredicates& predicates = {})
    {
        Uri uri(uriText);
        std::vector<std::string> columns = {"VALUE"};
        const std::shared_ptr<DataShareResultSet> rows = Helper()->Query(uri, predicates, columns);
        int count = -1;
        return rows != nullptr && rows->GetRowCount(count) == E_OK ? count : -1;
    }
    static int Insert(const std::string& uriText, const std::string& key, const std::string& value)
    {
        Uri uri(uriText);
        DataShareValuesBucket bucket;
        bucket.Put("VALUE", value);
        bucket.Put("KEYWORD", key);
        return Helper()->Insert(uri, bucket);
    }
    static int Update(const std::string& uriText, const std::string& key, const std::string& value)
    {
        Uri uri(uriText);
        DataShareValuesBucket bucket;
        bucket.Put("VALUE", value);
        return Helper()->Update(uri, *DataSharePredicates().EqualTo("KEYWORD", key), bucket);
    }

    const std::string global = HostSettings::UriOf("some_key");
    std::string root = testing::TempDir() + "settings.XXXXXX";
};

TEST_F(SettingsTest, RowIsInsertedOnceThenUpdatedAndOutlivesItsHelper)
{
    EXPECT_EQ(Update(global, "some_key", "1"), 0);
    EXPECT_EQ(Insert(global, "some_key", "1"), 1);
    EXPECT_EQ(Insert(global, "some_key", "2"), E_ERROR);
    EXPECT_EQ(Update(global, "some_key", "3"), 1);
    const std::shared_ptr<DataShareHelper> helper = Helper();
    Uri uri(global);
    std::vector<std::string> columns = {"VALUE"};
    const std::shared_ptr<DataShareResultSet> rows = helper->Query(uri, {}, columns);
    EXPECT_TRUE(helper->Release() && !helper->Release());
    EXPECT_EQ(helper->Query(uri, {}, columns), nullptr);
    std::string value = "before";
    EXPECT_EQ(rows->GetString(0, value), E_ERROR) << "no current row";
    EXPECT_EQ(rows->GoToRow(1), E_ERROR);
    EXPECT_EQ(rows->GoToRow(0), E_OK);
    EXPECT_EQ(rows->GetString(1, value), E_ERROR);
    EXPECT_EQ(value, "before");
    EXPECT_EQ(rows->GetString(0, value), E_OK);
    EXPECT_EQ(value, "3");
    EXPECT_EQ(rows->Close(), E_OK);
    EXPECT_EQ(rows->GetString(0, value), E_ERROR);
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
        EXPECT_EQ(Insert(folder + table, "key", "value"), E_ERROR) << table;
    }
    EXPECT_EQ(Rows(global, *DataSharePredicates().EqualTo("1 = 1 OR KEYWORD", "x")), -1);
    Uri uri(global);
    std::vector<std::string> columns = {"count(*)"};
    EXPECT_EQ(Helper()->Query(uri, {}, columns), nullptr);
    DataShareValuesBucket bucket;
    EXPECT_EQ(Helper()->Insert(uri, bucket), E_ERROR) << "nothing to insert";
    bucket.Put("VALUE) VALUES ('x'); --", "x");
    EXPECT_EQ(Helper()->Insert(uri, bucket), E_ERROR);
}

class Watcher final : public AAFwk::DataAbilityObserverStub {
public:
    void OnChange() override
    {
        ++changes;
        if (onChange != nullptr) {
            onChange();
        }
    }

    int changes = 0;
    std::function<void()> onChange;
};

TEST_F(SettingsTest, ObserverHearsOfExactlyItsUriAndLaterAndMayReadWriteAndLeaveMeanwhile)
{
    const sptr<Watcher> watcher = new Watcher();
    const Uri globalUri(global);
    const Uri secureUri(HostSettings::UriOf("some_key", USER));
    const std::shared_ptr<DataShareHelper> helper = Helper();
    helper->RegisterObserver(globalUri, watcher);
    helper->RegisterObserver(globalUri, watcher);
    helper->RegisterObserver(globalUri, nullptr);
    helper->NotifyChange(globalUri);
    EXPECT_EQ(watcher->changes, 0) << "told inside the call";
    helper->NotifyChange(Uri(global + "x"));
    ASSERT_TRUE(HostSettings::Put("some_key", "1", USER));
    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_EQ(watcher->changes, 1);
    helper->UnregisterObserver(globalUri, watcher);
    helper->RegisterObserver(secureUri, watcher);
    watcher->onChange = [&] {
        EXPECT_EQ(HostSettings::Get("some_key", USER), "2");
        helper->UnregisterObserver(secureUri, watcher);
        EXPECT_TRUE(HostSettings::Put("some_key", "3", USER));
    };
    ASSERT_TRUE(HostSettings::Put("some_key", "2"));
    ASSERT_TRUE(HostSettings::Put("some_key", "2", USER));
    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_EQ(watcher->changes, 2);
    EXPECT_EQ(HostSettings::Get("some_key", USER), "3");
    EXPECT_EQ(watcher->GetSptrRefCount(), 1) << "kept after it left";
}

TEST_F(SettingsTest, DamagedFileGivesErrorsUntilItIsReplaced)
{
    ASSERT_TRUE(HostSettings::Put("some_key", "1"));
    const std::string elsewhere = root + "/elsewhere";
    std::filesystem::create_directory(elsewhere);
    std::ofstream(elsewhere + "/settings.db") << std::string(8192, 'x');
    ASSERT_TRUE(device.Configure({"", "", "phone", elsewhere}));
    for (int turn = 0; turn < 2; ++turn) {
        EXPECT_EQ(Rows(global), -1);
        EXPECT_EQ(Update(global, "some_key", "2"), E_ERROR);
        EXPECT_EQ(Insert(global, "some_key", "2"), E_ERROR);
        EXPECT_FALSE(HostSettings::Put("some_key", "2") || HostSettings::List() || HostSettings::SeedFreshDevice({}));
    }
    std::filesystem::remove(elsewhere + "/settings.db");
    EXPECT_TRUE(HostSettings::Put("some_key", "3"));
    EXPECT_EQ(HostSettings::Get("some_key"), "3");
    ASSERT_TRUE(device.Configure({"", "", "phone", ""}));
    EXPECT_EQ(Rows(global), -1) << "a device without a folder has no settings";
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

TEST_F(SettingsTest, SeveralProcessesWriteAtOnceAndNothingIsLost)
{
    constexpr int WRITERS = 4;
    constexpr int ROWS = 50;
    for (int writer = 0; writer < WRITERS; ++writer) {
        if (fork() == 0) {
            bool good = true;
            for (int row = 0; row < ROWS; ++row) {
                good = HostSettings::Put(std::to_string(writer) + "/" + std::to_string(row), "x", USER) &&
                       HostSettings::Put("shared", std::to_string(row)) && good;
            }
            _exit(good ? 0 : 1);
        }
    }
    for (int writer = 0; writer < WRITERS; ++writer) {
        int status = -1;
        ASSERT_GT(wait(&status), 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(HostSettings::List(USER)->size(), size_t{WRITERS * ROWS});
    EXPECT_EQ(HostSettings::Get("shared"), std::to_string(ROWS - 1));
}

} // namespace
