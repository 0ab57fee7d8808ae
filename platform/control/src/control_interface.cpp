#include "host/control_interface.h"

#include "message_option.h"
#include "message_parcel.h"

namespace OHOS::Host {
namespace {

constexpr int CALL_WAIT_SECONDS = 10;
constexpr int ERROR_BAD_TOKEN = -10;
constexpr int ERROR_BAD_REQUEST = -16;

std::string ReadText(MessageParcel& parcel)
{
    uint32_t size = parcel.ReadUint32();
    const void* text = size > 0 ? parcel.ReadRawData(size) : nullptr;
    return text == nullptr ? std::string() : std::string(static_cast<const char*>(text), size);
}

} // namespace

DeviceControlProxy::DeviceControlProxy(const sptr<IRemoteObject>& object) : IRemoteProxy<IDeviceControl>(object)
{}

ControlAnswer DeviceControlProxy::Execute(const std::vector<std::string>& words)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option(MessageOption::TF_SYNC, CALL_WAIT_SECONDS);
    if (!data.WriteInterfaceToken(GetDescriptor()) || !data.WriteStringVector(words)) {
        return {ControlResult::USAGE, {}, "the command is too long"};
    }
    int error = Remote() == nullptr ? ERROR_BAD_REQUEST : Remote()->SendRequest(EXECUTE, data, reply, option);
    if (error != 0) {
        return {ControlResult::UNREACHABLE, {}, "the device does not answer (" + std::to_string(error) + ")"};
    }
    ControlAnswer answer;
    answer.result = static_cast<ControlResult>(reply.ReadInt32());
    answer.json = ReadText(reply);
    answer.error = ReadText(reply);
    return answer;
}

ControlResult DeviceControlProxy::Watch(const sptr<IRemoteObject>& watcher)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option(MessageOption::TF_SYNC, CALL_WAIT_SECONDS);
    if (!data.WriteInterfaceToken(GetDescriptor()) || !data.WriteRemoteObject(watcher)) {
        return ControlResult::FAILED;
    }
    if (Remote() == nullptr || Remote()->SendRequest(WATCH, data, reply, option) != 0) {
        return ControlResult::UNREACHABLE;
    }
    return static_cast<ControlResult>(reply.ReadInt32());
}

int ControlWatcherStub::OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return ERROR_BAD_TOKEN;
    }
    if (code != CHANGED) {
        return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
    std::string json = ReadText(data);
    OnChanged(json);
    return 0;
}

} // namespace OHOS::Host
