#ifndef PELAGO_COMMON_SHARE_RADAR_DFX_H
#define PELAGO_COMMON_SHARE_RADAR_DFX_H

#include <cstdint>
#include <string>

#include "share_mutex.h"

namespace OHOS::Pelago {

// How a share was begun; only these two have ids that both sides know.
namespace RadarTrigger {
inline constexpr int32_t NONE = 0;
inline constexpr int32_t TAP = 2;
inline constexpr int32_t SWING = 3;
} // namespace RadarTrigger

// The scene of a record decides which events it can write.
namespace RadarScene {
inline constexpr int32_t NONE = 0; // this and below: nothing is reported
inline constexpr int32_t SEND = 3; // 5 and 7 are sends too
inline constexpr int32_t RECEIVE = 4;
inline constexpr int32_t SEND_5 = 5;
inline constexpr int32_t OLD_RECEIVE = 6;
inline constexpr int32_t SEND_7 = 7;
} // namespace RadarScene

// The stages that this system reports itself. The others have their meaning in the engine.
namespace RadarStage {
inline constexpr int32_t SWING_GESTURE = 30;
inline constexpr int32_t SWING_SEND = 31;
inline constexpr int32_t TAP = 502;
} // namespace RadarStage

namespace RadarResult {
inline constexpr int32_t STARTED = 0;
inline constexpr int32_t SUCCESS = 1;
inline constexpr int32_t FAILED = 2;
inline constexpr int32_t CANCELLED = 3;
inline constexpr int32_t REFUSED = 4;
} // namespace RadarResult

namespace RadarState {
inline constexpr int32_t IN_PROGRESS = 0;
inline constexpr int32_t BEGIN = 1;
inline constexpr int32_t END = 2;
} // namespace RadarState

inline constexpr int32_t RADAR_COMM_SERV = 2; // the service's part of every record

// What is known of one share attempt. The defaults are those of a new attempt.
struct RadarRecord {
    std::string orgPkg;
    int32_t triggerMode = RadarTrigger::NONE;
    int32_t commServ = 0;
    int32_t bizScene = RadarScene::NONE;
    int32_t bizStage = 0; // the last stage that was reported
    std::string toCallPkg;
    std::string localSessName;
    std::string localUdid;    // hashed and made anonymous
    std::string localDevType; // hexadecimal
    int32_t localBleState = 0;
    int32_t localWifiState = -1;
    std::string peerSessName;
    std::string peerUdid;
    std::string peerDevType;
    std::string peerBleMac;
    std::string peerNetId;
    int32_t peerNearbyVersion = -1;
    std::string peerDeviceVersion;
    int32_t isTrust = 0;
    int32_t accountType = 0;
    int32_t chType = 0;
    int64_t fileSize = 0; // bytes; written in MiB, one more than are full
    int32_t fileNum = 0;
    int32_t fileType = -1;
    int32_t netType = 0;
    std::string transRate;
    int32_t isBytesShare = 0; // not written; not 0: the events for a send of bytes
    int32_t contactMisidentificationType = 0;
    int32_t deviceEnhanceVerifyType = 0;
    int32_t shareDetectTypeInRecv = -1;
    int64_t consumedTime = 0; // as the engine gives it
    std::string concurrentId;
};

// Telemetry of one share attempt: is filled as the attempt goes on and writes one system event per report. Held by
// shared pointer by every object that takes part in the attempt; any thread may call, a lock inside keeps a report
// whole. A report that the platform does not take is lost without a word: telemetry never stands in the way of a share.
class ShareRadarDfx {
public:
    ShareRadarDfx() = default;
    ShareRadarDfx(const ShareRadarDfx&) = delete;
    ShareRadarDfx& operator=(const ShareRadarDfx&) = delete;

    // Begins an attempt: stores the arguments and who this device is. What else the record holds stays.
    void InitBizStageInfo(const std::string& orgPkg, int32_t triggerMode, int32_t commServ, int32_t bizScene);

    // The general report. The scene and the stage choose the event; without a scene nothing happens. `funcName` is the
    // caller's, `bizState` one of RadarState: an END clears the record, and nothing more is reported until
    // InitBizStageInfo.
    void ReportShareRadarInfo(
        const std::string& funcName, int32_t bizStage, int32_t stageRes, int32_t bizState, int32_t errCode);
    // Reports a gesture. It asks for no scene, does not ask the radios anew, and clears nothing.
    void ReportSwingDiscoveryEvent(
        const std::string& funcName, int32_t bizStage, int32_t stageRes, int32_t bizState, int32_t errCode);
    // Reports a send to all devices of a contact. Belongs to no attempt and needs no record.
    static void ReportContactSendEvent(int32_t stageRes, int32_t bizState, int32_t errCode, int32_t deviceCount);

    // Gives the attempt an id that both sides know: the device's, and the time. Other triggers than tap and swing have
    // none, and leave the old one.
    void GenerateConcurrentId(const std::string& deviceId, int32_t triggerMode);
    void SetConcurrentId(const std::string& concurrentId);
    [[nodiscard]] std::string GetConcurrentId() const;

    // Forgets the attempt.
    void ClearReportInfo();
    // Asks both radios for their state.
    void RefreshLocalDeviceStateInf();
    // The anonymous form of the hash of this device's UDID.
    [[nodiscard]] static std::string GetLocalUdid();

    // Runs `edit` on the record, under its lock: it must not call back into this object.
    template <typename F>
    void Edit(F&& edit)
    {
        MutexLock lock(mutex_);
        edit(record_);
    }
    [[nodiscard]] RadarRecord GetRecord() const;

private:
    mutable Mutex mutex_{"ShareRadarDfx::mutex_", LockRank::LEAF};
    RadarRecord record_ SHARE_GUARDED_BY(mutex_);
};

} // namespace OHOS::Pelago

#endif // PELAGO_COMMON_SHARE_RADAR_DFX_H
