#include "ipc_types.h"
#include "message_parcel.h"
#include "process_scene.h"
#include "remote_call.h"

// Every code from a client process: with each class of rights, with a wrong token, cut off behind every field, and from
// inside a callback.
namespace OHOS::Pelago {
namespace {

using Code = TrellisServiceCode;
using Field = std::function<bool(MessageParcel&)>;

enum class Right {
    SWITCH,
    CAPABILITY,
    NONE,
};

struct Row {
    Code code;
    Right right;
    std::vector<Field> fields;
    std::vector<int> results; // by how many fields are there
};

template <typename Value>
Field Of(Value value)
{
    return [value](MessageParcel& data) { return Wire::Put(data, value); };
}

Field Object(const sptr<IRemoteObject>& object)
{
    return [object](MessageParcel& data) { return data.WriteRemoteObject(object); };
}

// All in the order of the codes; a device that is nowhere, and files that are none, keep the service as it is.
std::vector<Row> Rows(const ShareDeviceInfo& who = {})
{
    Field number = Of<int32_t>(7);
    Field flag = Of(false);
    Field text = Of(std::string("text"));
    Field device = Of(who);
    Field trellis = Object(sptr<CountingCallback>(new CountingCallback())->AsObject());
    Field action = Object(sptr<RecordingSenderAction>(new RecordingSenderAction())->AsObject());
    Field api = Object(new IPCObjectStub());
    using R = Right;
    return {
        {Code::SET_SHARE_ENABLE, R::SWITCH, {Of<int32_t>(2), Of<int32_t>(0), flag}, {0, 0, 0, 0}},
        {Code::SET_SHARE_ENABLE_WITH_CONFIRM, R::SWITCH, {Of<int32_t>(2), Of<int32_t>(0), flag, flag}, {0, 0, 0, 0, 0}},
        {Code::IS_ENABLED, R::CAPABILITY, {}, {0}},
        {Code::GET_ENABLE_STATE, R::CAPABILITY, {}, {0}},
        {Code::REGISTER_TRELLIS_CALLBACK, R::CAPABILITY, {trellis}, {0, 0}},
        {Code::UNREGISTER_TRELLIS_CALLBACK, R::CAPABILITY, {trellis}, {0, 0}},
        {Code::START_DISCOVERY, R::CAPABILITY, {}, {0}},
        {Code::STOP_DISCOVERY, R::CAPABILITY, {}, {0}},
        {Code::START_CONNECT, R::CAPABILITY, {}, {0}},
        {Code::STOP_CONNECT, R::CAPABILITY, {}, {0}},
        {Code::GET_SENDING_USER_LIST, R::CAPABILITY, {}, {0}},
        {Code::PREPARE_SEND, R::CAPABILITY, {device}, {-18, 0}},
        {Code::SEND, R::CAPABILITY, {device, Of(SendBean()), text}, {-18, -27, -28, 0}},
        {Code::SEND_BYTES, R::CAPABILITY, {device, Of(BytesInfo())}, {-18, -27, 0}},
        {Code::SEND_FILE, R::CAPABILITY, {device, Of(DataBean()), text}, {-18, -27, -28, 0}},
        {Code::CANCEL, R::CAPABILITY, {device}, {-18, 0}},
        {Code::REGISTER_SENDER_ACTION_CALLBACK, R::CAPABILITY, {action}, {0, 0}},
        {Code::UNREGISTER_SENDER_ACTION_CALLBACK, R::CAPABILITY, {action}, {0, 0}},
        {Code::GET_RECEIVER_ACTION_CALLBACK, R::CAPABILITY, {}, {-11}},
        {Code::GET_PREVIEW_DATA, R::CAPABILITY, {}, {-11}},
        {Code::GET_ALL_USER_LIST, R::CAPABILITY, {}, {0}},
        {Code::GET_ACCOUNT_INFO, R::CAPABILITY, {}, {0}},
        {Code::SET_SHARE_ACCOUNT_PERMISSION, R::CAPABILITY, {number}, {0, 0}},
        {Code::REGISTER_CORVANE_SHARE_API_TRELLIS_CALLBACK, R::CAPABILITY, {trellis}, {-34, 0}},
        {Code::UNREGISTER_CORVANE_SHARE_API_TRELLIS_CALLBACK, R::CAPABILITY, {trellis}, {-34, 0}},
        {Code::REGISTER_CORVANE_SHARE_API_EVENT, R::CAPABILITY, {text}, {-28, 0}},
        {Code::UNREGISTER_CORVANE_SHARE_API_EVENT, R::CAPABILITY, {text}, {-28, 0}},
        {Code::NOTIFY_INFO, R::CAPABILITY, {device, number}, {-18, 0, 0}},
        {Code::APPLY_URI_PERMISSION, R::CAPABILITY, {text}, {-28, 0}},
        {Code::SWING_CONFIRM, R::CAPABILITY, {device, number}, {-18, 0, 0}},
        {Code::IS_APP_FOREGROUND, R::CAPABILITY, {text}, {-28, 0}},
        {Code::REGISTER_SHARE_API_CALLBACK, R::NONE, {api}, {-34, 0}},
        {Code::UNREGISTER_SHARE_API_CALLBACK, R::NONE, {api}, {-34, 0}},
        {Code::REGISTER_SHARE_EVENT_CALLBACK, R::NONE, {number, number}, {0, 0, 0}},
        {Code::UNREGISTER_SHARE_EVENT_CALLBACK, R::NONE, {number, number}, {0, 0, 0}},
        {Code::IS_FOCUS_PIDS_REGISTER_SWING, R::NONE, {}, {0}},
    };
}

struct Caller {
    const char* token;
    bool mayS;
    bool mayC;
};
constexpr Caller CALLERS[] = {
    {"owner", true, true}, {"switch", true, false}, {"app", false, true}, {"plain", false, false}};

int Ask(const sptr<IRemoteObject>& service, uint32_t code, const std::vector<Field>& fields, size_t count,
    const std::u16string& token = ITrellisService::GetDescriptor())
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    EXPECT_TRUE(data.WriteInterfaceToken(token));
    for (size_t i = 0; i < count; ++i) {
        EXPECT_TRUE(fields[i](data));
    }
    return service->SendRequest(code, data, reply, option);
}

int Expected(const Caller& caller, Right right, int result)
{
    const int refused = right == Right::SWITCH && !caller.mayS ? -31 : -32;
    const bool may = right == Right::NONE || (right == Right::SWITCH ? caller.mayS : caller.mayC);
    return may ? result : refused;
}

class DispatchProcess : public ProcessScene {
protected:
    // Once, since what is asked for may be told to whoever asks.
    void AskForEverything(const ShareDeviceInfo& who)
    {
        if (begun_.exchange(true)) {
            return;
        }
        for (const Row& row : Rows(who)) {
            auto code = static_cast<uint32_t>(row.code);
            const int result = Ask(service, code, row.fields, row.fields.size());
            EXPECT_TRUE(result == row.results.back() || result == IPC_TIMED_OUT) << code << ": " << result;
        }
        answered = true;
    }

    const std::unique_ptr<RunningDevice> device = NewDevice("phone");
    sptr<IRemoteObject> service = device->ServiceObject("owner");
    std::atomic<bool> answered{false};

private:
    std::atomic<bool> begun_{false};
};

TEST_F(DispatchProcess, EveryCodeAnswersEveryCallerAsTheTableSays)
{
    std::vector<Row> rows = Rows();
    ASSERT_EQ(rows.size(), TRELLIS_SERVICE_CODE_COUNT);
    for (const Caller& caller : CALLERS) {
        service = device->ServiceObject(caller.token);
        for (const Row& row : rows) {
            auto code = static_cast<uint32_t>(row.code);
            SCOPED_TRACE(std::string(caller.token) + " code " + std::to_string(code));
            EXPECT_EQ(Ask(service, code, row.fields, row.fields.size(), u"ohos.pelago.ITrellisService"), -10);
            ASSERT_EQ(row.results.size(), row.fields.size() + 1);
            for (size_t count = 0; count <= row.fields.size(); ++count) {
                EXPECT_EQ(Ask(service, code, row.fields, count), Expected(caller, row.right, row.results[count]))
                    << count << " fields";
            }
        }
        EXPECT_EQ(Ask(service, 37, {}, 0), caller.mayC ? static_cast<int>(IPC_UNKNOWN_CODE) : -32);
    }
}

// What needs the locks that the service holds while it calls waits until the call has expired; all of it comes back.
TEST_F(DispatchProcess, AClientMayAskForEverythingFromInsideItsCallback)
{
    sptr<CountingCallback> first = new CountingCallback();
    ASSERT_TRUE(iface_cast<ITrellisService>(service)->RegisterTrellisCallback(first));
    first->during = [this](const std::string&) { AskForEverything({}); };
    EXPECT_TRUE(device->As("app")->RegisterTrellisCallback(new CountingCallback()));
    EXPECT_TRUE(WaitUntil([this] { return answered.load(); }));
}

TEST_F(DispatchProcess, AnApplicationMayAskForEverythingFromInsideItsCallback)
{
    sptr<ITrellisService> asked = iface_cast<ITrellisService>(service);
    ASSERT_TRUE(asked->RegisterShareApiCallback(new ApiCallback([&](int32_t, const ShareDeviceInfo& target) {
        EXPECT_TRUE(answered || asked->SendBytes(target, BytesInfo()));
        AskForEverything(target);
    })));
    ASSERT_TRUE(asked->RegisterShareEventCallback(3, 1)); // gestures
    device->Focus(::getpid());
    EXPECT_EQ(device->Control({"swing"}).result, Host::ControlResult::DONE);
    EXPECT_TRUE(WaitUntil([this] { return answered.load(); }));
    EXPECT_EQ(device->Dumped("gesture", "apps"), 0) << "what was unregistered inside is gone";
}

} // namespace
} // namespace OHOS::Pelago
