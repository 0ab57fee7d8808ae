// The events of telemetry as they are written: which ones, with which keys, in which order.
#include <algorithm>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cJSON.h"
#include "host/device.h"
#include "host/faults.h"
#include "host/scheduler.h"
#include "host_sys_event.h"
#include "log_tap.h"
#include "share_radar_dfx.h"

namespace OHOS::Pelago {
namespace {

using Host::Device;
using Host::Scheduler;

constexpr int32_t STAGE = 250; // without a meaning for sends, the end for receives
constexpr int32_t TAP_STAGE = RadarStage::TAP;

// Keys as the tests write them down, separated by blanks.
const std::string HEAD = "FUNC BIZ_SCENE BIZ_STAGE STAGE_RES ERROR_CODE ";
const std::string NUDGE = HEAD + "ORG_PKG TRIGGER_MODE COMM_SERV LOCAL_DEV_TYPE LOCAL_UDID CONCURRENT_ID";
const std::string PREVIEW =
    HEAD + "ORG_PKG TRIGGER_MODE COMM_SERV LOCAL_DEV_TYPE LOCAL_UDID LOCAL_BLE_STATE LOCAL_WIFI_STATE PEER_UDID "
           "PEER_DEV_TYPE PEER_BLE_MAC PEER_NET_ID IS_TRUST CH_TYPE FILE_SIZE FILE_NUM FILE_TYPE CONCURRENT_ID "
           "ACCOUNT_TYPE PEER_NEARBY_VERSION";
const std::string CONNECT = PREVIEW + " TO_CALL_PKG LOCAL_SESS_NAME PEER_SESS_NAME NET_TYPE DEVICE_ENHANCE_VERIFY_TYPE "
                                      "CONSUMED_TIME PEER_DEVICE_VERSION";
const std::string TRANS = PREVIEW + " TO_CALL_PKG LOCAL_SESS_NAME PEER_SESS_NAME TRANS_RATE PEER_DEVICE_VERSION";
const std::string BYTES_TRANS = PREVIEW + " TO_CALL_PKG LOCAL_SESS_NAME PEER_SESS_NAME PEER_DEVICE_VERSION";
const std::string RECEIVE =
    "BIZ_SCENE BIZ_STAGE STAGE_RES ERROR_CODE ORG_PKG TRIGGER_MODE COMM_SERV LOCAL_UDID LOCAL_BLE_STATE "
    "LOCAL_WIFI_STATE LOCAL_DEV_TYPE SHARE_DETECT_TYPE_IN_RECV CONTACT_MISIDENTIFICATION_TYPE PEER_NET_ID "
    "PEER_DEVICE_VERSION";
const std::string RECV_FINISH =
    HEAD + "ORG_PKG TRIGGER_MODE COMM_SERV LOCAL_UDID LOCAL_BLE_STATE LOCAL_WIFI_STATE LOCAL_DEV_TYPE "
           "SHARE_DETECT_TYPE_IN_RECV CONTACT_MISIDENTIFICATION_TYPE TRANS_RATE PEER_DEVICE_VERSION";
const std::string SWING =
    "FUNC BIZ_SCENE BIZ_STAGE STAGE_RES BIZ_STATE ERROR_CODE ORG_PKG TRIGGER_MODE TO_CALL_PKG LOCAL_UDID "
    "LOCAL_DEV_TYPE LOCAL_BLE_STATE LOCAL_WIFI_STATE PEER_UDID PEER_DEV_TYPE PEER_BLE_MAC PEER_NEARBY_VERSION "
    "CONCURRENT_ID";

// "KEY=value KEY=value ..." of an event, without what the store adds by itself.
std::string Fields(const Host::SysEvent& event)
{
    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> json(cJSON_Parse(event.json.c_str()), &cJSON_Delete);
    std::string fields;
    for (const cJSON* item = json->child; item != nullptr; item = item->next) {
        const std::string key = item->string;
        if (key.back() != '_') {
            fields += (fields.empty() ? "" : " ") + key + "=";
            fields +=
                cJSON_IsString(item) ? item->valuestring : std::to_string(static_cast<int64_t>(item->valuedouble));
        }
    }
    return fields;
}

class ShareRadarDfxTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Scheduler::Instance().UseManualTime());
        ASSERT_TRUE(Device::Instance().Configure({"Blue phone", "abc", "2in1", ""}));
    }

    // A record with a value of its own in every field.
    void Fill(int32_t scene, int32_t isBytesShare = 0)
    {
        radar_.InitBizStageInfo("pelago", 12, 13, scene);
        radar_.Edit([&](RadarRecord& record) {
            record.toCallPkg = "to";
            record.localSessName = "localSess";
            record.peerSessName = "peerSess";
            record.peerUdid = "peerUdid";
            record.peerDevType = "peerType";
            record.peerBleMac = "peerMac";
            record.peerNetId = "peerNet";
            record.peerNearbyVersion = 21;
            record.peerDeviceVersion = "peerVersion";
            record.isTrust = 22;
            record.accountType = 23;
            record.chType = 24;
            record.fileSize = 1048576;
            record.fileNum = 26;
            record.fileType = 27;
            record.netType = 28;
            record.transRate = "rate";
            record.isBytesShare = isBytesShare;
            record.contactMisidentificationType = 29;
            record.deviceEnhanceVerifyType = 30;
            record.shareDetectTypeInRecv = 31;
            record.consumedTime = 5'000'000'000;
            record.concurrentId = "c_1";
        });
    }

    // The keys of a row with the values of Fill and of a report ("Func", stage, 3, state, 5).
    static std::string Expected(const std::string& keys, int32_t scene, int32_t stage, int32_t state)
    {
        const std::map<std::string, std::string> values = {{"FUNC", "Func"}, {"BIZ_SCENE", std::to_string(scene)},
            {"BIZ_STAGE", std::to_string(stage)}, {"STAGE_RES", "3"}, {"BIZ_STATE", std::to_string(state)},
            {"ERROR_CODE", "5"}, {"ORG_PKG", "pelago"}, {"TRIGGER_MODE", "12"}, {"COMM_SERV", "13"},
            {"TO_CALL_PKG", "to"}, {"LOCAL_SESS_NAME", "localSess"}, {"LOCAL_UDID", "BA781**015AD"},
            {"LOCAL_DEV_TYPE", "A2F"}, {"LOCAL_BLE_STATE", "1"}, {"LOCAL_WIFI_STATE", "1"},
            {"PEER_SESS_NAME", "peerSess"}, {"PEER_UDID", "peerUdid"}, {"PEER_DEV_TYPE", "peerType"},
            {"PEER_BLE_MAC", "peerMac"}, {"PEER_NET_ID", "peerNet"}, {"PEER_NEARBY_VERSION", "21"},
            {"PEER_DEVICE_VERSION", "peerVersion"}, {"IS_TRUST", "22"}, {"ACCOUNT_TYPE", "23"}, {"CH_TYPE", "24"},
            {"FILE_SIZE", "2"}, {"FILE_NUM", "26"}, {"FILE_TYPE", "27"}, {"NET_TYPE", "28"}, {"TRANS_RATE", "rate"},
            {"CONTACT_MISIDENTIFICATION_TYPE", "29"}, {"DEVICE_ENHANCE_VERIFY_TYPE", "30"},
            {"SHARE_DETECT_TYPE_IN_RECV", "31"}, {"CONSUMED_TIME", "5000000000"}, {"CONCURRENT_ID", "c_1"}};
        std::istringstream list(keys);
        std::string fields;
        for (std::string key; list >> key;) {
            fields += (fields.empty() ? "" : " ") + key + "=" + values.at(key);
        }
        return fields;
    }

    // What was written since the last call.
    std::vector<std::string> Written()
    {
        std::vector<std::string> fields;
        for (const Host::SysEvent& event : Host::ReadSysEvents(from_)) {
            from_ = event.seq;
            EXPECT_EQ(event.domain + "/" + event.name, "PELAGO/SHARE_RADAR_BEHAVIOR");
            EXPECT_EQ(event.type, 4);
            fields.push_back(Fields(event));
        }
        return fields;
    }
    std::string Value(const std::string& key)
    {
        const std::vector<std::string> events = Written();
        const std::string last = events.empty() ? "" : " " + events.back() + " ";
        const size_t at = last.find(" " + key + "=");
        return at == std::string::npos ? "nothing"
                                       : last.substr(at + key.size() + 2, last.find(' ', at + 1) - at - key.size() - 2);
    }

    ShareRadarDfx radar_;
    LogTap tap_;
    uint64_t from_ = Host::LastSysEventSeq();
};

TEST_F(ShareRadarDfxTest, EachEventHasItsKeysInTheirOrder)
{
    struct Row {
        const char* name;
        int32_t scene;
        int32_t stage;
        int32_t isBytesShare;
        std::string keys;
    };
    const Row rows[] = {
        {"nudge discover", 3, 502, 0, NUDGE},
        {"preview", 3, 1, 0, PREVIEW},
        {"connect", 5, 7, 0, CONNECT},
        {"trans", 7, 18, 0, TRANS},
        {"bytes trans", 7, 18, 1, BYTES_TRANS},
        {"receive", 4, STAGE, 0, RECEIVE},
        {"old receive, end", 6, STAGE, 0, RECV_FINISH},
        {"old receive, end, bytes", 6, STAGE, 1, RECEIVE},
        {"old receive, before the end", 6, STAGE - 1, 0, RECEIVE},
    };
    for (const Row& row : rows) {
        for (int32_t state : {RadarState::IN_PROGRESS, RadarState::BEGIN}) {
            SCOPED_TRACE(std::string(row.name) + ", state " + std::to_string(state));
            std::string keys = row.keys;
            if (state != RadarState::IN_PROGRESS) {
                keys.replace(keys.find("ORG_PKG"), 0, "BIZ_STATE ");
            }
            Fill(row.scene, row.isBytesShare);
            radar_.ReportShareRadarInfo("Func", row.stage, 3, state, 5);
            EXPECT_EQ(Written(), std::vector<std::string>{Expected(keys, row.scene, row.stage, state)});
            EXPECT_EQ(radar_.GetRecord().bizStage, row.stage);
        }
    }
}

TEST_F(ShareRadarDfxTest, ASwingIsReportedInEveryScene)
{
    for (int32_t state : {RadarState::IN_PROGRESS, RadarState::END}) {
        Fill(RadarScene::NONE);
        radar_.RefreshLocalDeviceStateInf();
        radar_.ReportSwingDiscoveryEvent("Func", RadarStage::SWING_GESTURE, 3, state, 5);
        EXPECT_EQ(Written(), std::vector<std::string>{Expected(SWING, 0, RadarStage::SWING_GESTURE, state)});
        EXPECT_EQ(radar_.GetConcurrentId(), "c_1") << "nothing is cleared";
    }
}

TEST_F(ShareRadarDfxTest, AContactSendNeedsNoRecord)
{
    ShareRadarDfx::ReportContactSendEvent(0, 1, 0, -1);
    ShareRadarDfx::ReportContactSendEvent(1, 0, 0, 2);
    const std::vector<std::string> expected = {
        "FUNC=ReportContactSendEvent BIZ_SCENE=3 BIZ_STAGE=0 STAGE_RES=0 ERROR_CODE=0 BIZ_STATE=1 ORG_PKG=pelago "
        "TRIGGER_MODE=0 COMM_SERV=2 TO_CALL_PKG= CONTACT_SHARE_SEND_DEVICE_COUNTS=-1",
        "FUNC=ReportContactSendEvent BIZ_SCENE=3 BIZ_STAGE=0 STAGE_RES=1 ERROR_CODE=0 ORG_PKG=pelago "
        "TRIGGER_MODE=0 COMM_SERV=2 TO_CALL_PKG= CONTACT_SHARE_SEND_DEVICE_COUNTS=2"};
    EXPECT_EQ(Written(), expected);
}

TEST_F(ShareRadarDfxTest, TheStageOfASendChoosesTheEvent)
{
    struct Row {
        int32_t stage;
        std::string keys; // empty: nothing is written
    };
    const Row rows[] = {{INT32_MIN, PREVIEW}, {0, PREVIEW}, {4, PREVIEW}, {5, ""}, {6, PREVIEW}, {7, CONNECT},
        {17, CONNECT}, {18, TRANS}, {21, TRANS}, {22, CONNECT}, {23, CONNECT}, {24, ""}, {25, CONNECT}, {26, CONNECT},
        {27, ""}, {99, ""}, {100, PREVIEW}, {101, CONNECT}, {169, CONNECT}, {170, TRANS}, {180, TRANS}, {181, ""},
        {499, ""}, {500, NUDGE}, {506, NUDGE}, {507, ""}, {INT32_MAX, ""}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.stage);
        Fill(RadarScene::SEND);
        (void)tap_.Take();
        radar_.ReportShareRadarInfo("Func", row.stage, 3, 0, 5);
        const std::vector<std::string> written = Written();
        if (!row.keys.empty()) {
            EXPECT_EQ(written, std::vector<std::string>{Expected(row.keys, 3, row.stage, 0)});
            continue;
        }
        EXPECT_EQ(written, std::vector<std::string>());
        const bool dropped = row.stage == 5 || row.stage == 24;
        const std::string stage = std::to_string(row.stage);
        EXPECT_EQ(
            tap_.Take(), dropped ? Lines()
                                 : LinesOf(Log::SHARE, {"Start report share send/recv files stage: " + stage + ", 3, 0",
                                                           "undefined bizStage=" + stage}));
    }
}

TEST_F(ShareRadarDfxTest, OtherScenesWriteNothing)
{
    struct Row {
        int32_t scene;
        int32_t stage;
        bool stored;
    };
    const Row rows[] = {{0, 1, false}, {-1, 1, false}, {1, 1, true}, {2, 5, true}, {2, 24, true}, {1, 5, false},
        {8, 24, false}, {8, 7, true}};
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.scene) + ", " + std::to_string(row.stage));
        radar_.ClearReportInfo();
        Fill(row.scene);
        radar_.ReportShareRadarInfo("Func", row.stage, 3, 0, 5);
        EXPECT_EQ(Written(), std::vector<std::string>());
        EXPECT_EQ(radar_.GetRecord().bizStage, row.stored ? row.stage : 0);
    }
}

TEST_F(ShareRadarDfxTest, ErrorsArePositiveButForMinusOne)
{
    struct Row {
        int32_t told;
        int32_t written;
    };
    const Row rows[] = {{0, 0}, {-1, -1}, {-5, 5}, {445317121, 445317121}, {-INT32_MAX, INT32_MAX}};
    for (const Row& row : rows) {
        Fill(RadarScene::SEND);
        radar_.ReportShareRadarInfo("Func", TAP_STAGE, 3, 0, row.told);
        EXPECT_EQ(Value("ERROR_CODE"), std::to_string(row.written));
    }
    radar_.ReportSwingDiscoveryEvent("Func", RadarStage::SWING_SEND, 2, 2, -5);
    EXPECT_EQ(Value("ERROR_CODE"), "-5") << "a swing reports what it is told";
}

TEST_F(ShareRadarDfxTest, SizesAreToldInMebibytesAndOneMore)
{
    struct Row {
        int64_t bytes;
        int64_t told;
    };
    const Row rows[] = {{0, 0}, {1, 1}, {1048575, 1}, {1048576, 2}, {1048577, 2}, {INT64_MAX, 8796093022208}};
    for (const Row& row : rows) {
        Fill(RadarScene::SEND);
        radar_.Edit([&](RadarRecord& record) { record.fileSize = row.bytes; });
        radar_.ReportShareRadarInfo("Func", 1, 3, 0, 5);
        EXPECT_EQ(Value("FILE_SIZE"), std::to_string(row.told));
    }
}

TEST_F(ShareRadarDfxTest, AfterTheEndNothingIsReportedUntilTheNextAttempt)
{
    Fill(RadarScene::SEND);
    radar_.ReportShareRadarInfo("Func", TAP_STAGE, 3, RadarState::END, 5);
    EXPECT_EQ(Written().size(), 1U);
    radar_.ReportShareRadarInfo("Func", TAP_STAGE, 3, RadarState::END, 5);
    EXPECT_EQ(Written().size(), 0U);

    const RadarRecord record = radar_.GetRecord();
    EXPECT_EQ(record.orgPkg + record.toCallPkg + record.localUdid + record.localDevType + record.concurrentId, "");
    EXPECT_EQ(record.bizStage, 0);
    EXPECT_EQ(record.localWifiState, 0) << "-1 belongs to a new record only";
    EXPECT_EQ(record.peerNearbyVersion, -1);
    EXPECT_EQ(record.fileType, -1);
    EXPECT_EQ(record.shareDetectTypeInRecv, -1);
    EXPECT_EQ(record.consumedTime, 0);
    EXPECT_EQ(RadarRecord().localWifiState, -1);

    radar_.InitBizStageInfo("pelago", RadarTrigger::TAP, RADAR_COMM_SERV, RadarScene::SEND);
    radar_.ReportShareRadarInfo("Func", TAP_STAGE, 0, RadarState::BEGIN, 0);
    EXPECT_EQ(Written().size(), 1U);
}

TEST_F(ShareRadarDfxTest, AReportThatIsRefusedStillEndsTheAttempt)
{
    Fill(RadarScene::SEND);
    Host::RefuseSysEvents(1);
    radar_.ReportShareRadarInfo("Func", TAP_STAGE, 3, RadarState::END, 5);
    EXPECT_EQ(Written().size(), 0U);
    EXPECT_EQ(radar_.GetRecord().bizScene, RadarScene::NONE);
}

TEST_F(ShareRadarDfxTest, RadiosAreAskedForEachReport)
{
    EXPECT_EQ(radar_.GetRecord().localWifiState, -1) << "never asked";
    struct Row {
        Host::BluetoothMode mode;
        int32_t state;
    };
    for (const Row& row :
        {Row{Host::BluetoothMode::ON, 1}, {Host::BluetoothMode::BLE_ONLY, 3}, {Host::BluetoothMode::OFF, 2}}) {
        Device::Instance().SwitchBluetooth(row.mode);
        ASSERT_TRUE(Scheduler::Instance().Advance(10'000));
        Fill(RadarScene::SEND);
        radar_.ReportShareRadarInfo("Func", 1, 3, 0, 5);
        EXPECT_EQ(Value("LOCAL_BLE_STATE"), std::to_string(row.state));
    }
    for (const char* fault : {"wifi.GetInstance", "wifi.GetWifiDetailState"}) {
        EXPECT_EQ(radar_.GetRecord().localWifiState, 1);
        Host::Faults::Inject(fault);
        radar_.RefreshLocalDeviceStateInf();
        EXPECT_EQ(radar_.GetRecord().localWifiState, -1);
        radar_.RefreshLocalDeviceStateInf();
    }
}

TEST_F(ShareRadarDfxTest, OnlyTapAndSwingHaveAnIdThatBothSidesKnow)
{
    for (int32_t trigger : {RadarTrigger::TAP, RadarTrigger::SWING}) {
        radar_.SetConcurrentId("");
        radar_.GenerateConcurrentId("device", trigger);
        const std::string id = radar_.GetConcurrentId();
        ASSERT_EQ(id.substr(0, 7), "device_");
        EXPECT_GT(std::stoll(id.substr(7)), 0);
    }
    radar_.SetConcurrentId("c_1");
    (void)tap_.Take();
    radar_.GenerateConcurrentId("device", RadarTrigger::NONE);
    EXPECT_EQ(radar_.GetConcurrentId(), "c_1");
    EXPECT_EQ(tap_.Take(), LinesOf(Log::SHARE, {"TriggerMode 0 not support generate concurrentId"}));
}

} // namespace
} // namespace OHOS::Pelago
