// What the engine's requests become: right, wrong and unreadable ones.

#include <functional>

#include <gtest/gtest.h>

#include "discovery/sm_publish_callback.h"
#include "discovery/sm_subscribe_listener_stub.h"
#include "ipc_types.h"

namespace OHOS::Pelago {
namespace {

class Recorder : public SMSubscribeListenerStub {
public:
    void OnDeviceFound(const sptr<ShareDevice>& device) override
    {
        heard = "found " + device->GetDeviceId();
    }
    void OnDeviceLost(const sptr<ShareDevice>& device) override
    {
        heard = "lost " + device->GetDeviceId();
    }
    void OnDiscoverResult(int subscribeId, int reason) override
    {
        heard = "result " + std::to_string(subscribeId) + " " + std::to_string(reason);
    }
    void OnSwingStatus(int role, std::string& deviceId, int code) override
    {
        heard = "swing " + std::to_string(role) + " " + deviceId + " " + std::to_string(code);
    }

    std::string heard;
};

bool WriteDevice(MessageParcel& parcel)
{
    ShareDevice device;
    device.SetDeviceId("A");
    return parcel.WriteInt32(1) && device.WriteToParcel(parcel);
}

struct Row {
    const char* name;
    uint32_t code;
    std::u16string token;
    std::function<bool(MessageParcel&)> write;
    int result;
    const char* heard;
};

int Send(IPCObjectStub& stub, const Row& row)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    EXPECT_TRUE(data.WriteInterfaceToken(row.token) && row.write(data)) << row.name;
    return stub.OnRemoteRequest(row.code, data, reply, option);
}

TEST(SubscribeListenerStub, HandsOnWhatItCanRead)
{
    const std::u16string token = ISubscribeListener::GetDescriptor();
    const auto nothing = [](MessageParcel&) { return true; };
    const auto noDevice = [](MessageParcel& parcel) {
        return parcel.WriteInt32(0) && ShareDevice().WriteToParcel(parcel);
    };
    const auto half = [](MessageParcel& parcel) { return parcel.WriteInt32(1) && parcel.WriteString("A"); };
    const auto numbers = [](MessageParcel& parcel) { return parcel.WriteInt32(9024) && parcel.WriteInt32(-3); };
    const auto swing = [half](MessageParcel& parcel) { return half(parcel) && parcel.WriteInt32(100); };
    const Row rows[] = {
        {"found", 1, token, WriteDevice, 0, "found A"},
        {"lost", 2, token, WriteDevice, 0, "lost A"},
        {"result", 3, token, numbers, 0, "result 9024 -3"},
        {"swing", 4, token, swing, 0, "swing 1 A 100"},
        {"found, no device", 1, token, noDevice, -16, ""},
        {"lost, no device", 2, token, noDevice, -16, ""},
        {"found, half a device", 1, token, half, -16, ""},
        {"found, nothing", 1, token, nothing, -16, ""},
        {"numbers are not tested", 3, token, nothing, 0, "result 0 0"},
        {"unknown", 5, token, nothing, IPC_UNKNOWN_CODE, ""},
        {"wide code", 257, token, WriteDevice, IPC_UNKNOWN_CODE, ""},
        {"wrong token", 1, u"ohos.pelago.IPublishListener", WriteDevice, -10, ""},
        {"wrong token and code", 5, u"", nothing, -10, ""},
    };
    for (const Row& row : rows) {
        const sptr<Recorder> recorder = new Recorder();
        EXPECT_EQ(Send(*recorder, row), row.result) << row.name;
        EXPECT_EQ(recorder->heard, row.heard) << row.name;
    }
}

TEST(PublishListenerStub, NotesTheIdAndLooksAtTheLowByteOfTheCode)
{
    const std::u16string token = IPublishListener::GetDescriptor();
    const auto publishId = [](int32_t id) {
        return [id](MessageParcel& parcel) { return parcel.WriteInt32(id) && parcel.WriteInt32(0); };
    };
    const Row rows[] = {
        {"wrong token", 1, u"ohos.pelago.ISubscribeListener", publishId(7), -10, "0"},
        {"result", 1, token, publishId(8), 0, "8"},
        {"wide code", 257, token, publishId(9), 0, "9"},
        {"unknown", 2, token, publishId(10), IPC_UNKNOWN_CODE, "9"},
    };
    const sptr<SMPublishCallback> listener = new SMPublishCallback();
    for (const Row& row : rows) {
        EXPECT_EQ(Send(*listener, row), row.result) << row.name;
        EXPECT_EQ(std::to_string(SMPublishCallback::GetPublishId()), row.heard) << row.name;
    }
}

} // namespace
} // namespace OHOS::Pelago
