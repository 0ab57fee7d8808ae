#include "host/ability_registry.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ability_manager_client.h"
#include "hilog/host_log.h"
#include "host/ability_host.h"
#include "host/device.h"
#include "host/loopback.h"
#include "host/scheduler.h"
#include "iservice_registry.h"
#include "message_parcel.h"

using namespace OHOS;
using namespace OHOS::AAFwk;
using namespace OHOS::Host;
using AppExecFwk::ElementName;

namespace {

constexpr const char* BUNDLE = "com.example.app";
constexpr const char* MAIN = "MainExtension";
constexpr const char* DIALOG = "DialogExtension";
constexpr int64_t LIMIT_MS = AbilityRegistry::REGISTER_LIMIT.count();

// An extension that writes down what it hears, and answers connections with `object`.
class Extension : public ExtensionStub {
public:
    explicit Extension(std::string& text) : heard(text)
    {}
    void OnStart(const Want& want) override
    {
        heard += want.GetStringParam("what") + "; ";
    }
    sptr<IRemoteObject> OnConnect(const Want& want) override
    {
        heard += "connect " + want.GetStringParam("what") + "; ";
        return object;
    }
    void OnDisconnect(const Want& want) override
    {
        heard += "disconnect " + want.GetStringParam("what") + "; ";
    }
    std::string& heard;
    sptr<IRemoteObject> object = MakeSptr<IPCObjectStub>(u"answer");
};

struct ExtensionProcess {
    explicit ExtensionProcess(std::string& heard, uint32_t token = TokenId::EXTENSION)
        : process({4242, 20010, token}), extension(MakeSptr<Extension>(heard))
    {}
    [[nodiscard]] int32_t Register(
        const std::vector<std::string>& abilities = {MAIN, DIALOG}, const std::string& bundleName = BUNDLE)
    {
        return RegisterExtension(samgr, bundleName, abilities, extension);
    }

    LoopbackProcess process;
    sptr<Extension> extension;
    sptr<ISystemAbilityManager> samgr = SamgrOf(process.Connect(AbilityHost::Instance().RootObject()));
};

// A connection that writes down what becomes of it.
class Connection : public AbilityConnectionStub {
public:
    explicit Connection(std::string& text) : heard(text)
    {}
    void OnAbilityConnectDone(const ElementName& element, const sptr<IRemoteObject>& object, int result) override
    {
        EXPECT_TRUE(element == ElementName("", BUNDLE, MAIN) && object->GetObjectDescriptor() == u"answer");
        heard += "connected " + std::to_string(result) + "; ";
    }
    void OnAbilityDisconnectDone(const ElementName& element, int result) override
    {
        EXPECT_EQ(element, ElementName("", BUNDLE, MAIN));
        heard += "over " + std::to_string(result) + "; ";
        // The service tidies up here by calling in again; late by then.
        EXPECT_EQ(AbilityManagerClient::GetInstance()->DisconnectAbility(this), ERR_ABILITY_CONNECTION_UNKNOWN);
    }
    std::string& heard;
};

class AbilityRegistryTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Scheduler::Instance().UseManualTime());
        ASSERT_TRUE(registry.Publish());
    }
    void TearDown() override
    {
        registry.Shutdown();
    }
    // A command that runs and never registers: the tests play its process.
    static void GiveCommand()
    {
        Device::Instance().SetCommand(BUNDLE, {"sleep", "1000"});
    }
    [[nodiscard]] static Want WantOf(const std::string& what, const std::string& ability)
    {
        Want want;
        return want.SetElementName(BUNDLE, ability).SetParam("what", what);
    }
    [[nodiscard]] int32_t Start(const std::string& what, const std::string& ability = MAIN)
    {
        return client->StartExtensionAbility(WantOf(what, ability), nullptr);
    }
    [[nodiscard]] int32_t Connect(const std::string& what)
    {
        return client->ConnectAbility(WantOf(what, MAIN), connection);
    }
    std::string Heard(int64_t afterMs = 0)
    {
        EXPECT_TRUE(Scheduler::Instance().Advance(afterMs));
        return std::exchange(heard, "");
    }

    AbilityRegistry& registry = AbilityRegistry::Instance();
    std::shared_ptr<AbilityManagerClient> client = AbilityManagerClient::GetInstance();
    std::string heard;
    sptr<Connection> connection = MakeSptr<Connection>(heard);
    ExtensionProcess app{heard};
};

TEST_F(AbilityRegistryTest, WantsArriveLaterAndInOrder)
{
    EXPECT_EQ(Start("x"), ERR_ABILITY_NOT_REGISTERED) << "nobody, and no command that could change it";
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK);
    EXPECT_EQ(Start("first"), ERR_ABILITY_OK);
    EXPECT_EQ(Connect("second"), ERR_ABILITY_OK);
    EXPECT_EQ(Start("third", DIALOG), ERR_ABILITY_OK);
    EXPECT_EQ(heard, "") << "every call returns before anything of the extension runs";
    EXPECT_EQ(Heard(), "first; connect second; third; connected 0; ");
    EXPECT_EQ(Start(std::string(Parcel::DEFAULT_MAX_CAPACITY, 'x')), ERR_ABILITY_WANT_TOO_LARGE);
    EXPECT_EQ(client->ConnectAbility(WantOf("c", MAIN), nullptr), ERR_ABILITY_INVALID_VALUE);
    EXPECT_EQ(Heard(), "");
}

TEST_F(AbilityRegistryTest, AsManyWantsWaitAsMayWithAndWithoutAProcess)
{
    GiveCommand();
    for (const char* round : {"while the process is waited for", "while it is there"}) {
        for (size_t i = 0; i < AbilityRegistry::MAX_WAITING_WANTS; ++i) {
            ASSERT_EQ(Start("x", i % 2 == 0 ? MAIN : DIALOG), ERR_ABILITY_OK) << round;
        }
        EXPECT_EQ(Start("one too many"), ERR_ABILITY_QUEUE_FULL) << round;
        EXPECT_EQ(Connect("one too many"), ERR_ABILITY_QUEUE_FULL) << round;
        (void)app.Register(); // refused in the second round, when it has done so already
        EXPECT_EQ(Heard().size(), AbilityRegistry::MAX_WAITING_WANTS * 3) << round;
    }
}

TEST_F(AbilityRegistryTest, AProcessMayRegisterUntilTheLastTickAndGetsTheWantsOfItsAbilities)
{
    GiveCommand();
    ASSERT_EQ(Connect("taken back"), ERR_ABILITY_OK);
    ASSERT_EQ(Start("first"), ERR_ABILITY_OK);
    ASSERT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(LIMIT_MS / 2), "over 0; ");
    ASSERT_EQ(Start("second"), ERR_ABILITY_OK);
    ASSERT_EQ(Start("for the dialog", DIALOG), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(LIMIT_MS / 2 - 1), "");
    ASSERT_EQ(app.Register({MAIN}), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "first; second; ");
    EXPECT_EQ(Heard(1), "");
    EXPECT_EQ(Start("for the dialog", DIALOG), ERR_ABILITY_NOT_REGISTERED) << "its process lives and does not serve it";
}

TEST_F(AbilityRegistryTest, AtTheLimitItsWantsAreDropped)
{
    GiveCommand();
    ASSERT_EQ(Start("first"), ERR_ABILITY_OK);
    ASSERT_EQ(Connect("second"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(LIMIT_MS - 1), "");
    EXPECT_EQ(Heard(1), "over 12; ");
    EXPECT_EQ(ReadLog(LastLogSeq() - 1)[0].text, "2 wants for com.example.app dropped, error 12");
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK) << "late is not never";
    ASSERT_EQ(Start("third"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "third; ");
    EXPECT_EQ(Scheduler::Instance().PendingCount(), 0U);
}

TEST_F(AbilityRegistryTest, AConnectionEndsOnceByADisconnectOrTheDeathOfTheProcess)
{
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK);
    ASSERT_EQ(Connect("c"), ERR_ABILITY_OK);
    EXPECT_EQ(Connect("again"), ERR_ABILITY_CONNECTION_EXISTS);
    EXPECT_EQ(Heard(), "connect c; connected 0; ");
    EXPECT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_OK);
    EXPECT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_CONNECTION_UNKNOWN);
    EXPECT_EQ(heard, "");
    EXPECT_EQ(Heard(), "disconnect c; over 0; ");
    ASSERT_EQ(Connect("d"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "connect d; connected 0; ");
    EXPECT_EQ(registry.List().at(0).connections, 1U);
    app.process.Kill();
    ExtensionProcess next(heard);
    EXPECT_EQ(next.Register(), ERR_ABILITY_OK) << "the notice of the death has not come yet";
    EXPECT_EQ(Start("for the next"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "over 13; for the next; ");
}

TEST_F(AbilityRegistryTest, AConnectionThatIsNotAnsweredEndsToo)
{
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK);
    app.extension->object = nullptr;
    ASSERT_EQ(Connect("refused"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "connect refused; over 11; ");
    app.extension->object = MakeSptr<IPCObjectStub>();
    app.process.SetHanging(true);
    ASSERT_EQ(Connect("hangs"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(LIMIT_MS), "");
    ASSERT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "over 0; ");
    app.process.SetHanging(false);
    EXPECT_EQ(Heard(), "connect hangs; disconnect hangs; ") << "an answer that nobody waits for is dropped";
}

TEST_F(AbilityRegistryTest, RefusesRegistrations)
{
    struct Row {
        const char* name;
        uint32_t token;
        std::string bundleName;
        std::vector<std::string> abilities;
        int32_t result;
    };
    const uint32_t token = TokenId::EXTENSION;
    const std::string longest(IAbilityRegistry::MAX_NAME, 'n');
    const std::vector<std::string> most(IAbilityRegistry::MAX_ABILITIES, "a");
    const std::vector<std::string> tooMany(IAbilityRegistry::MAX_ABILITIES + 1, "b");
    const std::vector<Row> rows = {
        {"an extension", token, "x.extension", {MAIN}, ERR_ABILITY_OK},
        {"the owner", TokenId::OWNER, "x.owner", {MAIN}, ERR_ABILITY_OK},
        {"an application", TokenId::APP, "", {}, ERR_ABILITY_PERMISSION_DENIED},
        {"no bundle", token, "", {MAIN}, ERR_ABILITY_INVALID_VALUE},
        {"the longest bundle", token, longest, {MAIN}, ERR_ABILITY_OK},
        {"a longer bundle", token, longest + "n", {MAIN}, ERR_ABILITY_INVALID_VALUE},
        {"no ability", token, "x.none", {}, ERR_ABILITY_INVALID_VALUE},
        {"an ability without a name", token, "x.none", {MAIN, ""}, ERR_ABILITY_INVALID_VALUE},
        {"as many abilities as may", token, "x.most", most, ERR_ABILITY_OK},
        {"more", token, "x.more", tooMany, ERR_ABILITY_INVALID_VALUE},
        {"one that is taken", token, "x.owner", {DIALOG, MAIN}, ERR_ABILITY_ALREADY_REGISTERED},
        {"the other one is free still", token, "x.owner", {DIALOG}, ERR_ABILITY_OK},
    };
    std::vector<std::unique_ptr<ExtensionProcess>> processes;
    for (const Row& row : rows) {
        const size_t before = registry.List().size();
        processes.push_back(std::make_unique<ExtensionProcess>(heard, row.token));
        EXPECT_EQ(processes.back()->Register(row.abilities, row.bundleName), row.result) << row.name;
        EXPECT_EQ(registry.List().size(), before + (row.result == ERR_ABILITY_OK ? 1 : 0)) << row.name;
    }
    for (size_t i = registry.List().size(); i < AbilityRegistry::MAX_REGISTRATIONS; ++i) {
        ASSERT_EQ(app.Register({MAIN}, "filler" + std::to_string(i)), ERR_ABILITY_OK);
    }
    EXPECT_EQ(app.Register({MAIN}, "one too many"), ERR_ABILITY_TOO_MANY);
    processes.clear();
    EXPECT_EQ(Heard(), "");
    EXPECT_EQ(app.Register({MAIN}, "room again"), ERR_ABILITY_OK);
}

TEST_F(AbilityRegistryTest, BrokenRequestsToTheRegistryChangeNothing)
{
    sptr<IRemoteObject> remote = app.samgr->GetSystemAbility(AbilityId::ABILITY_REGISTRY);
    const auto ask = [&remote](MessageParcel& data) {
        MessageParcel reply;
        MessageOption option;
        const int error = remote->SendRequest(IAbilityRegistry::REGISTER_EXTENSION, data, reply, option);
        return error != ERR_NONE ? error : reply.ReadInt32();
    };
    MessageParcel whole;
    ASSERT_TRUE(whole.WriteInterfaceToken(IAbilityRegistry::GetDescriptor()) && whole.WriteString(BUNDLE));
    ASSERT_TRUE(whole.WriteStringVector({MAIN}));
    for (size_t size = 0; size <= whole.GetDataSize(); size += 4) {
        MessageParcel part;
        ASSERT_TRUE(part.ParseFrom(whole.GetData(), size));
        EXPECT_EQ(ask(part), ERR_ABILITY_INVALID_VALUE) << size;
    }
    ASSERT_TRUE(whole.WriteRemoteObject(remote));
    EXPECT_EQ(ask(whole), ERR_ABILITY_INVALID_VALUE) << "an object of the daemon's own would never die";
    EXPECT_TRUE(registry.List().empty());
}

// An extension that keeps where it is to answer, and answers when the test says so.
struct WildExtension : public IPCObjectStub {
    int OnRemoteRequest(uint32_t, MessageParcel& data, MessageParcel&, MessageOption&) override
    {
        Want want;
        EXPECT_TRUE(data.ReadInterfaceToken() == IExtension::GetDescriptor() && want.ReadFromParcel(data));
        answerTo = answerTo == nullptr ? data.ReadRemoteObject() : answerTo;
        return ERR_NONE;
    }
    void Answer() const
    {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        EXPECT_TRUE(data.WriteInterfaceToken(IConnectAnswer::GetDescriptor()) && data.WriteBool(true) &&
                    data.WriteRemoteObject(MakeSptr<IPCObjectStub>(u"answer")));
        (void)answerTo->SendRequest(IConnectAnswer::CONNECTED, data, reply, option); // the test sees what comes of it
    }
    sptr<IRemoteObject> answerTo;
};

TEST_F(AbilityRegistryTest, OnlyTheFirstAnswerOfAnOpenConnectionCounts)
{
    sptr<WildExtension> wild = MakeSptr<WildExtension>();
    ASSERT_EQ(registry.Register(BUNDLE, {MAIN}, app.process.ProxyFor(wild)), ERR_ABILITY_OK);
    ASSERT_EQ(Connect("c"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "");
    wild->Answer();
    wild->Answer();
    EXPECT_EQ(Heard(), "connected 0; ");
    ASSERT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_OK);
    wild->Answer();
    EXPECT_EQ(Heard(), "over 0; ");
}

} // namespace
