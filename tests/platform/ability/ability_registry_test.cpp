#include "host/ability_registry.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ability_manager_client.h"
#include "app_mgr_interface.h"
#include "hilog/host_log.h"
#include "host/ability_host.h"
#include "host/device.h"
#include "host/faults.h"
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

Want WantOf(const std::string& ability, const std::string& what)
{
    Want want;
    want.SetElementName(BUNDLE, ability).SetParam("what", what);
    return want;
}

// An extension that writes down what it hears, and answers connections with `object`.
class Extension : public ExtensionStub {
public:
    explicit Extension(std::string& heard) : heard_(heard)
    {}

    sptr<IRemoteObject> object = MakeSptr<IPCObjectStub>(u"answer");

private:
    void OnStart(const Want& want) override
    {
        heard_ += want.GetStringParam("what") + "; ";
    }
    sptr<IRemoteObject> OnConnect(const Want& want) override
    {
        heard_ += "connect " + want.GetStringParam("what") + "; ";
        return object;
    }
    void OnDisconnect(const Want& want) override
    {
        heard_ += "disconnect " + want.GetStringParam("what") + "; ";
    }

    std::string& heard_;
};

// The process of an extension.
struct ExtensionProcess {
    explicit ExtensionProcess(std::string& heard, uint32_t token = TokenId::EXTENSION)
        : process({4242, 20010, token}), extension(MakeSptr<Extension>(heard))
    {}
    [[nodiscard]] sptr<ISystemAbilityManager> Samgr()
    {
        return SamgrOf(process.Connect(AbilityHost::Instance().RootObject()));
    }
    [[nodiscard]] int32_t Register(
        const std::vector<std::string>& abilities = {MAIN, DIALOG}, const std::string& bundleName = BUNDLE)
    {
        return RegisterExtension(Samgr(), bundleName, abilities, extension);
    }

    LoopbackProcess process;
    sptr<Extension> extension;
};

// A connection that writes down what becomes of it.
class Connection : public AbilityConnectionStub {
public:
    explicit Connection(std::string& heard) : heard_(heard)
    {}
    void OnAbilityConnectDone(
        const ElementName& element, const sptr<IRemoteObject>& remoteObject, int resultCode) override
    {
        EXPECT_EQ(element, ElementName("", BUNDLE, MAIN));
        EXPECT_EQ(resultCode, 0);
        EXPECT_EQ(remoteObject->GetObjectDescriptor(), u"answer");
        heard_ += "connected; ";
    }
    void OnAbilityDisconnectDone(const ElementName& element, int resultCode) override
    {
        EXPECT_EQ(element, ElementName("", BUNDLE, MAIN));
        heard_ += "over " + std::to_string(resultCode) + "; ";
        // The service tidies up here by calling in again; late by then.
        EXPECT_EQ(AbilityManagerClient::GetInstance()->DisconnectAbility(this), ERR_ABILITY_CONNECTION_UNKNOWN);
    }

private:
    std::string& heard_;
};

class AbilityRegistryTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Scheduler::Instance().UseManualTime());
        ASSERT_TRUE(registry.Publish());
    }

    // A command that runs and never registers: the tests play its process.
    static void GiveCommand()
    {
        Device::Instance().SetCommand(BUNDLE, {"sleep", "1000"});
    }
    void TearDown() override
    {
        registry.Shutdown();
    }

    [[nodiscard]] int32_t Start(const std::string& what, const std::string& ability = MAIN)
    {
        return client->StartExtensionAbility(WantOf(ability, what), nullptr);
    }
    [[nodiscard]] int32_t Connect(const std::string& what)
    {
        return client->ConnectAbility(WantOf(MAIN, what), connection);
    }
    std::string Heard()
    {
        EXPECT_TRUE(Scheduler::Instance().Settle());
        return std::exchange(heard, "");
    }
    std::string HeardAfter(int64_t ms)
    {
        EXPECT_TRUE(Scheduler::Instance().Advance(ms));
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
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK);
    EXPECT_EQ(Start("first"), ERR_ABILITY_OK);
    EXPECT_EQ(Connect("second"), ERR_ABILITY_OK);
    EXPECT_EQ(Start("third", DIALOG), ERR_ABILITY_OK);
    EXPECT_EQ(heard, "") << "every call returns before anything of the extension runs";
    EXPECT_EQ(Heard(), "first; connect second; third; connected; ");
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

TEST_F(AbilityRegistryTest, NobodyAndNoCommandIsAnErrorAtOnce)
{
    EXPECT_EQ(Start("x"), ERR_ABILITY_NOT_REGISTERED);
    EXPECT_EQ(Connect("x"), ERR_ABILITY_NOT_REGISTERED);
    ASSERT_EQ(app.Register({DIALOG}), ERR_ABILITY_OK);
    EXPECT_EQ(Start("x"), ERR_ABILITY_NOT_REGISTERED) << "the bundle is served, the ability is not";
    EXPECT_EQ(Heard(), "");
}

TEST_F(AbilityRegistryTest, AProcessMayRegisterUntilTheLastTick)
{
    GiveCommand();
    ASSERT_EQ(Start("first"), ERR_ABILITY_OK);
    EXPECT_EQ(HeardAfter(LIMIT_MS / 2), "");
    ASSERT_EQ(Start("second"), ERR_ABILITY_OK);
    EXPECT_EQ(HeardAfter(LIMIT_MS / 2 - 1), "");
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "first; second; ");
    EXPECT_EQ(Scheduler::Instance().PendingCount(), 0U) << "the deadline is gone";
}

TEST_F(AbilityRegistryTest, AtTheLimitItsWantsAreDropped)
{
    GiveCommand();
    ASSERT_EQ(Start("first"), ERR_ABILITY_OK);
    ASSERT_EQ(Connect("second"), ERR_ABILITY_OK);
    const uint64_t before = LastLogSeq();
    EXPECT_EQ(HeardAfter(LIMIT_MS - 1), "");
    EXPECT_EQ(HeardAfter(1), "over 12; ");
    const std::vector<LogLine> lines = ReadLog(before);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].text, "2 wants for com.example.app dropped, error 12");
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK) << "late is not never";
    EXPECT_EQ(Heard(), "");
    ASSERT_EQ(Start("third"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "third; ");
}

TEST_F(AbilityRegistryTest, ARegistrationGetsTheWantsOfItsAbilitiesOnly)
{
    GiveCommand();
    ASSERT_EQ(Start("for main"), ERR_ABILITY_OK);
    ASSERT_EQ(Start("for the dialog", DIALOG), ERR_ABILITY_OK);
    ASSERT_EQ(app.Register({DIALOG}), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "for the dialog; ");
    ExtensionProcess second(heard);
    ASSERT_EQ(second.Register({MAIN}), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "for main; ");
}

TEST_F(AbilityRegistryTest, AStartedProcessThatDoesNotServeTheAbilityIsNotStartedAgain)
{
    GiveCommand();
    ASSERT_EQ(Start("for main"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "");
    ASSERT_EQ(app.Register({DIALOG}), ERR_ABILITY_OK);
    EXPECT_EQ(HeardAfter(LIMIT_MS), "");
    EXPECT_EQ(Start("for main"), ERR_ABILITY_NOT_REGISTERED);
}

TEST_F(AbilityRegistryTest, AConnectionEndsOnceByADisconnect)
{
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK);
    ASSERT_EQ(Connect("c"), ERR_ABILITY_OK);
    EXPECT_EQ(Connect("again"), ERR_ABILITY_CONNECTION_EXISTS);
    EXPECT_EQ(Heard(), "connect c; connected; ");
    ASSERT_EQ(registry.List().size(), 1U);
    EXPECT_EQ(registry.List()[0].connections, 1U);
    EXPECT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_OK);
    EXPECT_EQ(heard, "");
    EXPECT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_CONNECTION_UNKNOWN);
    EXPECT_EQ(Heard(), "disconnect c; over 0; ");
    app.process.Kill();
    EXPECT_EQ(Heard(), "");
}

TEST_F(AbilityRegistryTest, AConnectionEndsOnceByTheDeathOfTheProcess)
{
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK);
    ASSERT_EQ(Connect("c"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "connect c; connected; ");
    app.process.Kill();
    EXPECT_EQ(Heard(), "over 13; ");
    EXPECT_TRUE(registry.List().empty());
    EXPECT_EQ(Start("x"), ERR_ABILITY_NOT_REGISTERED);
}

TEST_F(AbilityRegistryTest, AConnectionThatIsNotAnsweredEndsToo)
{
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK);
    app.extension->object = nullptr;
    ASSERT_EQ(Connect("refused"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "connect refused; over 11; ");

    app.process.SetHanging(true);
    ASSERT_EQ(Connect("hangs"), ERR_ABILITY_OK);
    EXPECT_EQ(HeardAfter(LIMIT_MS), "");
    ASSERT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "over 0; ");
    app.extension->object = MakeSptr<IPCObjectStub>();
    app.process.SetHanging(false);
    EXPECT_EQ(Heard(), "connect hangs; disconnect hangs; ") << "an answer that nobody waits for is dropped";
}

TEST_F(AbilityRegistryTest, ADisconnectTakesAWaitingConnectionBack)
{
    GiveCommand();
    ASSERT_EQ(Connect("c"), ERR_ABILITY_OK);
    ASSERT_EQ(Start("s"), ERR_ABILITY_OK);
    ASSERT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "over 0; ");
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "s; ");
}

TEST_F(AbilityRegistryTest, ADyingProcessLosesItsWantsAndMakesRoomForTheNext)
{
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK);
    ASSERT_EQ(Connect("c"), ERR_ABILITY_OK);
    app.process.Kill();
    ExtensionProcess next(heard);
    EXPECT_EQ(next.Register(), ERR_ABILITY_OK) << "the notice of the death has not come yet";
    EXPECT_EQ(Start("for the next"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "over 13; for the next; ");
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
    const std::string longest(IAbilityRegistry::MAX_NAME, 'n');
    const std::vector<std::string> most(IAbilityRegistry::MAX_ABILITIES, "a");
    const std::vector<std::string> tooMany(IAbilityRegistry::MAX_ABILITIES + 1, "b");
    const std::vector<Row> rows = {
        {"an extension", TokenId::EXTENSION, "x.extension", {MAIN}, ERR_ABILITY_OK},
        {"the owner", TokenId::OWNER, "x.owner", {MAIN}, ERR_ABILITY_OK},
        {"an application", TokenId::APP, "x.app", {MAIN}, ERR_ABILITY_PERMISSION_DENIED},
        {"the switch", TokenId::SWITCH, "x.switch", {MAIN}, ERR_ABILITY_PERMISSION_DENIED},
        {"nobody", TokenId::PLAIN, "", {}, ERR_ABILITY_PERMISSION_DENIED},
        {"no bundle", TokenId::EXTENSION, "", {MAIN}, ERR_ABILITY_INVALID_VALUE},
        {"the longest bundle", TokenId::EXTENSION, longest, {MAIN}, ERR_ABILITY_OK},
        {"a longer bundle", TokenId::EXTENSION, longest + "n", {MAIN}, ERR_ABILITY_INVALID_VALUE},
        {"no ability", TokenId::EXTENSION, "x.none", {}, ERR_ABILITY_INVALID_VALUE},
        {"an ability without a name", TokenId::EXTENSION, "x.none", {MAIN, ""}, ERR_ABILITY_INVALID_VALUE},
        {"as many abilities as may", TokenId::EXTENSION, "x.most", most, ERR_ABILITY_OK},
        {"more", TokenId::EXTENSION, "x.more", tooMany, ERR_ABILITY_INVALID_VALUE},
        {"one that is taken", TokenId::EXTENSION, "x.owner", {DIALOG, MAIN}, ERR_ABILITY_ALREADY_REGISTERED},
        {"the other one is free still", TokenId::EXTENSION, "x.owner", {DIALOG}, ERR_ABILITY_OK},
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
    sptr<IRemoteObject> remote = app.Samgr()->GetSystemAbility(AbilityId::ABILITY_REGISTRY);
    MessageParcel whole;
    ASSERT_TRUE(whole.WriteInterfaceToken(IAbilityRegistry::GetDescriptor()));
    ASSERT_TRUE(whole.WriteString(BUNDLE));
    ASSERT_TRUE(whole.WriteStringVector({MAIN}));
    MessageOption option;
    for (size_t size = 0; size <= whole.GetDataSize(); size += 4) {
        MessageParcel part;
        MessageParcel reply;
        ASSERT_TRUE(part.ParseFrom(whole.GetData(), size));
        const int error = remote->SendRequest(IAbilityRegistry::REGISTER_EXTENSION, part, reply, option);
        EXPECT_TRUE(error != ERR_NONE || reply.ReadInt32() == ERR_ABILITY_INVALID_VALUE) << size;
    }
    EXPECT_TRUE(registry.List().empty());
}

// An extension that keeps where it is to answer, and answers as the test says.
class WildExtension : public IPCObjectStub {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel&, MessageOption&) override
    {
        Want want;
        EXPECT_EQ(data.ReadInterfaceToken(), IExtension::GetDescriptor());
        EXPECT_TRUE(want.ReadFromParcel(data));
        if (code == IExtension::CONNECT) {
            answerTo = data.ReadRemoteObject();
        }
        return ERR_NONE;
    }
    void Answer(bool withObject) const
    {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        EXPECT_TRUE(data.WriteInterfaceToken(IConnectAnswer::GetDescriptor()));
        EXPECT_TRUE(data.WriteBool(withObject));
        EXPECT_TRUE(!withObject || data.WriteRemoteObject(MakeSptr<IPCObjectStub>(u"answer")));
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
    wild->Answer(true);
    wild->Answer(true);
    wild->Answer(false);
    EXPECT_EQ(Heard(), "connected; ");
    ASSERT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_OK);
    wild->Answer(true);
    EXPECT_EQ(Heard(), "over 0; ");
}

TEST_F(AbilityRegistryTest, RefusesWhatItCannotCarry)
{
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK);
    EXPECT_EQ(Start(std::string(Parcel::DEFAULT_MAX_CAPACITY, 'x')), ERR_ABILITY_WANT_TOO_LARGE);
    EXPECT_EQ(Connect(std::string(Parcel::DEFAULT_MAX_CAPACITY, 'x')), ERR_ABILITY_WANT_TOO_LARGE);
    EXPECT_EQ(client->ConnectAbility(WantOf(MAIN, "c"), nullptr), ERR_ABILITY_INVALID_VALUE);
    for (const char* fault : {"ability.start", "ability.connect", "ability.disconnect", "ability.client"}) {
        Faults::Inject(fault);
    }
    EXPECT_EQ(AbilityManagerClient::GetInstance(), nullptr);
    EXPECT_EQ(Start("x"), ERR_ABILITY_IPC);
    EXPECT_EQ(Connect("x"), ERR_ABILITY_IPC);
    EXPECT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_IPC);
    EXPECT_EQ(Heard(), "");
}

TEST_F(AbilityRegistryTest, TheApplicationManagerSaysWhoIsOnTheScreen)
{
    Device::Instance().SetForegroundApplications({{10, 20010, "top"}, {-1, 20011, "below"}});
    sptr<ISystemAbilityManager> samgr = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    auto manager = iface_cast<AppExecFwk::IAppMgr>(samgr->GetSystemAbility(AbilityId::APPLICATION_MANAGER));
    ASSERT_NE(manager, nullptr);
    std::vector<AppExecFwk::AppStateData> list(1);
    ASSERT_EQ(manager->GetForegroundApplications(list), 0);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].bundleName, "top");
    EXPECT_EQ(list[0].pid, 10);
    EXPECT_EQ(list[1].uid, 20011);
    Faults::Inject("app.foreground");
    EXPECT_NE(manager->GetForegroundApplications(list), 0);
    EXPECT_EQ(list.size(), 2U);
}

} // namespace
