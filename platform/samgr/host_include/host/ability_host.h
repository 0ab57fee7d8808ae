#ifndef OHOS_HOST_ABILITY_HOST_H
#define OHOS_HOST_ABILITY_HOST_H

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "if_system_ability_manager.h"
#include "system_ability.h"

namespace OHOS::Host {

class TaskQueue;

/// Ids that only the host knows; the device model has those of the device (host/device.h).
namespace AbilityId {
inline constexpr int32_t ABILITY_REGISTRY = 180; // where extensions register
inline constexpr int32_t DEVICE_CONTROL = 9501;  // `pelago sim` and its kin
} // namespace AbilityId

/// The framework behind the system abilities of this process: starts and stops them, keeps what they publish, and tells
/// them which abilities come and go.
///
/// One per process, made on first use (before main, by the abilities that register themselves) and never destroyed. Any
/// thread may call anything. Abilities are called on the scheduler's queue "samgr" with no lock held.
///
/// What is present: an ability that the device model knows, while it is present there; any other, while it is published
/// here. One that is present without being published is found as a small object that answers nothing. It starts no
/// processes and checks no callers.
class AbilityHost {
public:
    static AbilityHost& Instance();

    AbilityHost(const AbilityHost&) = delete;
    AbilityHost& operator=(const AbilityHost&) = delete;

    // Abilities of this process

    /// Starts each registered ability that runs on creation, in the order of registration; `started` comes behind
    /// them. All on the queue.
    void Start(std::function<void()> started = {});
    /// Stops what was started, last first, and takes back what it published; `stopped` comes behind. All on the queue.
    void Stop(std::function<void()> stopped = {});

    // Objects by id

    /// As SystemAbility::Publish, for the host's own services.
    [[nodiscard]] bool Publish(int32_t id, const sptr<IRemoteObject>& object);
    /// Nothing for an id that is not published.
    void Unpublish(int32_t id);
    /// Null when the ability is absent.
    [[nodiscard]] sptr<IRemoteObject> Find(int32_t id);
    /// What is present, ascending.
    [[nodiscard]] std::vector<int32_t> List() const;

    // Managers

    /// The object that every connection of the daemon gets first, the way to all others.
    [[nodiscard]] sptr<IRemoteObject> RootObject();
    /// What SystemAbilityManagerClient gives: the daemon's when SetRemoteSamgr named one, otherwise this process's own.
    [[nodiscard]] sptr<ISystemAbilityManager> Manager();

private:
    friend class OHOS::SystemAbility;
    friend void SetRemoteSamgr(const sptr<IRemoteObject>& root);

    using Listener = std::pair<int32_t, SystemAbility*>; // watched id, who watches

    AbilityHost() = default;

    [[nodiscard]] bool Register(SystemAbility* ability);
    [[nodiscard]] bool AddListener(SystemAbility& ability, int32_t id);
    [[nodiscard]] std::vector<sptr<SystemAbility>> TakeStartable();
    [[nodiscard]] std::vector<sptr<SystemAbility>> TakeStarted();
    void Post(std::function<void()> task);

    // With the mutex held:
    void FollowDevice();
    void TellPublished(int32_t id, bool present);
    void TellListeners(int32_t id, bool present);
    [[nodiscard]] bool IsPresent(int32_t id) const;
    void Tell(std::pair<const Listener, bool>& listener, bool present);
    void PostLocked(std::function<void()> task);
    const sptr<ISystemAbilityManager>& LocalManager();

    mutable std::mutex mutex_; // guards everything below; under it the device is asked and tasks are posted, so that
                               // listeners hear in the order in which things came and went
    std::vector<sptr<SystemAbility>> abilities_;
    std::vector<sptr<SystemAbility>> started_;
    std::map<int32_t, sptr<IRemoteObject>> published_;
    std::map<int32_t, sptr<IRemoteObject>> opaque_; // stand for present abilities that nobody here implements
    std::map<Listener, bool> listeners_;            // what each was told last: present or not
    std::shared_ptr<TaskQueue> queue_;
    sptr<ISystemAbilityManager> local_;
    sptr<ISystemAbilityManager> remote_;
    bool followsDevice_ = false;
};

/// Makes this process a client of the daemon whose root object this is: from now on its manager asks there. Null makes
/// it ask itself again.
void SetRemoteSamgr(const sptr<IRemoteObject>& root);

/// A manager that asks at this root object: for processes that talk to several daemons, and for loopback processes.
/// Null for null.
[[nodiscard]] sptr<ISystemAbilityManager> SamgrOf(const sptr<IRemoteObject>& root);

} // namespace OHOS::Host

#endif // OHOS_HOST_ABILITY_HOST_H
