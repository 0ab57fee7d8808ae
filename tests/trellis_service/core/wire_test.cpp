// What crosses the border: the fields of each request of a client and of each call to one, in order, and in which words
// a request that is cut off, or a call that cannot be made, is refused.

#include <tuple>

#include "bytes.h"
#include "core/trellis_callback_proxy.h"
#include "hilog/host_log.h"
#include "remote_call.h"
#include "service_fixture.h"
#include "share_log.h"
#include "transfer/sender_action_callback_proxy.h"
#include "trellis_service_proxy.h"

namespace OHOS::Pelago {
namespace {

using namespace std::string_literals;
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
    // The call makes this request, and no other.
    template <typename... Fields>
    void Writes(const std::function<void()>& call, uint32_t code, const Fields&... fields)
    {
        SCOPED_TRACE(code);
        call();
        MessageParcel same;
        ASSERT_TRUE(Wire::PutRequest(same, token, fields...));
        EXPECT_EQ(object->lastCode, code);
        EXPECT_EQ(object->request, BytesOf(same));
        EXPECT_EQ(object->waitTime, waitSeconds);
    }

    void Refused(TestClient& client, uint32_t code, const Refusal& row)
    {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        ASSERT_TRUE(data.WriteInterfaceToken(
            row.records == "-" ? u"ohos.pelago.ITrellisService" : ITrellisService::GetDescriptor()));
        for (char record : row.records) {
            ASSERT_TRUE(record == 'd'   ? device.WriteToParcel(data)
                        : record == 'f' ? files.WriteToParcel(data)
                                        : record != 'u' || uris.WriteToParcel(data));
        }
        uint64_t before = Host::LastLogSeq();
        EXPECT_EQ(client.Remote()->SendRequest(code, data, reply, option), row.result);
        EXPECT_EQ(reply.GetDataSize(), row.result == 0 ? 4U : 0U);
        Lines errors = ErrorsSince(before, "ShareManagerS");
        EXPECT_EQ(errors.empty() ? "" : errors.back(), row.words);
    }

    ShareDeviceInfo device = Entry("phone");
    SendBean files;
    DataBean uris;
    BytesInfo bytes;
    const sptr<CapturingObject> object = new CapturingObject();
    std::u16string token; // that requests carry
    int waitSeconds = 8;
};

TEST_F(Wires, OfAClientsRequests)
{
    TrellisServiceProxy service(object);
    const sptr<RecordingCallback> trellis = new RecordingCallback();
    const sptr<RecordingSenderAction> action = new RecordingSenderAction();
    token = u"ohos.Pelago.ITrellisService";
    waitSeconds = 30;
    const std::pair<uint32_t, std::function<void()>> bare[] = {{3, [&] { (void)service.IsEnabled(); }},
        {4, [&] { (void)service.GetEnableState(); }}, {7, [&] { (void)service.StartDiscovery(); }},
        {8, [&] { (void)service.StopDiscovery(); }}, {9, [&] { (void)service.StartConnect(); }},
        {10, [&] { (void)service.StopConnect(); }}, {11, [&] { (void)service.GetSendingUserList(); }},
        {19, [&] { (void)service.GetReceiverActionCallback(); }}, {20, [&] { (void)service.GetPreviewData(); }},
        {21, [&] { (void)service.GetAllUserList(); }}, {22, [&] { (void)service.GetAccountInfo(); }},
        {5, [&] { (void)service.RegisterTrellisCallback(nullptr); }},
        {32, [&] { (void)service.RegisterShareApiCallback(nullptr); }},
        {33, [&] { (void)service.UnregisterShareApiCallback(nullptr); }}, // nothing is handed on: the service decides
        {36, [&] { (void)service.IsFocusPidsRegisterSwing(); }}};
    for (const auto& [code, call] : bare) {
        Writes(call, code);
    }
    Writes([&] { (void)service.SetShareEnable(7, 8, true); }, 1, 7, 8, true);
    Writes([&] { (void)service.SetShareEnableWithConfirm(7, 8, true, false); }, 2, 7, 8, true, false);
    Writes([&] { (void)service.RegisterTrellisCallback(trellis); }, 5, trellis->AsObject());
    Writes([&] { (void)service.UnRegisterTrellisCallback(trellis); }, 6, trellis->AsObject());
    Writes([&] { (void)service.PrepareSend(device); }, 12, device);
    Writes([&] { (void)service.Send(device, files, "app"); }, 13, device, files, "app"s);
    Writes([&] { (void)service.SendBytes(device, bytes); }, 14, device, bytes);
    Writes([&] { (void)service.SendFile(device, uris, "app"); }, 15, device, uris, "app"s);
    Writes([&] { (void)service.Cancel(device); }, 16, device);
    Writes([&] { (void)service.RegisterSenderActionCallback(action); }, 17, action->AsObject());
    Writes([&] { (void)service.UnRegisterSenderActionCallback(action); }, 18, action->AsObject());
    Writes([&] { (void)service.SetShareAccountPermission(7); }, 23, 7);
    Writes([&] { (void)service.RegisterCorvaneShareApiTrellisCallback(trellis); }, 24, trellis->AsObject());
    Writes([&] { (void)service.UnRegisterCorvaneShareApiTrellisCallback(trellis); }, 25, trellis->AsObject());
    Writes([&] { (void)service.RegisterCorvaneShareApiEvent("name"); }, 26, "name"s);
    Writes([&] { (void)service.UnRegisterCorvaneShareApiEvent("name"); }, 27, "name"s);
    Writes([&] { (void)service.NotifyInfo(device, 7); }, 28, device, 7);
    Writes([&] { (void)service.ApplyUriPermission("uri"); }, 29, "uri"s);
    Writes([&] { (void)service.SwingConfirm(device, 7); }, 30, device, 7);
    Writes([&] { (void)service.IsAppForeground("bundle"); }, 31, "bundle"s);
    Writes([&] { (void)service.RegisterShareEventCallback(7, 8); }, 34, 7, 8);
    Writes([&] { (void)service.UnregisterShareEventCallback(7, 8); }, 35, 7, 8);
    EXPECT_EQ(TrellisServiceProxy::LastError(), -2); // an answer without its bool is none
}

TEST_F(Wires, OfTheCallsToAClient)
{
    TrellisCallbackProxy client(object);
    token = u"ohos.pelago.PelagoTrellisServiceCallback";
    Writes([&] { client.OnEnableStatusChanged(); }, 1);
    Writes([&] { client.OnDeviceFound(device); }, 2, device);
    Writes([&] { client.OnDeviceLost(device); }, 3, device);
    Writes([&] { client.OnTransStateChange(device, 2, -3, 1LL << 40); }, 4, device, int64_t{2}, int64_t{-3},
        int64_t{1} << 40);
    Writes([&] { client.OnSend(device, files); }, 5, device, files);
    Writes([&] { client.OnSendBytes(device, bytes); }, 6, device, bytes);
    Writes([&] { client.OnCancel(device); }, 7, device);
    Writes([&] { client.OnSendFile(device, uris); }, 12, device, uris);
    Writes([&] { client.OnConnectHub("name", 5); }, 13, 5, "name"s);
    Writes([&] { client.OnCorvaneIdHeadImageReceive(device, "image"); }, 14, device, "image"s);
    Writes([&] { client.OnThermalLevelChanged(1, 2, 3, 4); }, 15, 1, 2, int8_t{3}, int8_t{4});
    Writes([&] { client.OnReportSwingEvent(1, 2, 3, "id"); }, 16, 1, 2, 3, "id"s);
    Writes([&] { client.OnSwingPop(device); }, 17, device);
    Writes([&] { client.OnSwitchNotifyComponent(6); }, 18, 6);

    SenderActionCallbackProxy follower(object);
    const sptr<PelagoReceiver> receiver = new ScriptedReceiver();
    const sptr<IRemoteObject> its = receiver->AsObject();
    token = u"ohos.pelago.ISenderActionCallback";
    Writes([&] { follower.OnStatusChanged(-1); }, 1, int8_t{-1});
    Writes([&] { follower.OnPreviewReceive(receiver); }, 2, its);
    Writes([&] { follower.OnSendCancelBeforeConfirm(receiver); }, 3, its);
    Writes([&] { follower.OnErrorBeforeConfirm(receiver, 7); }, 4, its, 7);
    Writes([&] { follower.OnRecvBytesInfo(receiver, "Ann", 7, "bytes", "preview"); }, 5, its, "Ann"s, 7, "bytes"s,
        "preview"s);
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
    AllowError(
        "Permission denied, ret: -1", "No PELAGO_SWITCH_CONTROL permission", "No ACCESS_PELAGO_SERVICE permission");
    auto plain = NewClient(Host::TokenId::PLAIN);
    for (const auto& [code, result, right] : {std::tuple(2U, -31, "PELAGO_SWITCH_CONTROL"),
             {3U, -32, "ACCESS_PELAGO_SERVICE"}, {99U, -32, "ACCESS_PELAGO_SERVICE"}}) {
        uint64_t before = Host::LastLogSeq();
        Refused(*plain, code, {{}, "", result, ""});
        EXPECT_EQ(
            ErrorsSince(before, Log::PERMISSION.tag).back(), Log::PERMISSION.tag + ": No "s + right + " permission");
    }
    EXPECT_FALSE((*client)->RegisterShareApiCallback(nullptr));
    EXPECT_EQ(TrellisServiceProxy::LastError(), -34);
    EXPECT_TRUE((*client)->StopConnect());
    EXPECT_EQ(TrellisServiceProxy::LastError(), 0);
}

TEST_F(Wires, OfACallThatFailsAreLoggedInItsOwnWordsAndForgotten)
{
    files.uriList.resize(1); // without a descriptor
    uris.text = std::string(3 << 20, 'x');
    bytes.text = uris.text;
    const std::string image(300000, 'x');
    // The words; the call; what the client answers: a call that cannot be written reaches none.
    const std::tuple<const char*, std::function<void(TrellisCallbackProxy&)>, int> failures[] = {
        {"Write SendBean failed", [&](auto& client) { client.OnSend(device, files); }, 0},
        {"Write SendBean failed", [&](auto& client) { client.OnSendFile(device, uris); }, 0},
        {"Write BytesInfo failed", [&](auto& client) { client.OnSendBytes(device, bytes); }, 0},
        {"Write headImage failed", [&](auto& client) { client.OnCorvaneIdHeadImageReceive(device, image); }, 0},
        {"Write StateValue failed", [&](auto& client) { client.OnConnectHub(image, 1); }, 0},
        {"Write concurrentId failed", [&](auto& client) { client.OnReportSwingEvent(1, 2, 3, image); }, 0},
        {"SendRequest is failed, error code: 77", [](auto& client) { client.OnEnableStatusChanged(); }, 77},
        {"ConnectHub is failed, error code: 77", [](auto& client) { client.OnConnectHub("name", 1); }, 77},
        {"param receiver is nullptr.",
            [](auto& client) { SenderActionCallbackProxy(client.AsObject()).OnSendCancelBeforeConfirm(nullptr); }, 0},
    };
    AllowError("failed."); // the records' own words
    TrellisCallbackProxy proxy(object);
    for (const auto& [words, call, answer] : failures) {
        AllowError(words);
        object->answer = answer;
        object->request.clear();
        uint64_t before = Host::LastLogSeq();
        call(proxy);
        EXPECT_EQ(ErrorsSince(before, "ShareManagerProxy"), Lines{"ShareManagerProxy: "s + words});
        EXPECT_EQ(object->request.empty(), answer == 0) << words;
    }
}

} // namespace
} // namespace OHOS::Pelago
