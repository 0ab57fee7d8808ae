// What crosses the border: the fields of each request of a client and of each call to one, in order, and in which words
// a request that is cut off, or a call that cannot be made, is refused.

#include <tuple>

#include "callback_stubs.h"
#include "core/trellis_callback_proxy.h"
#include "engine_handles.h"
#include "hilog/host_log.h"
#include "remote_call.h"
#include "service_fixture.h"
#include "share_log.h"
#include "transfer/sender_action_callback_proxy.h"
#include "trellis_service_proxy.h"

namespace OHOS::Pelago {
namespace {

using namespace std::string_literals;
using Bytes = std::vector<uint8_t>;

Bytes BytesOf(const Parcel& parcel)
{
    return Bytes(parcel.GetData(), parcel.GetData() + parcel.GetDataSize());
}

// A callee that keeps the request and answers what it is told to.
class CapturingObject : public IPCObjectStub {
public:
    CapturingObject() : IPCObjectStub(u"callee")
    {}
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel&, MessageOption& option) override
    {
        lastCode = code;
        request = BytesOf(data);
        EXPECT_EQ(option.GetFlags(), MessageOption::TF_SYNC);
        waitTime = option.GetWaitTime();
        return answer;
    }

    uint32_t lastCode = 0;
    Bytes request;
    int waitTime = 0;
    int answer = 0;
};

struct Samples {
    ShareDeviceInfo device = Entry("phone");
    SendBean files{};
    DataBean uris{};
    BytesInfo bytes{};
    sptr<PelagoReceiver> receiver = new ScriptedReceiver();
    sptr<RecordingCallback> trellis = new RecordingCallback();
    sptr<RecordingSenderAction> action = new RecordingSenderAction();
};

template <typename Callee>
struct Row {
    uint32_t code;
    void (*call)(Callee& callee, Samples& with);
    bool (*write)(MessageParcel& data, const std::u16string& token, const Samples& with);
};

#define ROW(code, call, ...)                                                                                           \
    {                                                                                                                  \
        code, [](auto& callee, [[maybe_unused]] Samples& with) { (void)callee.call; },                                 \
            [](MessageParcel& data, const std::u16string& token, [[maybe_unused]] const Samples& with) {               \
                return Wire::PutRequest(data, token __VA_OPT__(, ) __VA_ARGS__);                                       \
            }                                                                                                          \
    }

// A request without all of its fields, and what becomes of it.
struct Refusal {
    std::vector<uint32_t> codes;
    std::string records; // that are there: device, files, uris; "-" for a strange token
    int result;
    const char* words; // of the last error line
};

// The error lines of the tags that begin so, since `before`.
Lines ErrorsSince(uint64_t before, const std::string& tag)
{
    Lines errors;
    for (const Host::LogLine& line : Host::ReadLog(before)) {
        if (line.level >= LOG_ERROR && line.tag.rfind(tag, 0) == 0) {
            errors.push_back(line.tag + ": " + line.text.substr(line.text.find("# ") + 2));
        }
    }
    return errors;
}

class Wires : public ServiceFixture {
protected:
    template <typename Proxy, typename Callee, size_t N>
    void Check(const Row<Callee> (&rows)[N], const std::u16string& token, int waitSeconds)
    {
        sptr<CapturingObject> object = new CapturingObject();
        Proxy proxy(object);
        for (const Row<Callee>& row : rows) {
            SCOPED_TRACE(row.code);
            row.call(proxy, samples);
            MessageParcel same;
            ASSERT_TRUE(row.write(same, token, samples));
            EXPECT_EQ(object->lastCode, row.code);
            EXPECT_EQ(object->request, BytesOf(same));
            EXPECT_EQ(object->waitTime, waitSeconds);
        }
    }

    void Refused(TestClient& client, uint32_t code, const Refusal& row)
    {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        ASSERT_TRUE(data.WriteInterfaceToken(
            row.records == "-" ? u"ohos.pelago.ITrellisService" : ITrellisService::GetDescriptor()));
        for (char record : row.records) {
            ASSERT_TRUE(record == 'd'   ? samples.device.WriteToParcel(data)
                        : record == 'f' ? samples.files.WriteToParcel(data)
                                        : record != 'u' || samples.uris.WriteToParcel(data));
        }
        uint64_t before = Host::LastLogSeq();
        EXPECT_EQ(client.Remote()->SendRequest(code, data, reply, option), row.result);
        EXPECT_EQ(reply.GetDataSize(), row.result == 0 ? 4U : 0U);
        Lines errors = ErrorsSince(before, "ShareManagerS");
        EXPECT_EQ(errors.empty() ? "" : errors.back(), row.words);
    }

    Samples samples;
};

TEST_F(Wires, OfAClientsRequests)
{
    const Row<ITrellisService> bare[] = {ROW(3, IsEnabled()), ROW(4, GetEnableState()), ROW(7, StartDiscovery()),
        ROW(8, StopDiscovery()), ROW(9, StartConnect()), ROW(10, StopConnect()), ROW(11, GetSendingUserList()),
        ROW(19, GetReceiverActionCallback()), ROW(20, GetPreviewData()), ROW(21, GetAllUserList()),
        ROW(22, GetAccountInfo()), ROW(36, IsFocusPidsRegisterSwing())};
    const Row<ITrellisService> rows[] = {
        ROW(1, SetShareEnable(7, 8, true), 7, 8, true),
        ROW(2, SetShareEnableWithConfirm(7, 8, true, false), 7, 8, true, false),
        ROW(5, RegisterTrellisCallback(with.trellis), with.trellis->AsObject()),
        ROW(5, RegisterTrellisCallback(nullptr)), // handed on: the operation decides
        ROW(6, UnRegisterTrellisCallback(with.trellis), with.trellis->AsObject()),
        ROW(12, PrepareSend(with.device), with.device),
        ROW(13, Send(with.device, with.files, "app"), with.device, with.files, "app"s),
        ROW(14, SendBytes(with.device, with.bytes), with.device, with.bytes),
        ROW(15, SendFile(with.device, with.uris, "app"), with.device, with.uris, "app"s),
        ROW(16, Cancel(with.device), with.device),
        ROW(17, RegisterSenderActionCallback(with.action), with.action->AsObject()),
        ROW(18, UnRegisterSenderActionCallback(with.action), with.action->AsObject()),
        ROW(23, SetShareAccountPermission(7), 7),
        ROW(24, RegisterCorvaneShareApiTrellisCallback(with.trellis), with.trellis->AsObject()),
        ROW(25, UnRegisterCorvaneShareApiTrellisCallback(with.trellis), with.trellis->AsObject()),
        ROW(26, RegisterCorvaneShareApiEvent("name"), "name"s),
        ROW(27, UnRegisterCorvaneShareApiEvent("name"), "name"s),
        ROW(28, NotifyInfo(with.device, 7), with.device, 7),
        ROW(29, ApplyUriPermission("uri"), "uri"s),
        ROW(30, SwingConfirm(with.device, 7), with.device, 7),
        ROW(31, IsAppForeground("bundle"), "bundle"s),
        ROW(32, RegisterShareApiCallback(nullptr)),
        ROW(33, UnregisterShareApiCallback(nullptr)),
        ROW(34, RegisterShareEventCallback(7, 8), 7, 8),
        ROW(35, UnregisterShareEventCallback(7, 8), 7, 8),
    };
    Check<TrellisServiceProxy>(bare, u"ohos.Pelago.ITrellisService", 30);
    Check<TrellisServiceProxy>(rows, u"ohos.Pelago.ITrellisService", 30);
}

TEST_F(Wires, OfTheCallsToAClient)
{
    const Row<PelagoTrellisServiceCallback> rows[] = {
        ROW(1, OnEnableStatusChanged()),
        ROW(2, OnDeviceFound(with.device), with.device),
        ROW(3, OnDeviceLost(with.device), with.device),
        ROW(4, OnTransStateChange(with.device, 2, -3, 1LL << 40), with.device, int64_t{2}, int64_t{-3},
            int64_t{1} << 40),
        ROW(5, OnSend(with.device, with.files), with.device, with.files),
        ROW(6, OnSendBytes(with.device, with.bytes), with.device, with.bytes),
        ROW(7, OnCancel(with.device), with.device),
        ROW(12, OnSendFile(with.device, with.uris), with.device, with.uris),
        ROW(13, OnConnectHub("name", 5), 5, "name"s),
        ROW(14, OnCorvaneIdHeadImageReceive(with.device, "image"), with.device, "image"s),
        ROW(15, OnThermalLevelChanged(1, 2, 3, 4), 1, 2, int8_t{3}, int8_t{4}),
        ROW(16, OnReportSwingEvent(1, 2, 3, "id"), 1, 2, 3, "id"s),
        ROW(17, OnSwingPop(with.device), with.device),
        ROW(18, OnSwitchNotifyComponent(6), 6),
    };
    Check<TrellisCallbackProxy>(rows, u"ohos.pelago.PelagoTrellisServiceCallback", 8);
}

TEST_F(Wires, OfTheCallsToAClientThatFollowsAReceive)
{
    const Row<ISenderActionCallback> rows[] = {
        ROW(1, OnStatusChanged(-1), int8_t{-1}),
        ROW(2, OnPreviewReceive(with.receiver), with.receiver->AsObject()),
        ROW(3, OnSendCancelBeforeConfirm(with.receiver), with.receiver->AsObject()),
        ROW(4, OnErrorBeforeConfirm(with.receiver, 7), with.receiver->AsObject(), 7),
        ROW(5, OnRecvBytesInfo(with.receiver, "Ann", 7, "bytes", "preview"), with.receiver->AsObject(), "Ann"s, 7,
            "bytes"s, "preview"s),
    };
    Check<SenderActionCallbackProxy>(rows, u"ohos.pelago.ISenderActionCallback", 8);
}

TEST_F(Wires, OfARequestThatIsCutOffAreRefusedInTheWordsOfTheMissingField)
{
    const Refusal refusals[] = {
        {{1, 99}, "-", -10, "ShareManagerStub: ShareManagerSrvStub::OnRemoteRequest failed, descriptor is not matched"},
        {{1}, "", 0, ""}, // numbers and flags that are missing are 0
        {{6}, "", 0, "ShareManagerService: callback is null in UnRegisterTrellisCallback!"},
        {{12, 16, 28, 30}, "", -18, "ShareManagerStub: read ShareDeviceInfo failed."},
        {{13, 14, 15}, "", -18, "ShareManagerStub: read deviceInfo failed."},
        {{13}, "d", -27, "ShareManagerStub: read sendBean failed."},
        {{14}, "d", -27, "ShareManagerStub: read bytesInfo failed."},
        {{15}, "d", -27, "ShareManagerStub: read dataBean failed."},
        {{13}, "df", -28, "ShareManagerStub: read packageName failed."},
        {{15}, "du", -28, "ShareManagerStub: read packageName failed."},
        {{19}, "", -11, "ShareManagerStub: Get receiver action callback failed."},
        {{20}, "", -11, "ShareManagerStub: Get preview data failed."},
        {{24, 25, 32, 33}, "", -34, "ShareManagerService: callback is null!"},
        {{26, 27}, "", -28, "ShareManagerStub: read eventName failed."},
        {{29}, "", -28, "ShareManagerStub: read uriString failed."},
        {{31}, "", -28, "ShareManagerStub: read bundleName failed."},
    };
    Boot();
    AllowError("descriptor is not matched", "allback is null", "failed.", "PreviewData is empty.");
    auto client = NewClient();
    for (const Refusal& row : refusals) {
        for (uint32_t code : row.codes) {
            SCOPED_TRACE(std::to_string(code) + " " + row.records);
            Refused(*client, code, row);
        }
    }
    auto plain = NewClient(Host::TokenId::PLAIN);
    for (const auto& [code, result, words] : {std::tuple(2U, -31, "No PELAGO_SWITCH_CONTROL permission"),
             {3U, -32, "No ACCESS_PELAGO_SERVICE permission"}, {99U, -32, "No ACCESS_PELAGO_SERVICE permission"}}) {
        AllowError("Permission denied, ret: -1", words);
        uint64_t before = Host::LastLogSeq();
        Refused(*plain, code, {{}, "", result, ""});
        EXPECT_EQ(ErrorsSince(before, Log::PERMISSION.tag).back(), std::string(Log::PERMISSION.tag) + ": " + words);
    }
    EXPECT_FALSE((*client)->RegisterShareApiCallback(nullptr));
    EXPECT_EQ(TrellisServiceProxy::LastError(), -34);
    EXPECT_TRUE((*client)->StopConnect());
    EXPECT_EQ(TrellisServiceProxy::LastError(), 0);
}

TEST_F(Wires, OfACallThatFailsAreLoggedInItsOwnWordsAndForgotten)
{
    samples.files.uriList.resize(1); // without a descriptor
    samples.uris.text = std::string(3 << 20, 'x');
    samples.bytes.text = samples.uris.text;
    const std::string image(300000, 'x');
    struct Failure {
        const char* words;
        std::function<void(TrellisCallbackProxy&)> call;
        int answer = 0; // of the client; a call that cannot be written reaches none
    };
    const Failure failures[] = {
        {"Write SendBean failed", [&](auto& client) { client.OnSend(samples.device, samples.files); }},
        {"Write SendBean failed", [&](auto& client) { client.OnSendFile(samples.device, samples.uris); }},
        {"Write BytesInfo failed", [&](auto& client) { client.OnSendBytes(samples.device, samples.bytes); }},
        {"Write headImage failed", [&](auto& client) { client.OnCorvaneIdHeadImageReceive(samples.device, image); }},
        {"Write StateValue failed", [&](auto& client) { client.OnConnectHub(image, 1); }},
        {"Write concurrentId failed", [&](auto& client) { client.OnReportSwingEvent(1, 2, 3, image); }},
        {"SendRequest is failed, error code: 77", [](auto& client) { client.OnEnableStatusChanged(); }, 77},
        {"ConnectHub is failed, error code: 77", [](auto& client) { client.OnConnectHub("name", 1); }, 77},
        {"param receiver is nullptr.",
            [](auto& client) { SenderActionCallbackProxy(client.AsObject()).OnSendCancelBeforeConfirm(nullptr); }},
    };
    AllowError("failed."); // the records' own words
    sptr<CapturingObject> object = new CapturingObject();
    TrellisCallbackProxy proxy(object);
    for (const Failure& row : failures) {
        AllowError(row.words);
        object->answer = row.answer;
        object->request.clear();
        uint64_t before = Host::LastLogSeq();
        row.call(proxy);
        EXPECT_EQ(ErrorsSince(before, "ShareManagerProxy"), Lines{"ShareManagerProxy: "s + row.words});
        EXPECT_EQ(object->request.empty(), row.answer == 0) << row.words;
    }
}

} // namespace
} // namespace OHOS::Pelago
