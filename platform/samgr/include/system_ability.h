#ifndef OHOS_SYSTEM_ABILITY_H
#define OHOS_SYSTEM_ABILITY_H

#include <cstdint>
#include <string>

#include "iremote_object.h"
#include "refbase.h"

namespace OHOS {

namespace Host {
class AbilityHost;
}

/// Base of a service that the platform starts, stops and makes findable by an id.
///
/// The framework holds a reference from MakeAndRegisterAbility on. OnStart, OnStop, OnAddSystemAbility and
/// OnRemoveSystemAbility run on the framework's queue, one at a time; Publish and AddSystemAbilityListener may be
/// called from any thread.
///
/// It has no IPC of its own: what a service publishes is its stub, which checks its callers itself.
class SystemAbility : public virtual RefBase {
public:
    SystemAbility(const SystemAbility&) = delete;
    SystemAbility& operator=(const SystemAbility&) = delete;

    /// Hands the ability to the framework of this process, which will start it. Only stores: safe before main. False
    /// for null and for an id that is taken.
    [[nodiscard]] static bool MakeAndRegisterAbility(SystemAbility* systemAbility);

    /// Name for the log and the dump.
    virtual std::string GetClassName();

    [[nodiscard]] int32_t GetSystemAbilityId() const;
    /// Whether the framework starts the ability by itself.
    [[nodiscard]] bool IsRunOnCreate() const;

protected:
    explicit SystemAbility(int32_t systemAbilityId, bool runOnCreate = false);
    ~SystemAbility() override = default;

    /// Makes the object findable under the ability's id before the call returns, in this process too; replaces what
    /// was published before. False for null.
    [[nodiscard]] bool Publish(const sptr<IRemoteObject>& object);

    /// From now on OnAddSystemAbility and OnRemoveSystemAbility tell each arrival and loss of that ability. One that is
    /// present already is told as an arrival once, later, never inside this call. False when the framework cannot take
    /// it; a repeated call is true and changes nothing.
    [[nodiscard]] bool AddSystemAbilityListener(int32_t systemAbilityId);

    virtual void OnStart();
    virtual void OnStop();
    /// `deviceId` is empty: all abilities are of this device.
    virtual void OnAddSystemAbility(int32_t systemAbilityId, const std::string& deviceId);
    virtual void OnRemoveSystemAbility(int32_t systemAbilityId, const std::string& deviceId);

private:
    friend class Host::AbilityHost; // calls the four above

    const int32_t systemAbilityId_;
    const bool runOnCreate_;
};

} // namespace OHOS

#endif // OHOS_SYSTEM_ABILITY_H
