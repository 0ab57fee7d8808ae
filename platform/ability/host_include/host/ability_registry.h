#ifndef OHOS_HOST_ABILITY_REGISTRY_H
#define OHOS_HOST_ABILITY_REGISTRY_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ability_connect_callback.h"
#include "host/extension_host.h"
#include "want.h"

namespace OHOS::Host {

class ExtensionLauncher;
class TaskQueue;

/// One bundle that is served, or waited for, at one moment.
struct ExtensionInfo {
    std::string bundleName;
    std::vector<std::string> abilities; // empty while its process is waited for
    size_t waitingWants = 0;
    size_t connections = 0;
};

/// One want by which the service started an extension: a dialog, a notification, an offer.
struct StartedWant {
    uint64_t sequence = 0; // from 1 on
    std::string ability;
    AAFwk::WantParams params;
    int32_t result = 0; // an AbilityManagerError: whether somebody was there, or is to be started, to show it
};

/// The ability manager of the device: knows who serves which abilities, carries wants and connections to them, and
/// starts the command of a bundle that nobody serves.
///
/// One per process, made on first use and never destroyed. Any thread may call anything. Extensions are called on the
/// scheduler's queue "ability", connections on "ability connections", both with no lock held.
///
/// A want is lost when its process does not register in time, ends first, or does not take in what it is sent. It is
/// not asked who starts an extension: only the device's own services can.
class AbilityRegistry {
public:
    static constexpr size_t MAX_WAITING_WANTS = 32; // per registration, and per process that is waited for
    static constexpr size_t MAX_REGISTRATIONS = 64; // of all processes together
    static constexpr size_t MAX_REGISTRATIONS_OF_PROCESS = 16;
    static constexpr size_t KEPT_WANTS = 32;                          // that were started last, for people
    static constexpr std::chrono::milliseconds REGISTER_LIMIT{10000}; // for a started process to register
    static constexpr std::chrono::milliseconds STOP_LIMIT{2000}; // for those that were started to end with the device

    static AbilityRegistry& Instance();

    AbilityRegistry(const AbilityRegistry&) = delete;
    AbilityRegistry& operator=(const AbilityRegistry&) = delete;

    /// Publishes the registry (180) and the application manager (501). False when one of them could not be published.
    [[nodiscard]] bool Publish();
    /// Takes both back, ends the processes that were started and waits until they are gone: STOP_LIMIT for those that
    /// listen. Afterwards nothing is started any more.
    void Shutdown();

    // What AbilityManagerClient forwards

    [[nodiscard]] int32_t Start(const AAFwk::Want& want);
    [[nodiscard]] int32_t Connect(const AAFwk::Want& want, const sptr<AAFwk::IAbilityConnection>& callback);
    [[nodiscard]] int32_t Disconnect(const sptr<AAFwk::IAbilityConnection>& callback);

    /// What IAbilityRegistry forwards, once the caller's token has been checked. Counts for the process that calls.
    [[nodiscard]] int32_t Register(
        const std::string& bundleName, const std::vector<std::string>& abilities, const sptr<IRemoteObject>& extension);

    /// Everything that is served, by age, then what is waited for.
    [[nodiscard]] std::vector<ExtensionInfo> List() const;
    /// The last KEPT_WANTS that were started, newest last.
    [[nodiscard]] std::vector<StartedWant> Started() const;

private:
    struct Registration; // one object that serves abilities of one bundle
    struct Connection;   // one connection, from its ConnectAbility to its end
    struct Delivery;     // one message for an extension
    struct Launch;       // what waits for the process of one bundle
    class Answer;        // where an extension answers one connection
    class Death;         // tells of the end of an extension's process

    using RegistrationRef = std::shared_ptr<Registration>;
    using ConnectionRef = std::shared_ptr<Connection>;

    AbilityRegistry();
    ~AbilityRegistry();

    void StartProcess(const std::string& bundleName);
    void Deliver(const RegistrationRef& registration, const Delivery& delivery);
    [[nodiscard]] int32_t OnAnswer(const ConnectionRef& connection, const sptr<IRemoteObject>& object);
    void OnDied(const sptr<IRemoteObject>& extension);

    // With the mutex held:

    [[nodiscard]] int32_t Hand(const Delivery& delivery);
    [[nodiscard]] int32_t Await(const Delivery& delivery);
    [[nodiscard]] bool CanStart(const std::string& bundleName) const;
    std::map<std::string, Launch>::iterator Expect(const std::string& bundleName);
    void DropLaunch(const std::string& bundleName, int32_t reason);
    void TakeBack(const ConnectionRef& connection);
    void FeedFromLaunch(const RegistrationRef& registration);
    void Send(const RegistrationRef& registration, const Delivery& delivery);

    [[nodiscard]] bool MakeRoom(const Registration& wanted);
    [[nodiscard]] bool MayHoldAnother(int32_t pid) const;
    void End(const RegistrationRef& registration);
    [[nodiscard]] RegistrationRef Serving(const AppExecFwk::ElementName& element) const;
    [[nodiscard]] bool IsServed(const std::string& bundleName) const;

    void Close(const ConnectionRef& connection, int32_t reason);
    [[nodiscard]] bool IsOpen(const ConnectionRef& connection) const;

    mutable std::mutex mutex_; // guards everything below; held while tasks are posted, never while anybody is called
    std::vector<RegistrationRef> registrations_; // by age
    std::map<std::string, Launch> launches_;     // by bundle
    std::map<sptr<AAFwk::IAbilityConnection>, ConnectionRef> connections_;
    std::deque<StartedWant> started_;
    uint64_t lastStarted_ = 0;
    std::shared_ptr<TaskQueue> wants_;
    std::shared_ptr<TaskQueue> callbacks_;
    std::unique_ptr<ExtensionLauncher> launcher_;
    bool isShutDown_ = false;
};

} // namespace OHOS::Host

#endif // OHOS_HOST_ABILITY_REGISTRY_H
