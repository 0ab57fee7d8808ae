#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ability_manager_client.h"
#include "host/ability_registry.h"
#include "host/scheduler.h"

using namespace OHOS;
using namespace OHOS::AAFwk;
using namespace OHOS::Host;

namespace {

constexpr size_t THREADS = 4;
constexpr size_t ROUNDS = 300;

Want MainWant()
{
    Want want;
    want.SetElementName("com.example.app", "MainExtension");
    return want;
}

class CountingExtension : public ExtensionStub {
public:
    std::atomic<int> starts{0};

private:
    void OnStart(const Want&) override
    {
        ++starts;
    }
    sptr<IRemoteObject> OnConnect(const Want&) override
    {
        return this;
    }
};

class CountingConnection : public AbilityConnectionStub {
public:
    void OnAbilityConnectDone(const AppExecFwk::ElementName&, const sptr<IRemoteObject>&, int) override
    {
        EXPECT_EQ(++connects, 1);
        EXPECT_EQ(ends, 0);
    }
    void OnAbilityDisconnectDone(const AppExecFwk::ElementName&, int) override
    {
        EXPECT_EQ(++ends, 1);
    }

    std::atomic<int> connects{0};
    std::atomic<int> ends{0};
};

TEST(AbilityThreadedTest, ManyCallersAtOnceLoseNothing)
{
    sptr<CountingExtension> extension = MakeSptr<CountingExtension>();
    ASSERT_EQ(AbilityRegistry::Instance().Register("com.example.app", {"MainExtension"}, extension), ERR_ABILITY_OK);
    std::atomic<int> taken{0};
    std::atomic<int> open{0};
    std::vector<sptr<CountingConnection>> connections(THREADS * ROUNDS);
    auto work = [&](size_t thread) {
        auto client = AbilityManagerClient::GetInstance();
        for (size_t i = thread; i < THREADS * ROUNDS; i += THREADS) {
            connections[i] = MakeSptr<CountingConnection>();
            const auto& connection = connections[i];
            taken += client->StartExtensionAbility(MainWant(), nullptr) == ERR_ABILITY_OK ? 1 : 0;
            if (client->ConnectAbility(MainWant(), connection) == ERR_ABILITY_OK) {
                ++open;
                EXPECT_EQ(client->DisconnectAbility(connection), ERR_ABILITY_OK);
            }
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(THREADS);
    for (size_t thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back(work, thread);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    int ends = 0;
    while (extension->starts < taken || ends < open) {
        std::this_thread::yield();
        ends = 0;
        for (const auto& connection : connections) {
            ends += connection->ends;
        }
    }
    EXPECT_EQ(extension->starts, taken);
    EXPECT_GT(taken, 0);
    EXPECT_TRUE(Scheduler::Instance().Shutdown(10'000));
}

} // namespace
