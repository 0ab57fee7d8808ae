#include "host/ability_registry.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <list>
#include <memory>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "ability_manager_client.h"
#include "folders.h"
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

std::string g_heard; // by extensions and connections, in order

// An extension that writes down what it hears, and answers connections with `object`.
class Extension : public ExtensionStub {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override
    {
        for (int i = 1; i < times; ++i) {
            EXPECT_EQ(ExtensionStub::OnRemoteRequest(code, data, reply, option), ERR_NONE);
            EXPECT_TRUE(data.RewindRead(0));
        }
        return ExtensionStub::OnRemoteRequest(code, data, reply, option);
    }
    void OnStart(const Want& want) override
    {
        g_heard += want.GetStringParam("what") + "; ";
    }
    sptr<IRemoteObject> OnConnect(const Want& want) override
    {
        g_heard += "connect " + want.GetStringParam("what") + "; ";
        return object;
    }
    void OnDisconnect(const Want& want) override
    {
        g_heard += "disconnect " + want.GetStringParam("what") + "; ";
    }
    sptr<IRemoteObject> object = MakeSptr<IPCObjectStub>(u"answer");
    int times = 1; // that it acts on each want
};

struct ExtensionProcess {
    explicit ExtensionProcess(uint32_t token = TokenId::EXTENSION, pid_t pid = 4242)
        : process({pid, 20010, token}), extension(MakeSptr<Extension>())
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
    void OnAbilityConnectDone(const ElementName& element, const sptr<IRemoteObject>& object, int result) override
    {
        EXPECT_TRUE(element == ElementName("", BUNDLE, MAIN) && object->GetObjectDescriptor() == u"answer");
        g_heard += "connected " + std::to_string(result) + "; ";
    }
    void OnAbilityDisconnectDone(const ElementName& element, int result) override
    {
        EXPECT_EQ(element, ElementName("", BUNDLE, MAIN));
        g_heard += "over " + std::to_string(result) + "; ";
        // The service tidies up here by calling in again; late by then.
        EXPECT_EQ(AbilityManagerClient::GetInstance()->DisconnectAbility(this), ERR_ABILITY_CONNECTION_UNKNOWN);
    }
};

class AbilityRegistryTest : public testing::Test {
protected:
    AbilityRegistryTest()
    {
        EXPECT_TRUE(Scheduler::Instance().UseManualTime() && registry.Publish());
    }
    ~AbilityRegistryTest() override
    {
        registry.Shutdown();
    }
    // A command that runs and never registers: the tests play its process.
    static void GiveCommand()
    {
        Device::Instance().SetCommand(BUNDLE, {"sleep", "1000"});
    }
    static Want WantOf(const std::string& what, const std::string& ability)
    {
        Want want;
        return want.SetElementName(BUNDLE, ability).SetParam("what", what);
    }
    int32_t Start(const std::string& what, const std::string& ability = MAIN)
    {
        return client->StartExtensionAbility(WantOf(what, ability), nullptr);
    }
    int32_t Connect(const std::string& what)
    {
        return client->ConnectAbility(WantOf(what, MAIN), connection);
    }
    std::string Heard(int64_t afterMs = 0)
    {
        EXPECT_TRUE(Scheduler::Instance().Advance(afterMs));
        return std::exchange(g_heard, "");
    }

    AbilityRegistry& registry = AbilityRegistry::Instance();
    std::shared_ptr<AbilityManagerClient> client = AbilityManagerClient::GetInstance();
    sptr<Connection> connection = MakeSptr<Connection>();
    ExtensionProcess app;
};

TEST_F(AbilityRegistryTest, WantsArriveLaterAndInOrder)
{
    EXPECT_EQ(Start("x"), ERR_ABILITY_NOT_REGISTERED) << "nobody, and no command that could change it";
    ASSERT_EQ(app.Register(), ERR_ABILITY_OK);
    EXPECT_EQ(Start("first"), ERR_ABILITY_OK);
    EXPECT_EQ(Connect("second"), ERR_ABILITY_OK);
    EXPECT_EQ(Start("third", DIALOG), ERR_ABILITY_OK);
    EXPECT_EQ(g_heard, "") << "every call returns before anything of the extension runs";
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

TEST_F(AbilityRegistryTest, WantsWaitForTheProcessUntilTheLimitAndAreDroppedThen)
{
    GiveCommand();
    ASSERT_EQ(Start("first"), ERR_ABILITY_OK);
    ASSERT_EQ(Connect("second"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(LIMIT_MS - 1), "");
    EXPECT_EQ(Heard(1), "over 12; ");
    EXPECT_EQ(ReadLog(LastLogSeq() - 1)[0].text, "2 wants for com.example.app dropped, error 12");

    ASSERT_EQ(Connect("taken back"), ERR_ABILITY_OK);
    ASSERT_EQ(Start("third"), ERR_ABILITY_OK);
    ASSERT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_OK);
    ASSERT_EQ(Start("for the dialog", DIALOG), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(LIMIT_MS - 1), "over 0; ");
    ASSERT_EQ(app.Register({MAIN}), ERR_ABILITY_OK) << "late is not never";
    EXPECT_EQ(Heard(1), "third; ");
    EXPECT_EQ(Start("for the dialog", DIALOG), ERR_ABILITY_NOT_REGISTERED) << "its process lives and does not serve it";
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
    EXPECT_EQ(g_heard, "");
    EXPECT_EQ(Heard(), "disconnect c; over 0; ");
    ASSERT_EQ(Connect("d"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "connect d; connected 0; ");
    EXPECT_EQ(registry.List().at(0).connections, 1U);
    app.process.Kill();
    ExtensionProcess next;
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
    app.extension->object = MakeSptr<IPCObjectStub>(u"answer");
    app.process.SetHanging(true);
    ASSERT_EQ(Connect("hangs"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(LIMIT_MS), "");
    ASSERT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "over 0; ");
    app.process.SetHanging(false);
    EXPECT_EQ(Heard(), "connect hangs; disconnect hangs; ") << "an answer that nobody waits for is dropped";
    app.extension->times = 2;
    ASSERT_EQ(Connect("c"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "connect c; connect c; connected 0; ") << "the first answer counts";
}

TEST_F(AbilityRegistryTest, RefusesRegistrations)
{
    const std::string longest(IAbilityRegistry::MAX_NAME, 'n');
    const std::vector<std::string> most(IAbilityRegistry::MAX_ABILITIES, "a");
    const std::vector<std::string> more(IAbilityRegistry::MAX_ABILITIES + 1, "a");
    const std::tuple<std::string, std::vector<std::string>, int32_t> rows[] = {
        {"x", {MAIN}, ERR_ABILITY_OK},
        {"x", {DIALOG, MAIN}, ERR_ABILITY_ALREADY_REGISTERED},
        {"x", {DIALOG}, ERR_ABILITY_OK},
        {"", {MAIN}, ERR_ABILITY_INVALID_VALUE},
        {"y", {}, ERR_ABILITY_INVALID_VALUE},
        {"y", {MAIN, ""}, ERR_ABILITY_INVALID_VALUE},
        {longest, most, ERR_ABILITY_OK},
        {longest + "n", most, ERR_ABILITY_INVALID_VALUE},
        {"y", more, ERR_ABILITY_INVALID_VALUE},
    };
    size_t registered = 0;
    for (const auto& [bundleName, abilities, result] : rows) {
        EXPECT_EQ(app.Register(abilities, bundleName), result) << bundleName;
        registered += result == ERR_ABILITY_OK ? 1 : 0;
        EXPECT_EQ(registry.List().size(), registered) << bundleName;
    }
    EXPECT_EQ(ExtensionProcess(TokenId::APP).Register(), ERR_ABILITY_PERMISSION_DENIED);
    std::list<ExtensionProcess> others;
    for (ExtensionProcess* one = &app; registered < AbilityRegistry::MAX_REGISTRATIONS; ++registered) {
        if (registered % AbilityRegistry::MAX_REGISTRATIONS_OF_PROCESS == 0) {
            one = &others.emplace_back(TokenId::EXTENSION, static_cast<pid_t>(registered));
        }
        ASSERT_EQ(one->Register({MAIN}, "filler" + std::to_string(registered)), ERR_ABILITY_OK);
    }
    EXPECT_EQ(ExtensionProcess(TokenId::EXTENSION, 99).Register({MAIN}, "y"), ERR_ABILITY_TOO_MANY);
    app.process.Kill();
    EXPECT_EQ(Heard(), "");
    EXPECT_EQ(ExtensionProcess().Register(), ERR_ABILITY_OK) << "there is room again";
}

TEST_F(AbilityRegistryTest, BrokenRequestsToTheRegistryChangeNothing)
{
    const sptr<IRemoteObject> remote = app.samgr->GetSystemAbility(AbilityId::ABILITY_REGISTRY);
    MessageParcel whole;
    ASSERT_TRUE(whole.WriteInterfaceToken(IAbilityRegistry::GetDescriptor()) && whole.WriteString(BUNDLE) &&
                whole.WriteStringVector({MAIN}) && whole.WriteRemoteObject(remote)); // the daemon's own would never die
    for (size_t size = 0; size <= whole.GetDataSize(); size += 4) {
        MessageParcel part;
        MessageParcel reply;
        MessageOption option;
        ASSERT_TRUE(part.ParseFrom(whole.GetData(), size));
        const int error = remote->SendRequest(
            IAbilityRegistry::REGISTER_EXTENSION, size == whole.GetDataSize() ? whole : part, reply, option);
        EXPECT_EQ(error == ERR_NONE ? reply.ReadInt32() : error, ERR_ABILITY_INVALID_VALUE) << size;
    }
    EXPECT_TRUE(registry.List().empty());
}

constexpr int OURS = 500; // a descriptor without close-on-exec, and no number that a shell uses

// Waits until the script has written its report and closed it; gives its pid.
pid_t ReadReport(const std::string& path)
{
    std::ifstream file(path);
    const std::string report(std::istreambuf_iterator<char>(file), {});
    int pid = -1;
    int group = -1;
    EXPECT_EQ(std::sscanf(report.c_str(), "%d %d", &pid, &group), 2) << report;
    EXPECT_EQ(pid, group);
    EXPECT_EQ(report.find("\n" + std::to_string(OURS)), std::string::npos) << report;
    return pid;
}

// Living ones and zombies; reaps none.
bool HasChildren()
{
    siginfo_t info{};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

// The bundle is served by a shell script, which finds the pipe for its report through the folder that its environment
// names.
TEST_F(AbilityRegistryTest, AProcessStartsCleanForAllWantsAgainWhenItHasEndedAndEndsWithTheDevice)
{
    const Pelago::TestFolder folder;
    const std::string path = folder.path / "report";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    ASSERT_EQ(dup2(STDOUT_FILENO, OURS), OURS);
    ASSERT_TRUE(Device::Instance().Configure({"", "", "phone", folder.path}));
    Device::Instance().SetCommand(BUNDLE,
        {"sh", "-c",
            "{ cut -d' ' -f1,5 /proc/$$/stat; ls /proc/$$/fd; } > $PELAGO_DEVICE_FOLDER/report; exec sleep 1000"});
    ASSERT_EQ(Start("x"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(LIMIT_MS), "");
    ASSERT_EQ(Start("x"), ERR_ABILITY_OK) << "it lives, and may register yet";
    EXPECT_EQ(Heard(LIMIT_MS), "");
    EXPECT_EQ(kill(ReadReport(path), SIGTERM), 0);
    while (HasChildren()) { // for ever, were a second one started
        std::this_thread::yield();
    }
    ASSERT_EQ(Start("x"), ERR_ABILITY_OK);
    EXPECT_EQ(Heard(), "");
    const pid_t next = ReadReport(path);
    EXPECT_EQ(kill(next, 0), 0);
    registry.Shutdown();
    EXPECT_EQ(kill(next, 0), -1);
    EXPECT_FALSE(HasChildren());
    EXPECT_EQ(Start("x"), ERR_ABILITY_NOT_REGISTERED) << "nothing is started any more";
}

} // namespace
