#ifndef PELAGO_TESTS_WORLD_H
#define PELAGO_TESTS_WORLD_H

#include <array>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "core/trellis_service.h"
#include "recording_client.h"
#include "recording_extension.h"
#include "simulated_device.h"
#include "switch/share_switch_manager.h"

namespace OHOS::Pelago {

// A generator whose whole state is the seed: the same draws on every machine and in every build.
class Dice {
public:
    explicit Dice(uint64_t seed) : state_(seed)
    {}
    uint64_t Next();
    // 0 to `limit` - 1.
    size_t Below(size_t limit);
    bool OneIn(size_t chances)
    {
        return Below(chances) == 0;
    }
    template <typename T, size_t N>
    const T& Of(const std::array<T, N>& choices)
    {
        return choices[Below(N)];
    }

private:
    uint64_t state_;
};

// An application: registers for events, and answers each with a send, as work of its own process.
struct Application {
    std::unique_ptr<TestClient> client;
    sptr<PelagoApiCallback> callback;
    int32_t pid = 0;
};

inline constexpr size_t PEERS = 6;

// A device with the whole service in it, in manual time, and all that can happen to it. One for each life of the
// process: it is made on what the life before has left in the folder.
class World {
public:
    World(uint64_t seed, const std::string& folder, bool isFirstLife);
    ~World();

    // Does one thing that could happen, and lets it come to its end. What it was, in a word or two.
    std::string Step();
    // What is wrong with the service now; empty when nothing is.
    std::string FindFault();
    // The service is stopped and everybody leaves. What is left that should not be; empty when nothing is.
    std::string Stop();
    // What the service has told the auditor and asked of the engine since the last look.
    std::string TakeTrace();

private:
    struct StepRow;
    static const StepRow STEPS[];

    void DrawHardware();
    void Settle(int64_t ms = 0);
    std::string PeerId();
    ShareDevice DrawPeer();
    // An entry of the list that clients see; now and then one that is not there.
    ShareDeviceInfo DrawEntry();
    ShareDeviceInfo DrawTarget();
    TestClient& DrawClient();
    sptr<TrellisService> Service();
    void ListenAsAuditor();
    void NoteFound(const std::string& line);

    // Steps, each a thing that a person, a client, the engine, the framework or the hardware does.
    void AskForSwitch();
    void RegisterClient();
    void UnregisterClient();
    void LoseClient();
    void HangClient();
    void Discover();
    void StopDiscovering();
    void FindPeer();
    void LosePeer();
    void SendToEntry();
    void ReportTransfer();
    void EndTransfer();
    void CancelEntry();
    void Race();
    void NotifyClientInfo();
    void Ask();
    void Offer();
    void FollowReceive();
    void SwitchRadio();
    void SwitchUser();
    void ChangeSetup();
    void ChangeAbility();
    void ClearPackage();
    void GrantPermission();
    void RegisterApplication();
    void LoseApplication();
    void MoveFocus();
    void Gesture();
    void SwingStatus();
    void Tap();
    void MotionState();
    void RefuseEngine();
    void FailHostCall();
    void Wait();

    std::string FindListFault();
    std::string FindSendFault();
    std::string FindSwitchFault();
    std::string FindTimerFault();
    std::string FindFileFault();
    std::string FindTapFault();

    Dice dice_;
    SimulatedDevice device_;
    const std::shared_ptr<ScriptedEngine> engine_ = device_.engine;
    const std::shared_ptr<ScriptedCollab> collab_ = device_.collab;
    sptr<IRemoteObject> serviceObject_;     // looked up before any call of the host fails
    std::unique_ptr<TestClient> auditor_;   // registered from the start, never hangs
    std::unique_ptr<TestClient> neighbour_; // the same: an only entry of the list may be taken out by anybody
    std::unique_ptr<TestExtension> extension_;
    std::vector<std::unique_ptr<TestClient>> clients_;
    std::vector<Application> applications_;
    std::map<std::string, int32_t> contacts_; // of each peer
    std::set<std::string> moved_;             // peers that have had more than one contact
    std::set<std::string> shown_;             // the entries that the auditor was told found and not lost
    std::set<std::string> ended_;             // peers whose last transfer has ended, and that no send has touched since
    std::map<int32_t, std::string> files_;    // of users who are not in front, as they were
    std::vector<std::shared_ptr<ScriptedTransfer>> started_; // transfers of this step
    int64_t senderTapSince_ = 0;   // boot time at which the tap that runs was seen first; 0: none runs
    int64_t receiverTapSince_ = 0; // the same of the other side
    std::string heard_;
    std::string fault_; // seen inside a callback
    int32_t nextPid_ = 5000;
    int file_ = -1;           // what is sent
    bool faulted_ = false;    // an injected failure: memory and disk may differ for the rest of this life
    int32_t servedUser_ = -1; // whose state the switch holds, before the step
    bool reloaded_ = false;   // the state may have been loaded again since the last change that was told
    bool told_ = false;       // of a change of the switch, in this step
    bool wasOn_ = false;      // sharing, when the auditor heard of it last
    size_t descriptors_ = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_WORLD_H
