// The events of telemetry as they are written: which ones, with which keys, in which order.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <tuple>

#include <gtest/gtest.h>

#include "cJSON.h"
#include "filled.h"
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

// How many keys an event has tells which one it is.
constexpr size_t NOTHING = 0;
constexpr size_t NUDGE = 11;
constexpr size_t PREVIEW = 24;
constexpr size_t TRANS = 29;
constexpr size_t CONNECT = 31;

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
            using R = RadarRecord;
            Pelago::Fill(record, &R::toCallPkg, "to", &R::localSessName, "localSess", &R::peerSessName, "peerSess",
                &R::peerUdid, "peerUdid", &R::peerDevType, "peerType", &R::peerBleMac, "peerMac", &R::peerNetId,
                "peerNet", &R::peerNearbyVersion, 21, &R::peerDeviceVersion, "peerVersion", &R::isTrust, 22,
                &R::accountType, 23, &R::chType, 24, &R::fileSize, 1048576, &R::fileNum, 26, &R::fileType, 27,
                &R::netType, 28, &R::transRate, "rate", &R::isBytesShare, isBytesShare,
                &R::contactMisidentificationType, 29, &R::deviceEnhanceVerifyType, 30, &R::shareDetectTypeInRecv, 31,
                &R::consumedTime, 5'000'000'000, &R::concurrentId, "c_1");
        });
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
    // Whether one event was written since, and has this field.
    bool Wrote(const std::string& field)
    {
        const std::vector<std::string> events = Written();
        return events.size() == 1 && (" " + events[0] + " ").find(" " + field + " ") != std::string::npos;
    }

    ShareRadarDfx radar_;
    LogTap tap_;
    uint64_t from_ = Host::LastSysEventSeq();
};

TEST_F(ShareRadarDfxTest, EachEventHasItsKeysInTheirOrder)
{
    std::ifstream file(RADAR_EVENTS);
    size_t rows = 0;
    for (std::string row; std::getline(file, row);) {
        int32_t scene = 0;
        int32_t stage = 0;
        int32_t isBytesShare = 0;
        int32_t state = 0;
        if (std::sscanf(row.c_str(), "%d %d %d %d:", &scene, &stage, &isBytesShare, &state) != 4) {
            continue;
        }
        SCOPED_TRACE(row);
        ++rows;
        Fill(scene, isBytesShare);
        radar_.ReportShareRadarInfo("Func", stage, 3, state, 5);
        EXPECT_EQ(Written(), std::vector<std::string>{row.substr(row.find(": ") + 2)});
        EXPECT_EQ(radar_.GetRecord().bizStage, stage);
    }
    EXPECT_EQ(rows, 18U);
}

TEST_F(ShareRadarDfxTest, AContactSendNeedsNoRecordAndASwingIsReportedInEverySceneAndClearsNothing)
{
    ShareRadarDfx::ReportContactSendEvent(0, 1, 0, -1);
    ShareRadarDfx::ReportContactSendEvent(1, 0, 0, 2);
    Fill(RadarScene::NONE);
    radar_.ReportSwingDiscoveryEvent("Func", RadarStage::SWING_SEND, 3, RadarState::END, -5);
    const std::vector<std::string> expected = {
        "FUNC=ReportContactSendEvent BIZ_SCENE=3 BIZ_STAGE=0 STAGE_RES=0 ERROR_CODE=0 BIZ_STATE=1 ORG_PKG=pelago "
        "TRIGGER_MODE=0 COMM_SERV=2 TO_CALL_PKG= CONTACT_SHARE_SEND_DEVICE_COUNTS=-1",
        "FUNC=ReportContactSendEvent BIZ_SCENE=3 BIZ_STAGE=0 STAGE_RES=1 ERROR_CODE=0 ORG_PKG=pelago "
        "TRIGGER_MODE=0 COMM_SERV=2 TO_CALL_PKG= CONTACT_SHARE_SEND_DEVICE_COUNTS=2",
        "FUNC=Func BIZ_SCENE=0 BIZ_STAGE=31 STAGE_RES=3 BIZ_STATE=2 ERROR_CODE=-5 ORG_PKG=pelago "
        "TRIGGER_MODE=12 TO_CALL_PKG=to LOCAL_UDID=BA781**015AD LOCAL_DEV_TYPE=A2F "
        "LOCAL_BLE_STATE=0 LOCAL_WIFI_STATE=-1 PEER_UDID=peerUdid PEER_DEV_TYPE=peerType "
        "PEER_BLE_MAC=peerMac PEER_NEARBY_VERSION=21 CONCURRENT_ID=c_1"};
    EXPECT_EQ(Written(), expected);
    EXPECT_EQ(radar_.GetConcurrentId(), "c_1");
}

TEST_F(ShareRadarDfxTest, TheStageOfASendChoosesTheEventAndOtherScenesWriteNothing)
{
    const std::pair<int32_t, size_t> rows[] = {{INT32_MIN, PREVIEW}, {6, PREVIEW}, {7, CONNECT}, {17, CONNECT},
        {18, TRANS}, {21, TRANS}, {22, CONNECT}, {26, CONNECT}, {27, NOTHING}, {99, NOTHING}, {100, PREVIEW},
        {101, CONNECT}, {169, CONNECT}, {170, TRANS}, {180, TRANS}, {181, NOTHING}, {499, NOTHING}, {500, NUDGE},
        {506, NUDGE}, {507, NOTHING}};
    for (const auto& [stage, event] : rows) {
        Fill(RadarScene::SEND);
        (void)tap_.Take();
        radar_.ReportShareRadarInfo("Func", stage, 3, 0, 5);
        const std::vector<std::string> written = Written();
        const std::string fields = written.empty() ? "" : written[0];
        EXPECT_EQ(static_cast<size_t>(std::count(fields.begin(), fields.end(), '=')), event) << stage;
        EXPECT_EQ(tap_.Take(LOG_ERROR),
            event == NOTHING ? LinesOf(Log::SHARE, {"undefined bizStage=" + std::to_string(stage)}) : Lines());
    }

    // In other scenes nothing is written, and the stage is stored or not.
    for (const auto& [scene, stage, stored] : {std::tuple(0, 1, false), {-1, 1, false}, {1, 1, true}, {2, 5, true},
             {2, 24, true}, {1, 5, false}, {3, 5, false}, {3, 24, false}, {8, 7, true}}) {
        radar_.ClearReportInfo();
        Fill(scene);
        radar_.ReportShareRadarInfo("Func", stage, 3, 0, 5);
        EXPECT_EQ(Written(), std::vector<std::string>());
        EXPECT_EQ(radar_.GetRecord().bizStage, stored ? stage : 0) << scene;
    }
}

TEST_F(ShareRadarDfxTest, ErrorsArePositiveButForMinusOneAndSizesAreInMebibytesAndOneMore)
{
    for (const auto& [key, told, written] : {std::tuple("ERROR_CODE", int64_t{0}, int64_t{0}), {"ERROR_CODE", -1, -1},
             {"ERROR_CODE", -5, 5}, {"ERROR_CODE", -INT32_MAX, INT32_MAX}, {"FILE_SIZE", 0, 0}, {"FILE_SIZE", 1, 1},
             {"FILE_SIZE", 1048575, 1}, {"FILE_SIZE", 1048576, 2}, {"FILE_SIZE", INT64_MAX, 8796093022208}}) {
        Fill(RadarScene::SEND);
        radar_.Edit([size = told](RadarRecord& record) { record.fileSize = size; });
        radar_.ReportShareRadarInfo("Func", 1, 3, 0, static_cast<int32_t>(told));
        EXPECT_TRUE(Wrote(key + ("=" + std::to_string(written)))) << key << " " << told;
    }
}

TEST_F(ShareRadarDfxTest, AfterTheEndNothingIsReportedUntilTheNextAttempt)
{
    Fill(RadarScene::SEND);
    radar_.ReportShareRadarInfo("Func", RadarStage::TAP, 3, RadarState::END, 5);
    EXPECT_EQ(Written().size(), 1U);
    radar_.ReportShareRadarInfo("Func", RadarStage::TAP, 3, RadarState::END, 5);
    EXPECT_EQ(Written().size(), 0U);

    const RadarRecord record = radar_.GetRecord();
    EXPECT_EQ(record.orgPkg + record.toCallPkg + record.localUdid + record.localDevType + record.concurrentId, "");
    EXPECT_EQ(record.bizStage + record.consumedTime, 0);
    EXPECT_EQ(record.localWifiState, 0) << "-1 belongs to a new record only";
    EXPECT_TRUE(record.peerNearbyVersion == -1 && record.fileType == -1 && record.shareDetectTypeInRecv == -1);

    radar_.InitBizStageInfo("pelago", RadarTrigger::TAP, RADAR_COMM_SERV, RadarScene::SEND);
    radar_.ReportShareRadarInfo("Func", RadarStage::TAP, 0, RadarState::BEGIN, 0);
    EXPECT_EQ(Written().size(), 1U);
    Host::RefuseSysEvents(1);
    radar_.ReportShareRadarInfo("Func", RadarStage::TAP, 3, RadarState::END, 5);
    EXPECT_EQ(Written().size(), 0U);
    EXPECT_EQ(radar_.GetRecord().bizScene, RadarScene::NONE) << "a report that is refused ends the attempt too";
}

TEST_F(ShareRadarDfxTest, RadiosAreAskedForEachReport)
{
    EXPECT_EQ(radar_.GetRecord().localWifiState, -1) << "never asked";
    Device::Instance().SwitchBluetooth(Host::BluetoothMode::BLE_ONLY);
    ASSERT_TRUE(Scheduler::Instance().Advance(10'000));
    Fill(RadarScene::SEND);
    radar_.ReportShareRadarInfo("Func", 1, 3, 0, 5);
    EXPECT_TRUE(Wrote("LOCAL_BLE_STATE=3"));
    EXPECT_EQ(radar_.GetRecord().localWifiState, 1);
    Host::Faults::Inject("wifi.GetWifiDetailState");
    radar_.RefreshLocalDeviceStateInf();
    EXPECT_EQ(radar_.GetRecord().localWifiState, -1);
}

TEST_F(ShareRadarDfxTest, OnlyTapAndSwingHaveAnIdThatBothSidesKnow)
{
    for (int32_t trigger : {RadarTrigger::TAP, RadarTrigger::SWING}) {
        radar_.SetConcurrentId("");
        radar_.GenerateConcurrentId("device", trigger);
        const std::string id = radar_.GetConcurrentId();
        EXPECT_TRUE(id.substr(0, 7) == "device_" && std::stoll(id.substr(7)) > 0) << id;
    }
    radar_.SetConcurrentId("c_1");
    radar_.GenerateConcurrentId("device", RadarTrigger::NONE);
    EXPECT_EQ(radar_.GetConcurrentId(), "c_1");
}

} // namespace
} // namespace OHOS::Pelago
