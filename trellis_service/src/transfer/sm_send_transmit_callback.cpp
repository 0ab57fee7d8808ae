#include "transfer/sm_send_transmit_callback.h"

#include <algorithm>
#include <iterator>

#include "core/trellis_service.h"
#include "discovery/cache_map_manager.h"

namespace OHOS::Pelago {
namespace {

constexpr int KEEP = -1;

// The states by which a status of the engine ends a transfer. The two others that look final, 116 and 117, do not.
constexpr int ENDING_STATES[] = {
    DeviceState::REFUSED,
    DeviceState::CANCELLED,
    DeviceState::NO_ANSWER,
    DeviceState::DECLINED,
    DeviceState::BUSY,
    DeviceState::ENDED_BY_2008,
    DeviceState::NO_SPACE,
    DeviceState::ENDED_BY_1019,
};

bool IsEndingState(int state)
{
    return std::find(std::begin(ENDING_STATES), std::end(ENDING_STATES), state) != std::end(ENDING_STATES);
}

// The payload is taken out of all three maps without asking which one has it: two misses are logged at every end.
void ClearRecords(const std::string& deviceId)
{
    (void)CacheMapManager::RemoveFromSendingDeviceMap(deviceId);
    (void)CacheMapManager::RemoveFromSendBeanMap(deviceId);
    (void)CacheMapManager::RemoveFromDataBeanMap(deviceId);
    (void)CacheMapManager::RemoveFromBytesInfoMap(deviceId);
    (void)CacheMapManager::RemoveFromSenderMap(deviceId);
}

} // namespace

// Runs while nobody holds a reference yet: nothing here may take one of this object.
SMSendTransmitCallback::SMSendTransmitCallback(const ShareDeviceInfo& device) : shareDeviceInfo_(device)
{
    SHARE_LOGI(Log::SERVICE, "SMSendTransmitCallback enter");
    OnStatusInit();
}

void SMSendTransmitCallback::Report(int event, int64_t value)
{
    TrellisService::HandleOnTransStateChange(shareDeviceInfo_, event, value, timeStamp_.fetch_add(1));
}

void SMSendTransmitCallback::MoveEntryAndReport(int event, int value, int reportedValue)
{
    CacheMapManager::UpateToMergeDeviceMap(shareDeviceInfo_, event, value);
    Report(event, reportedValue);
}

void SMSendTransmitCallback::Store(const Status& sending, const Status& all)
{
    (void)CacheMapManager::SetStatus( // a miss is logged there
        shareDeviceInfo_.deviceId, sending.event, sending.state, sending.percent, sending.speed);
    CacheMapManager::UpateToAllDeviceMap(shareDeviceInfo_, all.event, all.state, all.percent, all.speed);
}

void SMSendTransmitCallback::End(const Status& last)
{
    TrellisService::OnDeviceNewStateRetrieve(shareDeviceInfo_);
    Store(last, last);
    ended_ = true;
    ClearRecords(shareDeviceInfo_.deviceId);
}

void SMSendTransmitCallback::OnStatusInit()
{
    SHARE_LOGI(Log::SERVICE, "OnStatusInit enter");
    Report(TransferEvent::CREATED, 0);
    SHARE_LOGI(Log::SERVICE, "OnStatusInit exit");
}

// Both device maps forget the speed here while the entry keeps it.
void SMSendTransmitCallback::OnProgess(int8_t percent)
{
    SHARE_LOGI(Log::SERVICE, "OnProgess enter");
    MoveEntryAndReport(TransferEvent::PROGRESS, percent, percent);
    Status status{TransferEvent::PROGRESS, DeviceState::TRANSFERRING, percent, 0};
    Store(status, status);
    TrellisService::CancelOtherContactDevice(shareDeviceInfo_);
    SHARE_LOGI(Log::SERVICE, "OnProgess exit");
}

// The entry is not moved, so clients hear this under its last event; and the record of all devices goes back to the
// state that it had when the send began, until the next progress.
void SMSendTransmitCallback::OnTotalFileLength(int length)
{
    SHARE_LOGI(Log::SERVICE, "OnTotalFileLength enter");
    Report(TransferEvent::TOTAL_LENGTH, length);
    Store({TransferEvent::TOTAL_LENGTH, KEEP, KEEP, KEEP},
        {TransferEvent::TOTAL_LENGTH, shareDeviceInfo_.deviceState, shareDeviceInfo_.percent, shareDeviceInfo_.speed});
    SHARE_LOGI(Log::SERVICE, "OnTotalFileLength exit");
}

void SMSendTransmitCallback::OnSpeed(int speed)
{
    SHARE_LOGI(Log::SERVICE, "OnSpeed enter");
    MoveEntryAndReport(TransferEvent::SPEED, speed, speed);
    Store({TransferEvent::SPEED, DeviceState::TRANSFERRING, KEEP, speed},
        {TransferEvent::SPEED, DeviceState::TRANSFERRING, shareDeviceInfo_.percent, speed});
    TrellisService::CancelOtherContactDevice(shareDeviceInfo_);
    SHARE_LOGI(Log::SERVICE, "OnSpeed exit");
}

// The texts of the next three say which device reports; the object knows its own.
void SMSendTransmitCallback::OnSuccess(const std::string&, const std::vector<std::string>&)
{
    SHARE_LOGI(Log::SERVICE, "OnSuccess enter");
    MoveEntryAndReport(TransferEvent::SUCCESS, 0, 0);
    End({TransferEvent::SUCCESS, DeviceState::SUCCEEDED, 0, 0});
    SHARE_LOGI(Log::SERVICE, "OnSuccess exit");
}

void SMSendTransmitCallback::OnStatus(const std::string&, int status)
{
    SHARE_LOGI(Log::SERVICE, "OnStatus enter");
    int state = ShareDeviceInfo::ConvertOnStatus(status);
    MoveEntryAndReport(TransferEvent::STATUS, status, status);
    if (IsEndingState(state)) {
        End({TransferEvent::STATUS, state, 0, 0});
        if (state == DeviceState::REFUSED || state == DeviceState::DECLINED) {
            TrellisService::CancelOtherContactDevice(shareDeviceInfo_);
        }
    } else {
        Store({TransferEvent::STATUS, state, KEEP, KEEP},
            {TransferEvent::STATUS, state, shareDeviceInfo_.percent, shareDeviceInfo_.speed});
    }
    SHARE_LOGI(Log::SERVICE, "OnStatus exit");
}

void SMSendTransmitCallback::OnError(const std::string&, int errorCode)
{
    SHARE_LOGI(Log::SERVICE, "OnError enter");
    MoveEntryAndReport(TransferEvent::FAILED, 0, errorCode);
    End({TransferEvent::FAILED, DeviceState::FAILED, 0, 0});
    SHARE_LOGI(Log::SERVICE, "OnError exit");
}

void SMSendTransmitCallback::OnCorvaneIdHeadImageReceive(const std::string& deviceId, const std::string& headImage)
{
    SHARE_LOGI(Log::SERVICE, "OnCorvaneIdHeadImageReceive deviceId: %{public}s, headImage length: %{public}lu",
        deviceId.c_str(), static_cast<unsigned long>(headImage.size()));
    TrellisService::HandleOnCorvaneIdHeadImageReceive(shareDeviceInfo_, headImage);
}

void SMSendTransmitCallback::OnThermalLevelChanged(int lastLevel, int newLevel, int8_t connectionSide, int8_t action)
{
    SHARE_LOGI(Log::SERVICE,
        "OnThermalLevelChanged level %{public}d -> %{public}d, connectionSide %{public}d, action %{public}d", lastLevel,
        newLevel, connectionSide, action);
    TrellisService::HandleOnThermalLevelChanged(lastLevel, newLevel, connectionSide, action);
}

void SMSendTransmitCallback::OnRelease(const std::string& deviceId, bool lost)
{
    SHARE_LOGI(Log::SERVICE, "OnRelease enter, deviceId %{public}s", deviceId.c_str());
    if (lost) {
        TrellisService::HandleOnDeviceLost(shareDeviceInfo_);
    }
}

void SMSendTransmitCallback::OnSwitchNotifyComponent(int component)
{
    SHARE_LOGI(Log::SERVICE, "OnSwitchNotifyComponent %{public}d", component);
    TrellisService::HandleOnSwitchNotifyComponent(component);
}

void SMSendTransmitCallback::OnNudgeCancel(const std::string& deviceId)
{
    SHARE_LOGI(Log::SERVICE, "OnNudgeCancel enter, deviceId %{public}s", deviceId.c_str());
    TrellisService::HandleOnNudgeCancel(deviceId);
}

void SMSendTransmitCallback::OnMotionState(int trans, int state, int errorCode)
{
    SHARE_LOGI(Log::SERVICE, "OnMotionState enter, state %{public}d, errorCode %{public}d", state, errorCode);
    TrellisService::HandleOnMotionState(trans, state, errorCode);
}

void SMSendTransmitCallback::OnPopSwing(const std::string& deviceId, bool show)
{
    SHARE_LOGI(Log::SERVICE, "OnPopSwing enter: %{public}s", deviceId.c_str());
    TrellisService::HandleOnPopSwing(shareDeviceInfo_, show);
}

void SMSendTransmitCallback::OnRecvSuccess()
{
    SHARE_LOGI(Log::SERVICE, "OnRecvSuccess");
}

void SMSendTransmitCallback::OnImportProgress(int8_t)
{
    SHARE_LOGI(Log::SERVICE, "OnImportProgress");
}

void SMSendTransmitCallback::OnImportStarted()
{
    SHARE_LOGI(Log::SERVICE, "OnImportStarted");
}

void SMSendTransmitCallback::OnDetailError(int)
{
    SHARE_LOGI(Log::SERVICE, "OnDetailError");
}

void SMSendTransmitCallback::OnTransByte(uint64_t, uint64_t)
{
    SHARE_LOGI(Log::SERVICE, "OnTransByte");
}

void SMSendTransmitCallback::OnFileFinish(const std::vector<std::string>&, int)
{
    SHARE_LOGI(Log::SERVICE, "OnFileFinish");
}

void SMSendTransmitCallback::OnMessageReceive(std::string)
{}

void SMSendTransmitCallback::OnOpenFileFd(const std::string&)
{}

void SMSendTransmitCallback::OnCloseFileFd(const std::string&)
{}

} // namespace OHOS::Pelago
