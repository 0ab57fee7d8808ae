#ifndef PELAGO_TESTS_SERVICE_FIXTURE_H
#define PELAGO_TESTS_SERVICE_FIXTURE_H

#include "core/trellis_service.h"
#include "folders.h"
#include "host/ability_host.h"
#include "host/device.h"
#include "host/faults.h"
#include "host/host_settings.h"
#include "recording_client.h"
#include "scripted_collab.h"
#include "scripted_engine.h"
#include "switch/share_switch_manager.h"

namespace OHOS::Pelago {

inline constexpr int USER = 100;
inline constexpr int OTHER_USER = 101;

// A device with the service on it, in manual time, in a folder of its own. Both users are set up, user 100 is in front,
// both radios are up. At the end it fails the case for an error line that nobody announced, for broken invariants, and
// for descriptors that are left.
class ServiceFixture : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts the service: what the platform does at boot. `stateFile` is what user 100 left: state, type, permission;
    // none for a device that was never booted before.
    void Boot(const std::vector<int32_t>& stateFile = {0, 0, 0})
    {
        if (!stateFile.empty()) {
            WriteFields(StateFile(USER), stateFile);
        }
        Host::AbilityHost::Instance().Start();
        started_ = true;
        Settle();
    }
    // Boots with sharing on.
    void BootOn()
    {
        Boot({STATE_SHARE_ENABLE, DETECTABLE_LASTING, 0});
        ASSERT_TRUE(Switch()->IsEnabled());
        (void)Engine().TakeJournal();
        (void)Collab().TakeAsked();
    }
    void StopService()
    {
        Host::AbilityHost::Instance().Stop();
        started_ = false;
        Settle();
    }

    static void Settle()
    {
        ASSERT_TRUE(Host::Scheduler::Instance().Settle());
    }
    static void Advance(int64_t ms)
    {
        ASSERT_TRUE(Host::Scheduler::Instance().Advance(ms));
    }

    static sptr<TrellisService> Service()
    {
        sptr<IRemoteObject> object = Host::AbilityHost::Instance().Find(TRELLIS_SERVICE_ID);
        return dynamic_cast<TrellisService*>(object.GetRefPtr());
    }
    static std::shared_ptr<ShareSwitchManager> Switch()
    {
        return DelayedSingleton<ShareSwitchManager>::GetInstance();
    }
    ScriptedEngine& Engine()
    {
        return *engine_;
    }
    ScriptedCollab& Collab()
    {
        return *collab_;
    }

    // A new client process that holds both permissions, or what the token says.
    std::unique_ptr<TestClient> NewClient(uint32_t tokenId = Host::TokenId::OWNER)
    {
        return std::make_unique<TestClient>(
            nextPid_++, tokenId, Host::AbilityHost::Instance().Find(TRELLIS_SERVICE_ID));
    }

    // Log lines of this case whose text ends with, or contains, `text`.
    static bool Logged(const std::string& text);
    // Error lines that contain one of the texts are meant in this case.
    template <typename... Texts>
    void AllowError(const Texts&... texts)
    {
        (allowedErrors_.emplace_back(texts), ...);
    }

    // JSON of the telemetry since the start of the case.
    static std::vector<std::string> Telemetry();

    static std::filesystem::path Root()
    {
        return Host::Device::Instance().Root();
    }
    static std::filesystem::path StateFile(int user, const std::string& name = "switch.cfg")
    {
        return Root() / "data/service/el2" / std::to_string(user) / "pelago" / name;
    }
    static std::vector<int32_t> ReadFields(const std::filesystem::path& path);
    static void WriteFields(const std::filesystem::path& path, const std::vector<int32_t>& fields);

private:
    void CheckErrorLines() const;

    std::shared_ptr<ScriptedEngine> engine_;
    std::shared_ptr<ScriptedCollab> collab_;
    std::vector<std::string> allowedErrors_;
    const TestFolder root_;
    uint64_t firstLogSeq_ = 0;
    size_t descriptors_ = 0;
    pid_t nextPid_ = 4000;
    bool started_ = false;
};

// A peer as the engine reports it. A contact id other than 0 makes it a device of that contact.
ShareDevice Peer(const std::string& id, int32_t contactId = 0, const std::string& contactName = "");

// What a client would pass to send to an entry of its list.
ShareDeviceInfo Entry(const std::string& id, uint32_t discoveredBy = 1);

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_SERVICE_FIXTURE_H
