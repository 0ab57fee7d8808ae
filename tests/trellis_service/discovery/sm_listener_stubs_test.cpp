// Requests that no engine of ours would write.

#include <functional>

#include <gtest/gtest.h>

#include "discovery/sm_publish_callback.h"
#include "discovery/sm_subscribe_callback.h"
#include "ipc_types.h"

namespace OHOS::Pelago {
namespace {

TEST(TheEnginesListeners, RefuseWhatTheyCannotRead)
{
    struct Row {
        const char* name;
        sptr<IPCObjectStub> listener;
        uint32_t code;
        std::u16string token;
        std::function<bool(MessageParcel&)> write;
        int result;
    };
    const std::u16string good = ISubscribeListener::GetDescriptor();
    const std::u16string goodToo = IPublishListener::GetDescriptor();
    const sptr<IPCObjectStub> subscribe = new SMSubscribeCallback();
    const sptr<IPCObjectStub> publish = new SMPublishCallback();
    const auto nothing = [](MessageParcel&) { return true; };
    const auto device = [](MessageParcel& data) { return data.WriteInt32(1) && ShareDevice().WriteToParcel(data); };
    const auto noDevice = [](MessageParcel& data) { return data.WriteInt32(0) && ShareDevice().WriteToParcel(data); };
    const auto half = [](MessageParcel& data) { return data.WriteInt32(1) && data.WriteString("A"); };
    const auto id = [](int32_t value) { return [value](MessageParcel& data) { return data.WriteInt32(value); }; };
    const Row rows[] = {
        {"found, no device", subscribe, 1, good, noDevice, -16},
        {"lost, no device", subscribe, 2, good, noDevice, -16},
        {"found, half a device", subscribe, 1, good, half, -16},
        {"found, nothing", subscribe, 1, good, nothing, -16},
        {"numbers are not tested", subscribe, 3, good, nothing, 0},
        {"unknown", subscribe, 5, good, nothing, IPC_UNKNOWN_CODE},
        {"wide code", subscribe, 257, good, device, IPC_UNKNOWN_CODE},
        {"wrong token", subscribe, 1, goodToo, device, -10},
        {"wrong token and code", subscribe, 5, u"", nothing, -10},
        {"published, wrong token", publish, 1, good, id(7), -10},
        {"published", publish, 1, goodToo, id(8), 0},
        {"published, the low byte of the code counts", publish, 257, goodToo, id(9), 0},
        {"published, unknown", publish, 2, goodToo, id(10), IPC_UNKNOWN_CODE},
    };
    for (const Row& row : rows) {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        EXPECT_TRUE(data.WriteInterfaceToken(row.token) && row.write(data)) << row.name;
        EXPECT_EQ(row.listener->OnRemoteRequest(row.code, data, reply, option), row.result) << row.name;
    }
    EXPECT_EQ(SMPublishCallback::GetPublishId(), 9);
}

} // namespace
} // namespace OHOS::Pelago
