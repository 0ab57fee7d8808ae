#include "transfer/sm_send_transmit_callback_stub.h"

#include "i_trellis_service.h"
#include "share_log.h"

namespace OHOS::Pelago {

using Code = TransmitCallbackCode;
using Stub = SMSendTransmitCallbackStub;

const SMSendTransmitCallbackStub::Row SMSendTransmitCallbackStub::ROWS[] = {
    {Code::ON_PROGESS, &Stub::HandleOnProgess},
    {Code::ON_SUCCESS, &Stub::HandleOnSuccess},
    {Code::ON_STATUS, &Stub::HandleOnStatus},
    {Code::ON_ERROR, &Stub::HandleOnError},
    {Code::ON_CORVANE_ID_HEAD_IMAGE_RECEIVE, &Stub::HandleOnCorvaneIdHeadImageReceive},
    {Code::ON_TOTAL_FILE_LENGTH, &Stub::HandleOnTotalFileLength},
    {Code::ON_SPEED, &Stub::HandleOnSpeed},
    {Code::ON_RECV_SUCCESS, &Stub::HandleOnRecvSuccess},
    {Code::ON_IMPORT_PROGRESS, &Stub::HandleOnImportProgress},
    {Code::ON_IMPORT_STARTED, &Stub::HandleOnImportStarted},
    {Code::ON_DETAIL_ERROR, &Stub::HandleOnDetailError},
    {Code::ON_THERMAL_LEVEL_CHANGED, &Stub::HandleOnThermalLevelChanged},
    {Code::ON_RELEASE, &Stub::HandleOnRelease},
    {Code::ON_SWITCH_NOTIFY_COMPONENT, &Stub::HandleOnSwitchNotifyComponent},
    {Code::ON_NUDGE_CANCEL, &Stub::HandleOnNudgeCancel},
    {Code::ON_MOTION_STATE, &Stub::HandleOnMotionState},
    {Code::ON_POP_SWING, &Stub::HandleOnPopSwing},
};

int SMSendTransmitCallbackStub::OnRemoteRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    SHARE_LOGD(Log::STUB, "cmd = %{public}d, flags = %{public}d", static_cast<int>(code), option.GetFlags());
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        SHARE_LOGE(Log::STUB, "SMSendTransmitCallbackStub::OnRemoteRequest failed, descriptor is not matched");
        return ERROR_TOKEN;
    }
    for (const Row& row : ROWS) {
        if (static_cast<uint32_t>(row.code) == code) {
            return (this->*row.handler)(data);
        }
    }
    return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
}

int SMSendTransmitCallbackStub::HandleOnProgess(MessageParcel& data)
{
    OnProgess(data.ReadInt8());
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnSuccess(MessageParcel& data)
{
    std::string info = data.ReadString();
    std::vector<std::string> names;
    if (!data.ReadStringVector(&names)) {
        SHARE_LOGE(Log::STUB, "ReadStringVector error.");
        return ERROR_READ_STRING_VECTOR;
    }
    OnSuccess(info, names);
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnStatus(MessageParcel& data)
{
    std::string info = data.ReadString();
    OnStatus(info, data.ReadInt32());
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnError(MessageParcel& data)
{
    std::string info = data.ReadString();
    OnError(info, data.ReadInt32());
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnCorvaneIdHeadImageReceive(MessageParcel& data)
{
    std::string deviceId = data.ReadString();
    std::string headImage = data.ReadString();
    SHARE_LOGE(Log::STUB, "HandleOnCorvaneIdHeadImageReceive deviceId: %{public}s, headImage length: %{public}lu",
        deviceId.c_str(), static_cast<unsigned long>(headImage.size()));
    OnCorvaneIdHeadImageReceive(deviceId, headImage);
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnTotalFileLength(MessageParcel& data)
{
    OnTotalFileLength(data.ReadInt32());
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnSpeed(MessageParcel& data)
{
    OnSpeed(data.ReadInt32());
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnRecvSuccess(MessageParcel&)
{
    OnRecvSuccess();
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnImportProgress(MessageParcel& data)
{
    OnImportProgress(data.ReadInt8());
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnImportStarted(MessageParcel&)
{
    OnImportStarted();
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnDetailError(MessageParcel& data)
{
    OnDetailError(data.ReadInt32());
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnThermalLevelChanged(MessageParcel& data)
{
    int32_t lastLevel = data.ReadInt32();
    int32_t newLevel = data.ReadInt32();
    int8_t connectionSide = data.ReadInt8();
    OnThermalLevelChanged(lastLevel, newLevel, connectionSide, data.ReadInt8());
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnRelease(MessageParcel& data)
{
    std::string deviceId = data.ReadString();
    OnRelease(deviceId, data.ReadBool());
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnSwitchNotifyComponent(MessageParcel& data)
{
    OnSwitchNotifyComponent(data.ReadInt32());
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnNudgeCancel(MessageParcel& data)
{
    OnNudgeCancel(data.ReadString());
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnMotionState(MessageParcel& data)
{
    int32_t trans = data.ReadInt32();
    int32_t state = data.ReadInt32();
    OnMotionState(trans, state, data.ReadInt32());
    return 0;
}

int SMSendTransmitCallbackStub::HandleOnPopSwing(MessageParcel& data)
{
    std::string deviceId = data.ReadString();
    OnPopSwing(deviceId, data.ReadBool());
    return 0;
}

} // namespace OHOS::Pelago
