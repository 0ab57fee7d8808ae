// What the service writes when it calls a client: the fields of each code, in order.

#include <algorithm>

#include "core/trellis_callback_proxy.h"
#include "engine_handles.h"
#include "hilog/host_log.h"
#include "service_fixture.h"
#include "transfer/sender_action_callback_proxy.h"

namespace OHOS::Pelago {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes BytesOf(const Parcel& parcel)
{
    return Bytes(parcel.GetData(), parcel.GetData() + parcel.GetDataSize());
}

// A client's object that keeps the request and answers what it is told to.
class CapturingObject : public IPCObjectStub {
public:
    CapturingObject() : IPCObjectStub(u"client")
    {}
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel&, MessageOption& option) override
    {
        lastCode = code;
        request = BytesOf(data);
        EXPECT_EQ(option.GetFlags(), 0);
        EXPECT_EQ(option.GetWaitTime(), 8);
        return answer;
    }

    uint32_t lastCode = 0;
    Bytes request;
    int answer = 0;
};

struct Samples {
    ShareDeviceInfo device = Entry("phone");
    SendBean files;
    DataBean uris;
    BytesInfo bytes;
    sptr<PelagoReceiver> receiver = new ScriptedReceiver();
};

template <typename Callback>
struct Row {
    uint32_t code;
    void (*call)(Callback& callback, const Samples& with);
    bool (*write)(MessageParcel& data, const Samples& with);
};

#define CALL(call) [](auto& client, [[maybe_unused]] const Samples& with) { client.call; }
#define FIELDS(...) [](MessageParcel& data, [[maybe_unused]] const Samples& with) { return __VA_ARGS__; }
#define DEVICE with.device.WriteToParcel(data)
#define RECEIVER data.WriteRemoteObject(with.receiver->AsObject())

class CallbackWire : public ServiceFixture {
protected:
    template <typename Proxy, typename Callback, size_t N>
    void Check(const Row<Callback> (&rows)[N], const std::u16string& token)
    {
        sptr<CapturingObject> object = new CapturingObject();
        Proxy proxy(object);
        for (const Row<Callback>& row : rows) {
            SCOPED_TRACE(row.code);
            row.call(proxy, samples);
            MessageParcel same;
            ASSERT_TRUE(same.WriteInterfaceToken(token) && row.write(same, samples));
            EXPECT_EQ(object->lastCode, row.code);
            EXPECT_EQ(object->request, BytesOf(same));
        }
    }

    Samples samples;
};

TEST_F(CallbackWire, OfAClient)
{
    const Row<PelagoTrellisServiceCallback> rows[] = {
        {1, CALL(OnEnableStatusChanged()), FIELDS(data.GetDataSize() > 0)},
        {2, CALL(OnDeviceFound(with.device)), FIELDS(DEVICE)},
        {3, CALL(OnDeviceLost(with.device)), FIELDS(DEVICE)},
        {4, CALL(OnTransStateChange(with.device, 2, -3, 1LL << 40)),
            FIELDS(DEVICE && data.WriteInt64(2) && data.WriteInt64(-3) && data.WriteInt64(1LL << 40))},
        {5, CALL(OnSend(with.device, with.files)), FIELDS(DEVICE && with.files.WriteToParcel(data))},
        {6, CALL(OnSendBytes(with.device, with.bytes)), FIELDS(DEVICE && with.bytes.WriteToParcel(data))},
        {7, CALL(OnCancel(with.device)), FIELDS(DEVICE)},
        {12, CALL(OnSendFile(with.device, with.uris)), FIELDS(DEVICE && with.uris.WriteToParcel(data))},
        {13, CALL(OnConnectHub("name", 5)), FIELDS(data.WriteInt32(5) && data.WriteString("name"))},
        {14, CALL(OnCorvaneIdHeadImageReceive(with.device, "image")), FIELDS(DEVICE && data.WriteString("image"))},
        {15, CALL(OnThermalLevelChanged(1, 2, 3, 4)),
            FIELDS(data.WriteInt32(1) && data.WriteInt32(2) && data.WriteInt8(3) && data.WriteInt8(4))},
        {16, CALL(OnReportSwingEvent(1, 2, 3, "id")),
            FIELDS(data.WriteInt32(1) && data.WriteInt32(2) && data.WriteInt32(3) && data.WriteString("id"))},
        {17, CALL(OnSwingPop(with.device)), FIELDS(DEVICE)},
        {18, CALL(OnSwitchNotifyComponent(6)), FIELDS(data.WriteInt32(6))},
    };
    Check<TrellisCallbackProxy>(rows, u"ohos.pelago.PelagoTrellisServiceCallback");
}

TEST_F(CallbackWire, OfAClientThatFollowsAReceive)
{
    const Row<ISenderActionCallback> rows[] = {
        {1, CALL(OnStatusChanged(-1)), FIELDS(data.WriteInt8(-1))},
        {2, CALL(OnPreviewReceive(with.receiver)), FIELDS(RECEIVER)},
        {3, CALL(OnSendCancelBeforeConfirm(with.receiver)), FIELDS(RECEIVER)},
        {4, CALL(OnErrorBeforeConfirm(with.receiver, 7)), FIELDS(RECEIVER && data.WriteInt32(7))},
        {5, CALL(OnRecvBytesInfo(with.receiver, "Ann", 7, "bytes", "preview")),
            FIELDS(RECEIVER && data.WriteString("Ann") && data.WriteInt32(7) && data.WriteString("bytes") &&
                   data.WriteString("preview"))},
    };
    Check<SenderActionCallbackProxy>(rows, u"ohos.pelago.ISenderActionCallback");
}

// One request whole, byte by byte: the rest differs in fields alone.
TEST_F(CallbackWire, OfAConnectHubIsFrozen)
{
    sptr<CapturingObject> object = new CapturingObject();
    TrellisCallbackProxy(object).OnConnectHub("ab", 258);
    const std::u16string token = u"ohos.pelago.PelagoTrellisServiceCallback";
    Bytes frozen{40, 0, 0, 0};
    for (char16_t unit : token) {
        frozen.insert(frozen.end(), {static_cast<uint8_t>(unit), 0});
    }
    frozen.insert(frozen.end(), {0, 0, 0, 0});                 // its NUL, and padding
    frozen.insert(frozen.end(), {2, 1, 0, 0});                 // the value comes first
    frozen.insert(frozen.end(), {2, 0, 0, 0, 'a', 'b', 0, 0}); // the name, with its NUL
    EXPECT_EQ(object->request, frozen);
}

TEST_F(CallbackWire, AFailureIsLoggedInItsOwnWordsAndForgotten)
{
    samples.files.uriList.resize(1); // without a descriptor
    samples.uris.text = std::string(3 << 20, 'x');
    samples.bytes.text = samples.uris.text;
    struct Failure {
        const char* words;
        std::function<void(TrellisCallbackProxy&)> call;
    };
    const std::string image(300000, 'x');
    const Failure notWritten[] = {
        {"Write SendBean failed", [&](auto& client) { client.OnSend(samples.device, samples.files); }},
        {"Write SendBean failed", [&](auto& client) { client.OnSendFile(samples.device, samples.uris); }},
        {"Write BytesInfo failed", [&](auto& client) { client.OnSendBytes(samples.device, samples.bytes); }},
        {"Write headImage failed", [&](auto& client) { client.OnCorvaneIdHeadImageReceive(samples.device, image); }},
        {"Write StateValue failed", [&](auto& client) { client.OnConnectHub(image, 1); }},
        {"Write concurrentId failed", [&](auto& client) { client.OnReportSwingEvent(1, 2, 3, image); }},
    };
    AllowError("WriteFileDescriptor failed."); // the record's own word
    AllowError("FileHolder.WriteToParcel failed.");
    sptr<CapturingObject> object = new CapturingObject();
    TrellisCallbackProxy proxy(object);
    auto fails = [&](const Failure& row) {
        AllowError(row.words);
        uint64_t before = Host::LastLogSeq();
        row.call(proxy);
        auto lines = Host::ReadLog(before);
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&row](const Host::LogLine& line) {
            return line.level == LOG_ERROR && line.tag == "ShareManagerProxy" &&
                   line.text.find(std::string("# ") + row.words) != std::string::npos;
        })) << row.words;
    };
    for (const Failure& row : notWritten) {
        fails(row);
        EXPECT_TRUE(object->request.empty()) << row.words;
    }
    object->answer = 77;
    fails({"SendRequest is failed, error code: 77", [](auto& client) { client.OnEnableStatusChanged(); }});
    fails({"ConnectHub is failed, error code: 77", [](auto& client) { client.OnConnectHub("name", 1); }});
    AllowError("param receiver is nullptr.");
    object->lastCode = 0;
    SenderActionCallbackProxy(object).OnSendCancelBeforeConfirm(nullptr);
    EXPECT_EQ(object->lastCode, 0U);
}

} // namespace
} // namespace OHOS::Pelago
