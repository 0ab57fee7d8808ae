#include "share_radar_dfx.h"

#include <tuple>
#include <type_traits>
#include <utility>

#include "common_utils.h"
#include "hisysevent.h"
#include "share_log.h"

namespace OHOS::Pelago {
namespace {

constexpr const char* RADAR_DOMAIN = "PELAGO";
constexpr const char* RADAR_EVENT = "SHARE_RADAR_BEHAVIOR";

constexpr int64_t MIB = 1048576;

constexpr int32_t BLE_STATE_BLUETOOTH_ON = 1;
constexpr int32_t BLE_STATE_NEITHER = 2;
constexpr int32_t BLE_STATE_BLE_ONLY = 3;

constexpr int32_t SCENE_WITH_ALL_STAGES = 2;
constexpr int32_t DROPPED_STAGES[] = {5, 24}; // in every other scene
constexpr int32_t RECEIVE_FINISH_STAGE = 250;

// Sizes are told in MiB, one more than are full; nothing stays nothing.
int64_t FileSizeMib(int64_t size)
{
    return size == 0 ? 0 : size / MIB + 1;
}

// One report: the record at this moment, and what its caller says.
struct Report {
    Report(const RadarRecord& from, const std::string& func, int32_t stage, int32_t res, int32_t state, int32_t code,
        int32_t count = 0)
        : record(from), funcName(func), bizStage(stage), stageRes(res), bizState(state), errCode(code),
          deviceCount(count), fileSizeMib(FileSizeMib(from.fileSize))
    {}

    const RadarRecord& record;
    std::string funcName;
    int32_t bizStage;
    int32_t stageRes;
    int32_t bizState;
    int32_t errCode;
    int32_t deviceCount;
    int64_t fileSizeMib;
};

// ---- Keys: the name that is written, and where the value comes from ----

template <class Source, class T>
struct Key {
    constexpr Key(const char* nameOfKey, T Source::*fieldOfSource) : name(nameOfKey), field(fieldOfSource)
    {}

    const T& Value(const Report& report) const
    {
        if constexpr (std::is_same_v<Source, Report>) {
            return report.*field;
        } else {
            return report.record.*field;
        }
    }

    const char* name;
    T Source::*field;
};

using R = RadarRecord;

constexpr Key FUNC{"FUNC", &Report::funcName};
constexpr Key BIZ_STAGE{"BIZ_STAGE", &Report::bizStage};
constexpr Key STAGE_RES{"STAGE_RES", &Report::stageRes};
constexpr Key BIZ_STATE{"BIZ_STATE", &Report::bizState};
constexpr Key ERROR_CODE{"ERROR_CODE", &Report::errCode};
constexpr Key CONTACT_DEVICE_COUNTS{"CONTACT_SHARE_SEND_DEVICE_COUNTS", &Report::deviceCount};
constexpr Key ORG_PKG{"ORG_PKG", &R::orgPkg};
constexpr Key TRIGGER_MODE{"TRIGGER_MODE", &R::triggerMode};
constexpr Key COMM_SERV{"COMM_SERV", &R::commServ};
constexpr Key BIZ_SCENE{"BIZ_SCENE", &R::bizScene};
constexpr Key TO_CALL_PKG{"TO_CALL_PKG", &R::toCallPkg};
constexpr Key LOCAL_SESS_NAME{"LOCAL_SESS_NAME", &R::localSessName};
constexpr Key LOCAL_UDID{"LOCAL_UDID", &R::localUdid};
constexpr Key LOCAL_DEV_TYPE{"LOCAL_DEV_TYPE", &R::localDevType};
constexpr Key LOCAL_BLE_STATE{"LOCAL_BLE_STATE", &R::localBleState};
constexpr Key LOCAL_WIFI_STATE{"LOCAL_WIFI_STATE", &R::localWifiState};
constexpr Key PEER_SESS_NAME{"PEER_SESS_NAME", &R::peerSessName};
constexpr Key PEER_UDID{"PEER_UDID", &R::peerUdid};
constexpr Key PEER_DEV_TYPE{"PEER_DEV_TYPE", &R::peerDevType};
constexpr Key PEER_BLE_MAC{"PEER_BLE_MAC", &R::peerBleMac};
constexpr Key PEER_NET_ID{"PEER_NET_ID", &R::peerNetId};
constexpr Key PEER_NEARBY_VERSION{"PEER_NEARBY_VERSION", &R::peerNearbyVersion};
constexpr Key PEER_DEVICE_VERSION{"PEER_DEVICE_VERSION", &R::peerDeviceVersion};
constexpr Key IS_TRUST{"IS_TRUST", &R::isTrust};
constexpr Key ACCOUNT_TYPE{"ACCOUNT_TYPE", &R::accountType};
constexpr Key CH_TYPE{"CH_TYPE", &R::chType};
constexpr Key FILE_SIZE{"FILE_SIZE", &Report::fileSizeMib};
constexpr Key FILE_NUM{"FILE_NUM", &R::fileNum};
constexpr Key FILE_TYPE{"FILE_TYPE", &R::fileType};
constexpr Key NET_TYPE{"NET_TYPE", &R::netType};
constexpr Key TRANS_RATE{"TRANS_RATE", &R::transRate};
constexpr Key CONTACT_MISIDENTIFICATION_TYPE{"CONTACT_MISIDENTIFICATION_TYPE", &R::contactMisidentificationType};
constexpr Key DEVICE_ENHANCE_VERIFY_TYPE{"DEVICE_ENHANCE_VERIFY_TYPE", &R::deviceEnhanceVerifyType};
constexpr Key SHARE_DETECT_TYPE_IN_RECV{"SHARE_DETECT_TYPE_IN_RECV", &R::shareDetectTypeInRecv};
constexpr Key CONSUMED_TIME{"CONSUMED_TIME", &R::consumedTime};
constexpr Key CONCURRENT_ID{"CONCURRENT_ID", &R::concurrentId};

// ---- Events: keys in the order in which they are written ----

// How an event begins; BIZ_STATE follows, when there is one to tell, and then the event's own keys.
constexpr auto RECEIVE_HEAD = std::tuple(BIZ_SCENE, BIZ_STAGE, STAGE_RES, ERROR_CODE);
constexpr auto HEAD = std::tuple_cat(std::tuple(FUNC), RECEIVE_HEAD);

constexpr auto NUDGE_DISCOVER = std::tuple(ORG_PKG, TRIGGER_MODE, COMM_SERV, LOCAL_DEV_TYPE, LOCAL_UDID, CONCURRENT_ID);

constexpr auto PREVIEW = std::tuple(ORG_PKG, TRIGGER_MODE, COMM_SERV, LOCAL_DEV_TYPE, LOCAL_UDID, LOCAL_BLE_STATE,
    LOCAL_WIFI_STATE, PEER_UDID, PEER_DEV_TYPE, PEER_BLE_MAC, PEER_NET_ID, IS_TRUST, CH_TYPE, FILE_SIZE, FILE_NUM,
    FILE_TYPE, CONCURRENT_ID, ACCOUNT_TYPE, PEER_NEARBY_VERSION);

constexpr auto CONNECT = std::tuple_cat(PREVIEW, std::tuple(TO_CALL_PKG, LOCAL_SESS_NAME, PEER_SESS_NAME, NET_TYPE,
                                                     DEVICE_ENHANCE_VERIFY_TYPE, CONSUMED_TIME, PEER_DEVICE_VERSION));

constexpr auto TRANS =
    std::tuple_cat(PREVIEW, std::tuple(TO_CALL_PKG, LOCAL_SESS_NAME, PEER_SESS_NAME, TRANS_RATE, PEER_DEVICE_VERSION));

constexpr auto BYTES_TRANS =
    std::tuple_cat(PREVIEW, std::tuple(TO_CALL_PKG, LOCAL_SESS_NAME, PEER_SESS_NAME, PEER_DEVICE_VERSION));

constexpr auto RECEIVE = std::tuple(ORG_PKG, TRIGGER_MODE, COMM_SERV, LOCAL_UDID, LOCAL_BLE_STATE, LOCAL_WIFI_STATE,
    LOCAL_DEV_TYPE, SHARE_DETECT_TYPE_IN_RECV, CONTACT_MISIDENTIFICATION_TYPE, PEER_NET_ID, PEER_DEVICE_VERSION);

constexpr auto RECV_FINISH = std::tuple(ORG_PKG, TRIGGER_MODE, COMM_SERV, LOCAL_UDID, LOCAL_BLE_STATE, LOCAL_WIFI_STATE,
    LOCAL_DEV_TYPE, SHARE_DETECT_TYPE_IN_RECV, CONTACT_MISIDENTIFICATION_TYPE, TRANS_RATE, PEER_DEVICE_VERSION);

constexpr auto CONTACT_SEND = std::tuple(ORG_PKG, TRIGGER_MODE, COMM_SERV, TO_CALL_PKG, CONTACT_DEVICE_COUNTS);

// The one event that always tells its state, and earlier than the others.
constexpr auto SWING_DISCOVERY = std::tuple(FUNC, BIZ_SCENE, BIZ_STAGE, STAGE_RES, BIZ_STATE, ERROR_CODE, ORG_PKG,
    TRIGGER_MODE, TO_CALL_PKG, LOCAL_UDID, LOCAL_DEV_TYPE, LOCAL_BLE_STATE, LOCAL_WIFI_STATE, PEER_UDID, PEER_DEV_TYPE,
    PEER_BLE_MAC, PEER_NEARBY_VERSION, CONCURRENT_ID);

// Of the list "key, value, key, value, ..." the element I.
template <size_t I, class Keys>
const auto& Element(const Keys& keys, const Report& report)
{
    const auto& key = std::get<I / 2>(keys);
    if constexpr (I % 2 == 0) {
        return key.name;
    } else {
        return key.Value(report);
    }
}

template <class Keys, size_t... I>
void WriteKeys(const Keys& keys, const Report& report, std::index_sequence<I...>)
{
    // The platform limits the rate and may refuse; telemetry is lost without a word.
    (void)HiSysEventWrite(
        RADAR_DOMAIN, RADAR_EVENT, HiviewDFX::HiSysEvent::EventType::BEHAVIOR, Element<I>(keys, report)...);
}

template <class... Keys>
void WriteKeys(const std::tuple<Keys...>& keys, const Report& report)
{
    WriteKeys(keys, report, std::make_index_sequence<2 * sizeof...(Keys)>());
}

// The two forms of an event.
template <const auto& HEAD_KEYS, const auto& OWN_KEYS>
void WriteEvent(const Report& report)
{
    static constexpr auto WITHOUT_STATE = std::tuple_cat(HEAD_KEYS, OWN_KEYS);
    static constexpr auto WITH_STATE = std::tuple_cat(HEAD_KEYS, std::tuple(BIZ_STATE), OWN_KEYS);
    if (report.bizState == RadarState::IN_PROGRESS) {
        WriteKeys(WITHOUT_STATE, report);
    } else {
        WriteKeys(WITH_STATE, report);
    }
}

// ---- Which event a report writes ----

void ReportNudgeDiscoverEvent(const Report& report)
{
    WriteEvent<HEAD, NUDGE_DISCOVER>(report);
}

void ReportPreviewEvent(const Report& report)
{
    WriteEvent<HEAD, PREVIEW>(report);
}

void ReportConnectEvent(const Report& report)
{
    WriteEvent<HEAD, CONNECT>(report);
}

void ReportBytesTransEvent(const Report& report)
{
    WriteEvent<HEAD, BYTES_TRANS>(report);
}

void ReportTransEvent(const Report& report)
{
    if (report.record.isBytesShare != 0) {
        ReportBytesTransEvent(report);
    } else {
        WriteEvent<HEAD, TRANS>(report);
    }
}

void ReportReceiveEvent(const Report& report)
{
    WriteEvent<RECEIVE_HEAD, RECEIVE>(report);
}

void ReportRecvFinishEvent(const Report& report)
{
    WriteEvent<HEAD, RECV_FINISH>(report);
}

void ReportOldReceiveEvent(const Report& report)
{
    if (report.bizStage == RECEIVE_FINISH_STAGE && report.record.isBytesShare == 0) {
        ReportRecvFinishEvent(report);
    } else {
        ReportReceiveEvent(report);
    }
}

struct StageRange {
    int32_t first;
    int32_t last;
    void (*write)(const Report&);
};
constexpr StageRange SEND_STAGES[] = {
    {INT32_MIN, 6, ReportPreviewEvent},
    {7, 17, ReportConnectEvent},
    {18, 21, ReportTransEvent},
    {22, 23, ReportConnectEvent},
    {25, 26, ReportConnectEvent},
    {100, 100, ReportPreviewEvent},
    {101, 169, ReportConnectEvent},
    {170, 180, ReportTransEvent},
    {500, 506, ReportNudgeDiscoverEvent},
};

void ReportSendEvent(const Report& report)
{
    for (const StageRange& range : SEND_STAGES) {
        if (report.bizStage >= range.first && report.bizStage <= range.last) {
            range.write(report);
            return;
        }
    }
    SHARE_LOGE(Log::SHARE, "undefined bizStage=%{public}d", report.bizStage);
}

// Scenes without a case report nothing.
void ReportByScene(const Report& report)
{
    switch (report.record.bizScene) {
        case RadarScene::SEND:
        case RadarScene::SEND_5:
        case RadarScene::SEND_7:
            ReportSendEvent(report);
            break;
        case RadarScene::RECEIVE:
            ReportReceiveEvent(report);
            break;
        case RadarScene::OLD_RECEIVE:
            ReportOldReceiveEvent(report);
            break;
        default:
            break;
    }
}

bool IsDropped(int32_t bizScene, int32_t bizStage)
{
    return bizScene <= RadarScene::NONE ||
           (bizScene != SCENE_WITH_ALL_STAGES && (bizStage == DROPPED_STAGES[0] || bizStage == DROPPED_STAGES[1]));
}

// Errors are told as positive numbers, but -1 says that there is none to tell.
int32_t ReportedError(int32_t errCode)
{
    return errCode < 0 && errCode != -1 ? static_cast<int32_t>(0U - static_cast<uint32_t>(errCode)) : errCode;
}

int32_t BleState()
{
    if (CommonUtils::IsBluetoothEnable()) {
        return BLE_STATE_BLUETOOTH_ON;
    }
    return CommonUtils::IsBleAvailable() ? BLE_STATE_BLE_ONLY : BLE_STATE_NEITHER;
}

void RefreshRadios(RadarRecord& record)
{
    record.localBleState = BleState();
    int wifi = -1;
    (void)CommonUtils::GetWifiState(wifi); // -1 stands when it does not answer
    record.localWifiState = wifi;
}

void Clear(RadarRecord& record)
{
    record = RadarRecord();
    record.localWifiState = 0; // only a new record says that it has never asked
}

} // namespace

void ShareRadarDfx::InitBizStageInfo(const std::string& orgPkg, int32_t triggerMode, int32_t commServ, int32_t bizScene)
{
    std::string udid = GetLocalUdid();
    std::string type = CommonUtils::ConvertHexToString(CommonUtils::GetLocalDeviceType());
    MutexLock lock(mutex_);
    record_.orgPkg = orgPkg;
    record_.triggerMode = triggerMode;
    record_.commServ = commServ;
    record_.bizScene = bizScene;
    record_.localUdid = std::move(udid);
    record_.localDevType = std::move(type);
}

void ShareRadarDfx::ReportShareRadarInfo(
    const std::string& funcName, int32_t bizStage, int32_t stageRes, int32_t bizState, int32_t errCode)
{
    MutexLock lock(mutex_); // over the write too: a report is either before the end of the attempt or after it
    if (IsDropped(record_.bizScene, bizStage)) {
        return;
    }
    record_.bizStage = bizStage;
    SHARE_LOGI(Log::SHARE, "Start report share send/recv files stage: %{public}d, %{public}d, %{public}d", bizStage,
        stageRes, bizState);
    RefreshRadios(record_);
    ReportByScene(Report(record_, funcName, bizStage, stageRes, bizState, ReportedError(errCode)));
    if (bizState == RadarState::END) {
        Clear(record_);
    }
}

void ShareRadarDfx::ReportSwingDiscoveryEvent(
    const std::string& funcName, int32_t bizStage, int32_t stageRes, int32_t bizState, int32_t errCode)
{
    MutexLock lock(mutex_);
    record_.bizStage = bizStage;
    WriteKeys(SWING_DISCOVERY, Report(record_, funcName, bizStage, stageRes, bizState, errCode));
}

void ShareRadarDfx::ReportContactSendEvent(int32_t stageRes, int32_t bizState, int32_t errCode, int32_t deviceCount)
{
    // Nobody tells this event more than its arguments and its package: the rest is our choice.
    RadarRecord record;
    record.orgPkg = "pelago";
    record.bizScene = RadarScene::SEND;
    record.commServ = RADAR_COMM_SERV;
    WriteEvent<HEAD, CONTACT_SEND>(
        Report(record, "ReportContactSendEvent", record.bizStage, stageRes, bizState, errCode, deviceCount));
}

void ShareRadarDfx::GenerateConcurrentId(const std::string& deviceId, int32_t triggerMode)
{
    if (triggerMode != RadarTrigger::TAP && triggerMode != RadarTrigger::SWING) {
        SHARE_LOGE(Log::SHARE, "TriggerMode %{public}d not support generate concurrentId", triggerMode);
        return;
    }
    SetConcurrentId(deviceId + "_" + std::to_string(CommonUtils::GetCurrentTimestamp()));
}

void ShareRadarDfx::SetConcurrentId(const std::string& concurrentId)
{
    MutexLock lock(mutex_);
    record_.concurrentId = concurrentId;
}

std::string ShareRadarDfx::GetConcurrentId() const
{
    MutexLock lock(mutex_);
    return record_.concurrentId;
}

void ShareRadarDfx::ClearReportInfo()
{
    MutexLock lock(mutex_);
    Clear(record_);
}

void ShareRadarDfx::RefreshLocalDeviceStateInf()
{
    MutexLock lock(mutex_);
    RefreshRadios(record_);
}

std::string ShareRadarDfx::GetLocalUdid()
{
    return CommonUtils::GetAnonymousUdid(CommonUtils::GetLocalDeviceUdidHash(false));
}

RadarRecord ShareRadarDfx::GetRecord() const
{
    MutexLock lock(mutex_);
    return record_;
}

} // namespace OHOS::Pelago
