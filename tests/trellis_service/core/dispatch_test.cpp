// The road of a client's request: token, right, arguments, operation, reply, for every code, from the client's proxy to
// the operation. The service is one that writes down what reaches it.

#include <cstring>
#include <type_traits>

#include "callback_stubs.h"
#include "core/share_manager_srv_stub.h"
#include "engine_handles.h"
#include "hilog/host_log.h"
#include "ipc_types.h"
#include "service_fixture.h"
#include "trellis_service_proxy.h"

namespace OHOS::Pelago {
namespace {

class ApiCallback : public ShareApiCallbackStub {
public:
    void OnShareEventOccurred(int32_t, int32_t, const ShareDeviceInfo&) override
    {}
};

// How an argument reads in what the service heard: a payload by its words, a device by its id.
template <typename Argument>
std::string Told(const Argument& argument)
{
    if constexpr (std::is_integral_v<Argument>) {
        return std::to_string(argument);
    } else if constexpr (std::is_convertible_v<Argument, std::string>) {
        return argument;
    } else if constexpr (std::is_same_v<Argument, ShareDeviceInfo>) {
        return argument.deviceId;
    } else if constexpr (std::is_constructible_v<bool, Argument>) {
        return argument == nullptr ? "null" : "callback";
    } else {
        return argument.text;
    }
}

#define PARAMETERS(...) __VA_ARGS__
#define NOTED(name, parameters, ...)                                                                                   \
    bool name(PARAMETERS parameters) override                                                                          \
    {                                                                                                                  \
        return Note(#name __VA_OPT__(, ) __VA_ARGS__);                                                                 \
    }

class FakeService : public ShareManagerSrvStub {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override
    {
        request.assign(data.GetData(), data.GetData() + data.GetDataSize());
        int result = ShareManagerSrvStub::OnRemoteRequest(code, data, reply, option);
        replySize = reply.GetDataSize();
        return result;
    }

    using Trellis = const sptr<PelagoTrellisServiceCallback>&;
    using Action = const sptr<ISenderActionCallback>&;
    using Api = const sptr<PelagoApiCallback>&;
    using Device = const ShareDeviceInfo&;
    using Text = const std::string&;
    NOTED(SetShareEnable, (int32_t a, int32_t b, bool c), a, b, c)
    NOTED(SetShareEnableWithConfirm, (int32_t a, int32_t b, bool c, bool d), a, b, c, d)
    NOTED(IsEnabled, ())
    int32_t GetEnableState() override
    {
        return Note("GetEnableState") ? 2 : 0;
    }
    NOTED(IsFocusPidsRegisterSwing, ())
    NOTED(RegisterTrellisCallback, (Trellis a), a)
    NOTED(UnRegisterTrellisCallback, (Trellis a), a)
    NOTED(StartDiscovery, ())
    NOTED(StopDiscovery, ())
    NOTED(StartConnect, ())
    NOTED(StopConnect, ())
    std::vector<ShareDeviceInfo> GetAllUserList() override
    {
        (void)Note("GetAllUserList");
        return {Entry("phone"), Entry("tablet")};
    }
    std::vector<ShareDeviceInfo> GetSendingUserList() override
    {
        (void)Note("GetSendingUserList");
        return {};
    }
    NOTED(PrepareSend, (Device a), a)
    NOTED(Send, (Device a, SendBean& b, Text c), a, b, c)
    NOTED(SendFile, (Device a, const DataBean& b, Text c), a, b, c)
    NOTED(SendBytes, (Device a, const BytesInfo& b), a, b)
    NOTED(Cancel, (Device a), a)
    NOTED(RegisterSenderActionCallback, (Action a), a)
    NOTED(UnRegisterSenderActionCallback, (Action a), a)
    sptr<PelagoReceiver> GetReceiverActionCallback() override
    {
        (void)Note("GetReceiverActionCallback");
        return receiver;
    }
    std::string GetPreviewData() override
    {
        (void)Note("GetPreviewData");
        return preview;
    }
    ShareAccountInfo GetAccountInfo() override
    {
        (void)Note("GetAccountInfo");
        ShareAccountInfo account;
        account.nickName = "Ann";
        return account;
    }
    NOTED(SetShareAccountPermission, (int32_t a), a)
    NOTED(RegisterCorvaneShareApiTrellisCallback, (Trellis a), a)
    NOTED(UnRegisterCorvaneShareApiTrellisCallback, (Trellis a), a)
    NOTED(RegisterCorvaneShareApiEvent, (Text a), a)
    NOTED(UnRegisterCorvaneShareApiEvent, (Text a), a)
    NOTED(NotifyInfo, (Device a, int32_t b), a, b)
    NOTED(ApplyUriPermission, (Text a), a)
    NOTED(SwingConfirm, (Device a, int32_t b), a, b)
    NOTED(IsAppForeground, (Text a), a)
    NOTED(RegisterShareApiCallback, (Api a), a)
    NOTED(UnregisterShareApiCallback, (Api a), a)
    NOTED(RegisterShareEventCallback, (int32_t a, int32_t b), a, b)
    NOTED(UnregisterShareEventCallback, (int32_t a, int32_t b), a, b)

    std::string called;
    std::vector<uint8_t> request;
    size_t replySize = 0;
    sptr<PelagoReceiver> receiver;
    std::string preview;
    bool answer = true;

private:
    template <typename... Values>
    bool Note(const char* name, const Values&... values)
    {
        called += name;
        (void)std::initializer_list<int>{(called += " " + Told(values), 0)...};
        return answer;
    }
};

// What a client passes in this test: integers count from 7, booleans are true, texts "text", payloads say "words".
struct Client {
    ITrellisService& service;
    sptr<RecordingCallback> trellis = new RecordingCallback();
    sptr<RecordingSenderAction> action = new RecordingSenderAction();
    sptr<ApiCallback> api = new ApiCallback();
    ShareDeviceInfo device = Entry("phone");
    SendBean files{};
    DataBean uris{};
    BytesInfo bytes{};
};

struct Row {
    uint32_t code;
    // i integer, b bool, s text, D device, F files, U uris, Y bytes; t, a, x the three callbacks, capital where null is
    // refused.
    const char* fields;
    std::string (*call)(Client& client);
    const char* heard;                 // by the service
    const char* answer;                // by the client
    std::vector<const char*> refusals; // what the log says when a tested field is missing, in order
};

#define CALL(operation) [](Client& client) { return Told(client.service.operation); }
constexpr const char* NO_DEVICE = "read ShareDeviceInfo failed.";
constexpr const char* NO_TARGET = "read deviceInfo failed.";
constexpr const char* NO_CALLBACK = "callback is null!";

const std::vector<Row>& Rows()
{
    static const std::vector<Row> rows{
        {1, "iib", CALL(SetShareEnable(7, 8, true)), "SetShareEnable 7 8 1", "1", {}},
        {2, "iibb", CALL(SetShareEnableWithConfirm(7, 8, true, true)), "SetShareEnableWithConfirm 7 8 1 1", "1", {}},
        {3, "", CALL(IsEnabled()), "IsEnabled", "1", {}},
        {4, "", CALL(GetEnableState()), "GetEnableState", "2", {}},
        {5, "t", CALL(RegisterTrellisCallback(client.trellis)), "RegisterTrellisCallback callback", "1", {}},
        {6, "t", CALL(UnRegisterTrellisCallback(client.trellis)), "UnRegisterTrellisCallback callback", "1", {}},
        {7, "", CALL(StartDiscovery()), "StartDiscovery", "1", {}},
        {8, "", CALL(StopDiscovery()), "StopDiscovery", "1", {}},
        {9, "", CALL(StartConnect()), "StartConnect", "1", {}},
        {10, "", CALL(StopConnect()), "StopConnect", "1", {}},
        {11, "", CALL(GetSendingUserList().size()), "GetSendingUserList", "0", {}},
        {12, "D", CALL(PrepareSend(client.device)), "PrepareSend phone", "1", {NO_DEVICE}},
        {13, "DFs", CALL(Send(client.device, client.files, "text")), "Send phone words text", "1",
            {NO_TARGET, "read sendBean failed.", "read packageName failed."}},
        {14, "DY", CALL(SendBytes(client.device, client.bytes)), "SendBytes phone words", "1",
            {NO_TARGET, "read bytesInfo failed."}},
        {15, "DUs", CALL(SendFile(client.device, client.uris, "text")), "SendFile phone words text", "1",
            {NO_TARGET, "read dataBean failed.", "read packageName failed."}},
        {16, "D", CALL(Cancel(client.device)), "Cancel phone", "1", {NO_DEVICE}},
        {17, "a", CALL(RegisterSenderActionCallback(client.action)), "RegisterSenderActionCallback callback", "1", {}},
        {18, "a", CALL(UnRegisterSenderActionCallback(client.action)), "UnRegisterSenderActionCallback callback", "1",
            {}},
        {19, "", CALL(GetReceiverActionCallback()), "GetReceiverActionCallback", "callback", {}},
        {20, "", CALL(GetPreviewData()), "GetPreviewData", "preview", {}},
        {21, "", CALL(GetAllUserList().back()), "GetAllUserList", "tablet", {}},
        {22, "", CALL(GetAccountInfo().nickName), "GetAccountInfo", "Ann", {}},
        {23, "i", CALL(SetShareAccountPermission(7)), "SetShareAccountPermission 7", "1", {}},
        {24, "T", CALL(RegisterCorvaneShareApiTrellisCallback(client.trellis)),
            "RegisterCorvaneShareApiTrellisCallback callback", "1", {NO_CALLBACK}},
        {25, "T", CALL(UnRegisterCorvaneShareApiTrellisCallback(client.trellis)),
            "UnRegisterCorvaneShareApiTrellisCallback callback", "1", {NO_CALLBACK}},
        {26, "s", CALL(RegisterCorvaneShareApiEvent("text")), "RegisterCorvaneShareApiEvent text", "1",
            {"read eventName failed."}},
        {27, "s", CALL(UnRegisterCorvaneShareApiEvent("text")), "UnRegisterCorvaneShareApiEvent text", "1",
            {"read eventName failed."}},
        {28, "Di", CALL(NotifyInfo(client.device, 7)), "NotifyInfo phone 7", "1", {NO_DEVICE}},
        {29, "s", CALL(ApplyUriPermission("text")), "ApplyUriPermission text", "1", {"read uriString failed."}},
        {30, "Di", CALL(SwingConfirm(client.device, 7)), "SwingConfirm phone 7", "1", {NO_DEVICE}},
        {31, "s", CALL(IsAppForeground("text")), "IsAppForeground text", "1", {"read bundleName failed."}},
        {32, "X", CALL(RegisterShareApiCallback(client.api)), "RegisterShareApiCallback callback", "1", {NO_CALLBACK}},
        {33, "X", CALL(UnregisterShareApiCallback(client.api)), "UnregisterShareApiCallback callback", "1",
            {NO_CALLBACK}},
        {34, "ii", CALL(RegisterShareEventCallback(7, 8)), "RegisterShareEventCallback 7 8", "1", {}},
        {35, "ii", CALL(UnregisterShareEventCallback(7, 8)), "UnregisterShareEventCallback 7 8", "1", {}},
        {36, "", CALL(IsFocusPidsRegisterSwing()), "IsFocusPidsRegisterSwing", "1", {}},
    };
    return rows;
}

class Dispatch : public ServiceFixture {
protected:
    void SetUp() override
    {
        ServiceFixture::SetUp();
        service->receiver = new ScriptedReceiver();
        service->preview = "preview";
        client.files.text = client.uris.text = client.bytes.text = "words";
        for (const Row& row : Rows()) {
            for (const char* refusal : row.refusals) {
                AllowError(refusal);
            }
        }
    }

    // The first `count` fields of the row, behind `token`.
    void Write(MessageParcel& data, const Row& row, size_t count, const std::u16string& token)
    {
        ASSERT_TRUE(data.WriteInterfaceToken(token));
        int32_t integer = 7;
        for (char field : std::string(row.fields).substr(0, count)) {
            ASSERT_TRUE(WriteField(data, field, integer)) << field;
        }
    }
    bool WriteField(MessageParcel& data, char field, int32_t& integer)
    {
        switch (field) {
            case 'i':
                return data.WriteInt32(integer++);
            case 'b':
                return data.WriteBool(true);
            case 's':
                return data.WriteString("text");
            case 'D':
                return client.device.WriteToParcel(data);
            case 'F':
                return client.files.WriteToParcel(data);
            case 'U':
                return client.uris.WriteToParcel(data);
            case 'Y':
                return client.bytes.WriteToParcel(data);
            case 'a':
                return data.WriteRemoteObject(client.action->AsObject());
            case 'X':
                return data.WriteRemoteObject(client.api->AsObject());
            default: // 't' and 'T'
                return data.WriteRemoteObject(client.trellis->AsObject());
        }
    }

    // Sends the request as `process`; what the service made of it is in `service`.
    int Request(TestClient& process, uint32_t code, MessageParcel& data)
    {
        service->called.clear();
        service->replySize = 0;
        MessageParcel reply;
        MessageOption option;
        return process.Remote()->SendRequest(code, data, reply, option);
    }

    // What the road answers to a request whose fields end before `count`, and in which words.
    static std::pair<int, std::string> Expected(const Row& row, size_t count)
    {
        size_t tested = 0;
        for (size_t i = 0; row.fields[i] != '\0'; ++i) {
            size_t kind = std::string("DFUYsTX").find(row.fields[i]);
            if (kind == std::string::npos) {
                continue;
            }
            if (i >= count) {
                constexpr int RESULTS[] = {-18, -27, -27, -27, -28, -34, -34};
                return {RESULTS[kind], row.refusals[tested]};
            }
            ++tested;
        }
        return {0, ""};
    }

    sptr<FakeService> service = new FakeService();
    TestClient owner{5000, Host::TokenId::OWNER, service->AsObject()};
    Client client{*owner.operator->()};
};

TEST_F(Dispatch, EachRequestReachesItsOperationInTheFieldsOfItsRow)
{
    for (const Row& row : Rows()) {
        SCOPED_TRACE(row.heard);
        service->called.clear();
        EXPECT_EQ(row.call(client), row.answer);
        EXPECT_EQ(TrellisServiceProxy::LastError(), 0);
        EXPECT_EQ(service->called, row.heard);
        MessageParcel same;
        Write(same, row, SIZE_MAX, ITrellisService::GetDescriptor());
        EXPECT_EQ(service->request, std::vector<uint8_t>(same.GetData(), same.GetData() + same.GetDataSize()));
    }
    EXPECT_EQ(Rows().size(), TRELLIS_SERVICE_CODE_COUNT);
}

TEST_F(Dispatch, AFalseOfTheOperationIsNoErrorOfTheRoad)
{
    service->answer = false;
    for (const Row& row : Rows()) {
        if (row.answer == std::string("1")) {
            EXPECT_EQ(row.call(client), "0") << row.heard;
            EXPECT_EQ(TrellisServiceProxy::LastError(), 0) << row.heard;
        }
    }
}

TEST_F(Dispatch, ATruncatedRequestIsRefusedAtTheFirstTestedFieldAndReadsZeroElsewhere)
{
    for (const Row& row : Rows()) {
        for (size_t count = 0; count < std::strlen(row.fields); ++count) {
            SCOPED_TRACE(std::string(row.heard) + " with " + std::to_string(count));
            MessageParcel data;
            Write(data, row, count, ITrellisService::GetDescriptor());
            uint64_t before = Host::LastLogSeq();
            auto [result, words] = Expected(row, count);
            EXPECT_EQ(Request(owner, row.code, data), result);
            EXPECT_EQ(service->called.empty(), result != 0);
            EXPECT_EQ(service->replySize, result == 0 ? 4U : 0U);
            std::string said;
            for (const Host::LogLine& line : Host::ReadLog(before)) {
                if (line.level >= LOG_ERROR) {
                    said = line.text.substr(line.text.find("# ") + 2);
                    EXPECT_EQ(line.tag, words == NO_CALLBACK ? "ShareManagerService" : "ShareManagerStub");
                }
            }
            EXPECT_EQ(said, words);
        }
    }
    MessageParcel empty;
    ASSERT_TRUE(empty.WriteInterfaceToken(ITrellisService::GetDescriptor()));
    EXPECT_EQ(Request(owner, 1, empty), 0);
    EXPECT_EQ(service->called, "SetShareEnable 0 0 0");
    EXPECT_FALSE(client.service.RegisterShareApiCallback(nullptr));
    EXPECT_EQ(TrellisServiceProxy::LastError(), -34);
    service->called.clear();
    EXPECT_TRUE(client.service.UnRegisterTrellisCallback(nullptr)); // handed on: the operation decides
    EXPECT_EQ(service->called, "UnRegisterTrellisCallback null");
}

TEST_F(Dispatch, TheTokenComesBeforeCodeAndRight)
{
    AllowError("ShareManagerSrvStub::OnRemoteRequest failed, descriptor is not matched");
    TestClient plain{5001, Host::TokenId::PLAIN, service->AsObject()};
    for (const char16_t* token :
        {u"", u"ohos.pelago.ITrellisService", u"ohos.Pelago.ITrellisServic", u"ohos.Pelago.ITrellisService "}) {
        for (const Row& row : Rows()) {
            MessageParcel data;
            Write(data, row, SIZE_MAX, token);
            EXPECT_EQ(Request(owner, row.code, data), -10) << row.heard;
            EXPECT_EQ(service->called + std::to_string(service->replySize), "0");
        }
    }
    MessageParcel nothing;
    EXPECT_EQ(Request(plain, 99, nothing), -10);
}

TEST_F(Dispatch, EachClassOfCallerMayUseItsCodesAndNoOthers)
{
    AllowError("ermission"); // the refusals of the permission check
    struct Class {
        uint32_t tokenId;
        bool mayShare;
        bool maySwitch;
    };
    for (const Class& caller : {Class{Host::TokenId::OWNER, true, true}, Class{Host::TokenId::SWITCH, false, true},
             Class{Host::TokenId::EXTENSION, true, false}, Class{Host::TokenId::PLAIN, false, false}}) {
        TestClient process(5001, caller.tokenId, service->AsObject());
        for (uint32_t code : {0U, 37U, 0xFFFFFFFFU}) {
            MessageParcel data;
            ASSERT_TRUE(data.WriteInterfaceToken(ITrellisService::GetDescriptor()));
            EXPECT_EQ(Request(process, code, data), caller.mayShare ? IPC_UNKNOWN_CODE : -32);
        }
        for (const Row& row : Rows()) {
            SCOPED_TRACE(row.heard + std::to_string(caller.tokenId));
            bool isSwitch = row.code <= 2;
            bool may = row.code >= 32 || (isSwitch ? caller.maySwitch : caller.mayShare);
            MessageParcel data;
            ASSERT_TRUE(data.WriteInterfaceToken(ITrellisService::GetDescriptor()));
            EXPECT_EQ(Request(process, row.code, data), may ? Expected(row, 0).first : (isSwitch ? -31 : -32));
            EXPECT_TRUE(may || (service->called.empty() && service->replySize == 0));
        }
    }
}

TEST_F(Dispatch, NoPreviewAndNoReceiverAreErrorsAndALongPreviewIsNone)
{
    service->preview =
        std::string(300000, 'p') + "end"; // beyond a parcel's room and beyond raw data that travels inline
    EXPECT_EQ(client.service.GetPreviewData(), service->preview);
    service->preview.clear();
    service->receiver = nullptr;
    AllowError("Get preview data failed.");
    AllowError("Get receiver action callback failed.");
    for (uint32_t code : {19U, 20U}) {
        MessageParcel data;
        ASSERT_TRUE(data.WriteInterfaceToken(ITrellisService::GetDescriptor()));
        EXPECT_EQ(Request(owner, code, data), -11);
        EXPECT_EQ(service->replySize, 0U);
    }
    MessageParcel reply;
    AllowError("Empty message.");
    EXPECT_TRUE(ShareManagerSrvStub::WriteBigString(reply, ""));
    EXPECT_EQ(reply.GetDataSize(), 4U);
    EXPECT_EQ(reply.ReadUint32(), 1U);
}

} // namespace
} // namespace OHOS::Pelago
