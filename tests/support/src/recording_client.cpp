#include "recording_client.h"

#include <utility>

#include <gtest/gtest.h>

namespace OHOS::Pelago {

void RecordingCallback::Hear(const std::string& line)
{
    heard_.push_back(line);
    if (during) {
        during(line);
    }
}

void RecordingCallback::Hear(const ShareDeviceInfo& device, const std::string& what, const std::string& rest)
{
    lastDevice = device;
    Hear(what + " " + device.deviceId + rest);
}

Lines RecordingCallback::TakeHeard()
{
    return std::exchange(heard_, {});
}

void RecordingCallback::OnEnableStatusChanged()
{
    Hear("OnEnableStatusChanged");
}

void RecordingCallback::OnDeviceFound(const ShareDeviceInfo& device)
{
    Hear(device, "OnDeviceFound", " " + std::to_string(device.deviceState));
}

void RecordingCallback::OnDeviceLost(const ShareDeviceInfo& device)
{
    Hear(device, "OnDeviceLost");
}

void RecordingCallback::OnTransStateChange(
    const ShareDeviceInfo& device, int64_t state, int64_t stateValue, int64_t timeStamp)
{
    Hear(device, "OnTransStateChange",
        " event=" + std::to_string(state) + " value=" + std::to_string(stateValue) +
            " stamp=" + std::to_string(timeStamp) + " state=" + std::to_string(device.deviceState) +
            " percent=" + std::to_string(device.percent));
}

void RecordingCallback::OnSend(const ShareDeviceInfo& device, const SendBean& bean)
{
    Hear(device, "OnSend", " files=" + std::to_string(bean.uriList.size()));
}

void RecordingCallback::OnSendBytes(const ShareDeviceInfo& device, const BytesInfo& bytes)
{
    Hear(device, "OnSendBytes", " title=" + bytes.bytesTitle);
}

void RecordingCallback::OnCancel(const ShareDeviceInfo& device)
{
    Hear(device, "OnCancel");
}

void RecordingCallback::OnSendFile(const ShareDeviceInfo& device, const DataBean& bean)
{
    Hear(device, "OnSendFile", " files=" + std::to_string(bean.fileItems.size()));
}

void RecordingCallback::OnConnectHub(std::string name, int32_t value)
{
    Hear("OnConnectHub " + name + " " + std::to_string(value));
}

void RecordingCallback::OnCorvaneIdHeadImageReceive(const ShareDeviceInfo& device, const std::string& headImage)
{
    Hear(device, "OnCorvaneIdHeadImageReceive", " " + headImage);
}

void RecordingCallback::OnThermalLevelChanged(int32_t lastLevel, int32_t newLevel, int8_t connectionSide, int8_t action)
{
    Hear("OnThermalLevelChanged " + std::to_string(lastLevel) + " " + std::to_string(newLevel) + " " +
         std::to_string(connectionSide) + " " + std::to_string(action));
}

void RecordingCallback::OnSwingPop(const ShareDeviceInfo& device)
{
    Hear("OnSwingPop " + device.deviceId);
}

void RecordingCallback::OnReportSwingEvent(int32_t gesture, int32_t, int32_t, const std::string& concurrentId)
{
    Hear("OnReportSwingEvent " + std::to_string(gesture) + " " + concurrentId);
}

void RecordingCallback::OnSwitchNotifyComponent(int32_t component)
{
    Hear("OnSwitchNotifyComponent " + std::to_string(component));
}

void RecordingSenderAction::OnStatusChanged(int8_t state)
{
    heard_.push_back("OnStatusChanged " + std::to_string(state));
}

void RecordingSenderAction::OnPreviewReceive(const sptr<PelagoReceiver>&)
{
    heard_.push_back("OnPreviewReceive");
}

void RecordingSenderAction::OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>&)
{
    heard_.push_back("OnSendCancelBeforeConfirm");
}

void RecordingSenderAction::OnErrorBeforeConfirm(const sptr<PelagoReceiver>&, int32_t errorCode)
{
    heard_.push_back("OnErrorBeforeConfirm " + std::to_string(errorCode));
}

void RecordingSenderAction::OnRecvBytesInfo(
    const sptr<PelagoReceiver>&, const std::string& senderName, int32_t, const std::string&, const std::string&)
{
    heard_.push_back("OnRecvBytesInfo " + senderName);
}

Lines RecordingSenderAction::TakeHeard()
{
    return std::exchange(heard_, {});
}

TestClient::TestClient(pid_t pid, uint32_t tokenId, const sptr<IRemoteObject>& service)
    : callback(new RecordingCallback()), senderAction(new RecordingSenderAction()),
      process_(std::make_unique<Host::LoopbackProcess>(Host::LoopbackProcess::Identity{pid, 1000, tokenId})),
      remote_(process_->Connect(service)), service_(iface_cast<ITrellisService>(remote_))
{}

void TestClient::Register()
{
    EXPECT_TRUE(service_->RegisterTrellisCallback(callback));
    (void)TakeHeard();
}

void TestClient::RegisterAsHub()
{
    EXPECT_TRUE(service_->RegisterCorvaneShareApiTrellisCallback(callback));
    (void)TakeHeard();
}

} // namespace OHOS::Pelago
