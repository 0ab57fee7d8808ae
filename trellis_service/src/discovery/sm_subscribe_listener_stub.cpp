#include "discovery/sm_subscribe_listener_stub.h"

#include <algorithm>
#include <iterator>

#include "share_log.h"

namespace OHOS::Pelago {

const SMSubscribeListenerStub::Row SMSubscribeListenerStub::ROWS[] = {
    {SubscribeListenerCode::ON_DEVICE_FOUND, &SMSubscribeListenerStub::HandleOnDeviceFound},
    {SubscribeListenerCode::ON_DEVICE_LOST, &SMSubscribeListenerStub::HandleOnDeviceLost},
    {SubscribeListenerCode::ON_DISCOVER_RESULT, &SMSubscribeListenerStub::HandleOnDiscoverResult},
    {SubscribeListenerCode::ON_SWING_STATUS, &SMSubscribeListenerStub::HandleOnSwingStatus},
};

namespace {

// The device that a report is about; null when there is none or it cannot be read.
sptr<ShareDevice> ReadDevice(MessageParcel& data)
{
    if (data.ReadInt32() == 0) {
        return nullptr;
    }
    return sptr<ShareDevice>(ShareDevice::Unmarshalling(data));
}

} // namespace

int SMSubscribeListenerStub::OnRemoteRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    SHARE_LOGD(Log::STUB, "cmd = %{public}d, flags = %{public}d", static_cast<int32_t>(code), option.GetFlags());
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        SHARE_LOGE(Log::STUB, "SMSubscribeListenerStub::OnRemoteRequest failed, descriptor is not matched.");
        return RESULT_WRONG_TOKEN;
    }
    auto row = std::find_if(std::begin(ROWS), std::end(ROWS),
        [code](const Row& candidate) { return static_cast<uint32_t>(candidate.code) == code; });
    if (row == std::end(ROWS)) {
        return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
    return (this->*row->handler)(data);
}

int SMSubscribeListenerStub::HandleOnDeviceFound(MessageParcel& data)
{
    const sptr<ShareDevice> device = ReadDevice(data);
    if (device == nullptr) {
        return RESULT_BAD_DEVICE;
    }
    OnDeviceFound(device);
    return ERR_NONE;
}

int SMSubscribeListenerStub::HandleOnDeviceLost(MessageParcel& data)
{
    const sptr<ShareDevice> device = ReadDevice(data);
    if (device == nullptr) {
        return RESULT_BAD_DEVICE;
    }
    OnDeviceLost(device);
    return ERR_NONE;
}

int SMSubscribeListenerStub::HandleOnDiscoverResult(MessageParcel& data)
{
    const int32_t subscribeId = data.ReadInt32();
    const int32_t reason = data.ReadInt32();
    OnDiscoverResult(subscribeId, reason);
    return ERR_NONE;
}

int SMSubscribeListenerStub::HandleOnSwingStatus(MessageParcel& data)
{
    const int32_t role = data.ReadInt32();
    std::string deviceId = data.ReadString();
    const int32_t code = data.ReadInt32();
    OnSwingStatus(role, deviceId, code);
    return ERR_NONE;
}

} // namespace OHOS::Pelago
