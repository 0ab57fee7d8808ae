#include "host/ability_host.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <set>

#include "host/device.h"
#include "host/faults.h"
#include "host/scheduler.h"
#include "ipc_object_stub.h"
#include "samgr_proxy.h"
#include "samgr_stub.h"

namespace OHOS::Host {

namespace {
// What the device model decides about, ascending: publishing an object makes none of these present.
constexpr std::array<int32_t, 9> MODELLED{AbilityId::OS_ACCOUNT, AbilityId::APPLICATION_MANAGER, AbilityId::WIFI,
    AbilityId::BLUETOOTH, AbilityId::DATA_SHARE, AbilityId::COMMON_EVENT, AbilityId::TIME, AbilityId::WINDOW_MANAGER,
    AbilityId::COLLABORATION_DETECT};

bool IsModelled(int32_t id)
{
    return std::binary_search(MODELLED.begin(), MODELLED.end(), id);
}
} // namespace

AbilityHost& AbilityHost::Instance()
{
    static AbilityHost* instance = new AbilityHost(); // threads may outlive main
    return *instance;
}

bool AbilityHost::Register(SystemAbility* ability)
{
    if (ability == nullptr) {
        return false;
    }
    std::lock_guard<std::mutex> guard(mutex_);
    for (const sptr<SystemAbility>& other : abilities_) {
        if (other->GetSystemAbilityId() == ability->GetSystemAbilityId()) {
            return false;
        }
    }
    abilities_.emplace_back(ability);
    return true;
}

void AbilityHost::Start(std::function<void()> started)
{
    std::lock_guard<std::mutex> guard(mutex_);
    FollowDevice();
    PostLocked([this, started = std::move(started)] {
        for (const sptr<SystemAbility>& ability : TakeStartable()) {
            ability->OnStart();
        }
        if (started) {
            started();
        }
    });
}

void AbilityHost::Stop(std::function<void()> stopped)
{
    Post([this, stopped = std::move(stopped)] {
        for (const sptr<SystemAbility>& ability : TakeStarted()) {
            ability->OnStop();
            Unpublish(ability->GetSystemAbilityId());
        }
        if (stopped) {
            stopped();
        }
    });
}

std::vector<sptr<SystemAbility>> AbilityHost::TakeStartable()
{
    std::lock_guard<std::mutex> guard(mutex_);
    std::vector<sptr<SystemAbility>> startable;
    for (const sptr<SystemAbility>& ability : abilities_) {
        if (ability->IsRunOnCreate() && std::find(started_.begin(), started_.end(), ability) == started_.end()) {
            startable.push_back(ability);
        }
    }
    started_.insert(started_.end(), startable.begin(), startable.end());
    return startable;
}

std::vector<sptr<SystemAbility>> AbilityHost::TakeStarted()
{
    std::lock_guard<std::mutex> guard(mutex_);
    std::vector<sptr<SystemAbility>> started(started_.rbegin(), started_.rend());
    started_.clear();
    return started;
}

bool AbilityHost::Publish(int32_t id, const sptr<IRemoteObject>& object)
{
    sptr<IRemoteObject> former = object; // what was there before goes after the lock
    if (object == nullptr) {
        return false;
    }
    std::lock_guard<std::mutex> guard(mutex_);
    std::swap(published_[id], former);
    TellPublished(id, true);
    return true;
}

void AbilityHost::Unpublish(int32_t id)
{
    sptr<IRemoteObject> last; // goes after the lock
    std::lock_guard<std::mutex> guard(mutex_);
    auto found = published_.find(id);
    if (found == published_.end()) {
        return;
    }
    last = std::move(found->second);
    published_.erase(found);
    TellPublished(id, false);
}

sptr<IRemoteObject> AbilityHost::Find(int32_t id)
{
    if (Faults::Take("samgr.find")) {
        return nullptr;
    }
    std::lock_guard<std::mutex> guard(mutex_);
    if (!IsPresent(id)) {
        return nullptr;
    }
    auto found = published_.find(id);
    if (found != published_.end()) {
        return found->second;
    }
    sptr<IRemoteObject>& opaque = opaque_[id];
    if (opaque == nullptr) {
        opaque = MakeSptr<IPCObjectStub>();
    }
    return opaque;
}

std::vector<int32_t> AbilityHost::List() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    std::set<int32_t> ids(MODELLED.begin(), MODELLED.end());
    for (const auto& [id, object] : published_) {
        ids.insert(id);
    }
    std::vector<int32_t> present;
    std::copy_if(ids.begin(), ids.end(), std::back_inserter(present), [this](int32_t id) { return IsPresent(id); });
    return present;
}

bool AbilityHost::IsPresent(int32_t id) const
{
    return IsModelled(id) ? Device::Instance().IsAbilityPresent(id) : published_.count(id) != 0;
}

bool AbilityHost::AddListener(SystemAbility& ability, int32_t id)
{
    std::lock_guard<std::mutex> guard(mutex_);
    FollowDevice();
    // Only those that the framework holds may be called later.
    auto registered = std::find(abilities_.begin(), abilities_.end(), &ability);
    if (registered == abilities_.end()) {
        return false;
    }
    auto listener = listeners_.try_emplace({id, &ability}, false).first;
    if (IsPresent(id)) {
        Tell(*listener, true);
    }
    return true;
}

void AbilityHost::FollowDevice()
{
    if (!std::exchange(followsDevice_, true)) {
        Device::Instance().AddAbilityListener([this](int32_t id, bool present) {
            std::lock_guard<std::mutex> guard(mutex_);
            TellListeners(id, present);
        });
    }
}

void AbilityHost::TellPublished(int32_t id, bool present)
{
    if (!IsModelled(id)) {
        TellListeners(id, present);
    }
}

void AbilityHost::TellListeners(int32_t id, bool present)
{
    for (auto listener = listeners_.lower_bound({id, nullptr});
         listener != listeners_.end() && listener->first.first == id; ++listener) {
        Tell(*listener, present);
    }
}

void AbilityHost::Tell(std::pair<const Listener, bool>& listener, bool present)
{
    if (std::exchange(listener.second, present) == present) {
        return;
    }
    const int32_t id = listener.first.first;
    sptr<SystemAbility> ability = listener.first.second;
    PostLocked([ability, id, present] {
        if (present) {
            ability->OnAddSystemAbility(id, "");
        } else {
            ability->OnRemoveSystemAbility(id, "");
        }
    });
}

void AbilityHost::Post(std::function<void()> task)
{
    std::lock_guard<std::mutex> guard(mutex_);
    PostLocked(std::move(task));
}

void AbilityHost::PostLocked(std::function<void()> task)
{
    if (queue_ == nullptr) {
        queue_ = Scheduler::Instance().CreateQueue("samgr");
    }
    (void)queue_->Post(std::move(task)); // refused only while the process ends, when nothing is to be called any more
}

sptr<IRemoteObject> AbilityHost::RootObject()
{
    std::lock_guard<std::mutex> guard(mutex_);
    return LocalManager()->AsObject();
}

sptr<ISystemAbilityManager> AbilityHost::Manager()
{
    std::lock_guard<std::mutex> guard(mutex_);
    return remote_ != nullptr ? remote_ : LocalManager();
}

const sptr<ISystemAbilityManager>& AbilityHost::LocalManager()
{
    if (local_ == nullptr) {
        local_ = MakeSptr<SamgrStub>();
    }
    return local_;
}

void SetRemoteSamgr(const sptr<IRemoteObject>& root)
{
    sptr<ISystemAbilityManager> next = SamgrOf(root); // what was there before goes after the lock
    AbilityHost& host = AbilityHost::Instance();
    std::lock_guard<std::mutex> guard(host.mutex_);
    std::swap(host.remote_, next);
}

sptr<ISystemAbilityManager> SamgrOf(const sptr<IRemoteObject>& root)
{
    if (root == nullptr) {
        return nullptr;
    }
    return sptr<ISystemAbilityManager>(MakeSptr<SamgrProxy>(root));
}

} // namespace OHOS::Host
