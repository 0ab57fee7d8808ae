#include "datashare_helper.h"

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "data_ability_observer_stub.h"
#include "host/device.h"
#include "host/faults.h"
#include "host/host_settings.h"
#include "host/scheduler.h"
#include "ipc_object_stub.h"

using namespace OHOS;
using namespace OHOS::Host;
using namespace OHOS::DataShare;

namespace {

constexpr int32_t USER = 100;

/// A device with a folder of its own, on real threads.
class SettingsThreadsTest : public testing::Test {
protected:
    void SetUp() override
    {
        std::string pattern = testing::TempDir() + "settings.XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        root = pattern;
        ASSERT_TRUE(Device::Instance().Configure({"", "", "phone", root}));
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
        bucket.Put("KEYWORD", key);
        bucket.Put("VALUE", value);
        return Helper()->Insert(uri, bucket);
    }
    static int Update(const std::string& uriText, const std::string& key, const std::string& value)
    {
        Uri uri(uriText);
        DataSharePredicates predicates;
        predicates.EqualTo("KEYWORD", key);
        DataShareValuesBucket bucket;
        bucket.Put("VALUE", value);
        return Helper()->Update(uri, predicates, bucket);
    }

    const std::string global = HostSettings::UriOf("some_key");
    std::string root;
};

class SettingsTest : public SettingsThreadsTest {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Scheduler::Instance().UseManualTime());
        SettingsThreadsTest::SetUp();
    }
};

TEST_F(SettingsTest, RowIsInsertedOnceThenUpdatedAndOutlivesItsHelper)
{
    EXPECT_EQ(Update(global, "some_key", "1"), 0);
    EXPECT_EQ(Insert(global, "some_key", "1"), 1);
    EXPECT_EQ(Insert(global, "some_key", "2"), E_ERROR);
    EXPECT_EQ(Update(global, "some_key", "3"), 1);
    EXPECT_EQ(Rows(global), 1);
    const std::shared_ptr<DataShareHelper> helper = Helper();
    Uri uri(global);
    std::vector<std::string> columns = {"VALUE"};
    const std::shared_ptr<DataShareResultSet> rows = helper->Query(uri, {}, columns);
    EXPECT_TRUE(helper->Release());
    EXPECT_FALSE(helper->Release());
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
}

TEST_F(SettingsTest, HelperNeedsARemoteObjectAndTheAbility)
{
    EXPECT_EQ(DataShareHelper::Create(nullptr, "", ""), nullptr);
    Device::Instance().SetAbilityPresent(AbilityId::DATA_SHARE, false);
    EXPECT_EQ(Helper(), nullptr);
    Device::Instance().SetAbilityPresent(AbilityId::DATA_SHARE, true);
    EXPECT_NE(Helper(), nullptr);
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
    EXPECT_EQ(Rows(folder + "SETTINGSDATA"), 0);
    EXPECT_EQ(Rows("datashare:///elsewhere/SETTINGSDATA?Proxy=true&key=a/b"), 0) << "only the path's end counts";
    EXPECT_EQ(Rows(folder + "USER_SETTINGSDATA_SECURE_0?Proxy=true"), 0);
    EXPECT_EQ(Rows(folder + "USER_SETTINGSDATA_SECURE_2147483647?Proxy=true"), 0);
    for (const std::string table : {"", "settingsdata", "SETTINGSDATA;", "sqlite_master", "USER_SETTINGSDATA_SECURE_",
             "USER_SETTINGSDATA_SECURE_-1", "USER_SETTINGSDATA_SECURE_-0", "USER_SETTINGSDATA_SECURE_007",
             "USER_SETTINGSDATA_SECURE_1 ", "USER_SETTINGSDATA_SECURE_2147483648"}) {
        EXPECT_EQ(Rows(folder + table), -1) << table;
        EXPECT_EQ(Insert(folder + table, "key", "value"), E_ERROR) << table;
    }
    DataSharePredicates predicates;
    predicates.EqualTo("1 = 1 OR KEYWORD", "x");
    EXPECT_EQ(Rows(global, predicates), -1);
    Uri uri(global);
    std::vector<std::string> columns = {"count(*)"};
    EXPECT_EQ(Helper()->Query(uri, {}, columns), nullptr);
    DataShareValuesBucket bucket;
    EXPECT_EQ(Helper()->Insert(uri, bucket), E_ERROR) << "nothing to insert";
    bucket.Put("VALUE) VALUES ('x'); --", "x");
    EXPECT_EQ(Helper()->Insert(uri, bucket), E_ERROR);
    EXPECT_FALSE(HostSettings::Put("key", "value", -1));
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

TEST_F(SettingsTest, ObserverHearsOfExactlyItsUriAndLater)
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
    helper->NotifyChange(secureUri);
    ASSERT_TRUE(HostSettings::Put("some_key", "1", USER));
    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_EQ(watcher->changes, 1);
    helper->RegisterObserver(secureUri, watcher);
    helper->UnregisterObserver(globalUri, watcher);
    ASSERT_TRUE(HostSettings::Put("some_key", "2"));
    ASSERT_TRUE(HostSettings::Put("some_key", "2", USER));
    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_EQ(watcher->changes, 2);
    helper->UnregisterObserver(secureUri, watcher);
    EXPECT_EQ(watcher->GetSptrRefCount(), 1) << "kept after it left";
}

TEST_F(SettingsTest, ObserverMayReadWriteAndLeaveWhileItIsTold)
{
    const sptr<Watcher> watcher = new Watcher();
    const Uri uri(global);
    Helper()->RegisterObserver(uri, watcher);
    watcher->onChange = [&] {
        EXPECT_EQ(HostSettings::Get("some_key"), "1");
        EXPECT_TRUE(HostSettings::Put("some_key", "2"));
        Helper()->UnregisterObserver(uri, watcher);
        watcher->onChange = nullptr;
    };
    ASSERT_TRUE(HostSettings::Put("some_key", "1"));
    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_LE(watcher->changes, 2) << "its own write was on its way when it left";
    EXPECT_EQ(HostSettings::Get("some_key"), "2");
}

TEST_F(SettingsTest, DamagedFileGivesErrorsUntilItIsReplaced)
{
    ASSERT_TRUE(HostSettings::Put("some_key", "1"));
    const std::string file = root + "/settings.db";
    const std::string elsewhere = root + "/elsewhere";
    std::filesystem::create_directory(elsewhere);
    std::ofstream(elsewhere + "/settings.db") << std::string(8192, 'x');
    ASSERT_TRUE(Device::Instance().Configure({"", "", "phone", elsewhere}));
    for (int turn = 0; turn < 2; ++turn) {
        EXPECT_EQ(Rows(global), -1);
        EXPECT_EQ(Update(global, "some_key", "2"), E_ERROR);
        EXPECT_EQ(Insert(global, "some_key", "2"), E_ERROR);
        EXPECT_FALSE(HostSettings::Put("some_key", "2"));
        EXPECT_FALSE(HostSettings::List().has_value());
        EXPECT_FALSE(HostSettings::SeedFreshDevice({USER}));
    }
    std::filesystem::remove(elsewhere + "/settings.db");
    EXPECT_TRUE(HostSettings::Put("some_key", "3"));
    EXPECT_EQ(HostSettings::Get("some_key"), "3");
}

TEST_F(SettingsTest, DamageUnderAnOpenConnectionGivesErrorsAndNoCrash)
{
    ASSERT_TRUE(HostSettings::Put("some_key", std::string(100'000, 'v')));
    for (const char* suffix : {"", "-wal", "-shm"}) {
        const std::string file = root + "/settings.db" + suffix;
        if (std::filesystem::exists(file) && suffix != std::string("-shm")) {
            std::ofstream(file, std::ios::in | std::ios::out).write(std::string(4096, '\x5A').data(), 4096);
        }
    }
    (void)HostSettings::Get("some_key"); // may still be in memory
    (void)HostSettings::Put("some_key", "2");
    ASSERT_TRUE(Device::Instance().Configure({"", "", "phone", ""})); // a device without a folder has no settings
    EXPECT_EQ(Rows(global), -1);
    ASSERT_TRUE(Device::Instance().Configure({"", "", "phone", root}));
    EXPECT_NE(HostSettings::Get("some_key"), std::string(100'000, 'v'));
}

TEST_F(SettingsTest, FreshDeviceIsSeededOnceAndNeverAgain)
{
    ASSERT_TRUE(HostSettings::SeedFreshDevice({USER, 101}));
    EXPECT_EQ(HostSettings::Get("device_provisioned"), "1");
    EXPECT_EQ(HostSettings::Get("is_ota_finished", 101), "1");
    EXPECT_EQ(HostSettings::Get("is_ota_finished"), std::nullopt);
    ASSERT_TRUE(HostSettings::Put("user_setup_complete", "0", USER));
    ASSERT_TRUE(HostSettings::SeedFreshDevice({USER, 102}));
    EXPECT_EQ(HostSettings::Get("user_setup_complete", USER), "0");
    EXPECT_EQ(HostSettings::List(102)->size(), 0U);
}

TEST_F(SettingsTest, SeedingIsAllOrNothing)
{
    EXPECT_FALSE(HostSettings::SeedFreshDevice({USER, -1}));
    EXPECT_EQ(HostSettings::Get("device_provisioned"), std::nullopt);
    EXPECT_TRUE(HostSettings::SeedFreshDevice({USER}));
    EXPECT_EQ(HostSettings::Get("device_provisioned"), "1");
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

// For the thread sanitizer: whoever writes, each observer is told by one thread at a time, and of the last change too.
TEST_F(SettingsThreadsTest, ThreadsWriteWhileObserversComeAndGo)
{
    constexpr int THREADS = 4;
    constexpr int TURNS = 50;
    const sptr<Watcher> watcher = new Watcher();
    std::promise<void> all;
    watcher->onChange = [&all, &watcher = *watcher] {
        if (watcher.changes == THREADS * TURNS) {
            all.set_value();
        }
    };
    Helper()->RegisterObserver(Uri(global), watcher);
    std::vector<std::thread> writers;
    for (int thread = 0; thread < THREADS; ++thread) {
        writers.emplace_back([this] {
            for (int turn = 0; turn < TURNS; ++turn) {
                const sptr<Watcher> visitor = new Watcher();
                Helper()->RegisterObserver(Uri(global), visitor);
                EXPECT_TRUE(HostSettings::Put("some_key", std::to_string(turn)));
                Helper()->UnregisterObserver(Uri(global), visitor);
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    all.get_future().wait();
    EXPECT_TRUE(Scheduler::Instance().Shutdown(10'000));
}

TEST_F(SettingsTest, EachCallFailsWhenToldTo)
{
    const std::vector<std::pair<const char*, std::function<bool()>>> rows = {
        {"datashare.Create", [] { return Helper() != nullptr; }},
        {"datashare.Query", [this] { return Rows(global) >= 0; }},
        {"datashare.GetRowCount", [this] { return Rows(global) >= 0; }},
        {"datashare.Update", [this] { return Update(global, "some_key", "1") >= 0; }},
        {"datashare.Insert", [this, i = 0]() mutable { return Insert(global, std::to_string(++i), "1") > 0; }},
        {"datashare.Release", [] { return Helper()->Release(); }},
        {"datashare.GoToRow", [] { return DataShareResultSet({{"x"}}).GoToRow(0) == E_OK; }},
        {"datashare.GetString",
            [] {
                DataShareResultSet set({{"x"}});
                std::string value = "before";
                const bool good = set.GoToRow(0) == E_OK && set.GetString(0, value) == E_OK;
                EXPECT_EQ(value, good ? "x" : "before");
                return good;
            }},
    };
    for (const auto& [fault, succeeds] : rows) {
        SCOPED_TRACE(fault);
        EXPECT_TRUE(succeeds());
        Faults::Inject(fault);
        EXPECT_FALSE(succeeds());
        EXPECT_TRUE(succeeds());
    }
}

} // namespace
