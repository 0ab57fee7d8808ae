#ifndef PELAGO_ENGINE_I_TRANSMIT_CALLBACK_H
#define PELAGO_ENGINE_I_TRANSMIT_CALLBACK_H

#include <string>
#include <vector>

#include "iremote_broker.h"

namespace OHOS::Pelago {

// 12 to 17 are not used; five operations of the interface have no code and never travel.
enum class TransmitCallbackCode : uint32_t {
    ON_PROGESS = 1,
    ON_SUCCESS = 2,
    ON_STATUS = 3,
    ON_ERROR = 4,
    ON_CORVANE_ID_HEAD_IMAGE_RECEIVE = 5,
    ON_TOTAL_FILE_LENGTH = 6,
    ON_SPEED = 7,
    ON_RECV_SUCCESS = 8,
    ON_IMPORT_PROGRESS = 9,
    ON_IMPORT_STARTED = 10,
    ON_DETAIL_ERROR = 11,
    ON_THERMAL_LEVEL_CHANGED = 18,
    ON_RELEASE = 19,
    ON_SWITCH_NOTIFY_COMPONENT = 20,
    ON_NUDGE_CANCEL = 21,
    ON_MOTION_STATE = 22,
    ON_POP_SWING = 23,
};

// What the engine reports of one transfer to one physical device. Implemented by the service; called on IPC threads,
// never before the call that started the transfer has returned, and not after an ending report.
class ITransmitCallback : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.ITransmitCallback");

    virtual void OnProgess(int8_t percent) = 0;
    virtual void OnSuccess(const std::string& info, const std::vector<std::string>& names) = 0;
    virtual void OnStatus(const std::string& info, int status) = 0;
    virtual void OnError(const std::string& info, int errorCode) = 0;
    virtual void OnCorvaneIdHeadImageReceive(const std::string& deviceId, const std::string& headImage) = 0;
    virtual void OnTotalFileLength(int length) = 0;
    virtual void OnSpeed(int speed) = 0; // KiB a second
    virtual void OnRecvSuccess() = 0;
    virtual void OnMessageReceive(std::string message) = 0;
    virtual void OnImportProgress(int8_t percent) = 0;
    virtual void OnImportStarted() = 0;
    virtual void OnDetailError(int errorCode) = 0;
    virtual void OnOpenFileFd(const std::string& uri) = 0;
    virtual void OnCloseFileFd(const std::string& uri) = 0;
    virtual void OnTransByte(uint64_t transferred, uint64_t total) = 0;
    virtual void OnFileFinish(const std::vector<std::string>& names, int result) = 0;
    virtual void OnThermalLevelChanged(int lastLevel, int newLevel, int8_t connectionSide, int8_t action) = 0;
    virtual void OnRelease(const std::string& deviceId, bool lost) = 0;
    virtual void OnSwitchNotifyComponent(int component) = 0;
    virtual void OnNudgeCancel(const std::string& deviceId) = 0;
    virtual void OnMotionState(int trans, int state, int errorCode) = 0;
    virtual void OnPopSwing(const std::string& deviceId, bool show) = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_I_TRANSMIT_CALLBACK_H
