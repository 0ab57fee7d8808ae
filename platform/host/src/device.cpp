#include "host/device.h"

#include <algorithm>
#include <future>
#include <string_view>
#include <utility>

#include "device_rows.h"
#include "host/scheduler.h"

namespace OHOS::Host {

namespace {

constexpr int32_t FIRST_USER = 100;
constexpr std::chrono::seconds TELL_PATIENCE{5};
constexpr std::string_view TOKEN_NAME_CHARACTERS = "abcdefghijklmnopqrstuvwxyz0123456789_-";

DeviceSnapshot FreshDevice()
{
    DeviceSnapshot state;
    state.users = {{FIRST_USER, UserType::ORDINARY, true, {}}};
    state.foregroundUser = FIRST_USER;
    state.activeUsers = {FIRST_USER};
    state.abilities = {AbilityId::OS_ACCOUNT, AbilityId::APPLICATION_MANAGER, AbilityId::WIFI, AbilityId::BLUETOOTH,
        AbilityId::DATA_SHARE, AbilityId::COMMON_EVENT, AbilityId::TIME, AbilityId::WINDOW_MANAGER,
        AbilityId::COLLABORATION_DETECT};
    state.tokens = {
        {"owner", TokenId::OWNER, {PERMISSION_SWITCH_CONTROL, PERMISSION_ACCESS_SERVICE}, 0600},
        {"switch", TokenId::SWITCH, {PERMISSION_SWITCH_CONTROL}, 0600},
        {"extension", TokenId::EXTENSION, {PERMISSION_ACCESS_SERVICE}, 0600},
        {"app", TokenId::APP, {PERMISSION_ACCESS_SERVICE}, 0600},
        {"plain", TokenId::PLAIN, {}, 0666},
    };
    return state;
}

/// Users with ids of their own; who is in front or, once, active is one of them.
bool HasSoundUsers(const DeviceSnapshot& device)
{
    std::set<int32_t> ids;
    const std::set<int32_t> active(device.activeUsers.begin(), device.activeUsers.end());
    const bool areUnique = std::all_of(device.users.begin(), device.users.end(),
        [&ids](const User& user) { return user.id >= 0 && ids.insert(user.id).second; });
    const auto isUser = [&ids](int32_t id) { return ids.count(id) != 0; };
    return areUnique && (device.foregroundUser == -1 || isUser(device.foregroundUser)) &&
           active.size() == device.activeUsers.size() && std::all_of(active.begin(), active.end(), isUser);
}

bool IsTokenName(const std::string& name)
{
    return !name.empty() && name.size() <= Device::MAX_TOKEN_NAME &&
           name.find_first_not_of(TOKEN_NAME_CHARACTERS) == std::string::npos;
}

} // namespace

bool Token::Holds(const std::string& permission) const
{
    return Contains(permissions, permission);
}

Device& Device::Instance()
{
    // Never destroyed: threads of the platform may come here while the process ends.
    static auto* device = new Device();
    return *device;
}

Device::Device() : state_(FreshDevice())
{}

void Device::Post(std::function<void()> task, std::chrono::milliseconds delay)
{
    if (queue_ == nullptr) {
        queue_ = Scheduler::Instance().CreateQueue("device");
    }
    // Refused only when the process ends or can start no thread: then there is nobody left to tell.
    (void)queue_->Post(std::move(task), delay.count());
}

// ---- Identity

bool Device::Configure(DeviceIdentity identity)
{
    if (identity.udid.size() > MAX_UDID_LENGTH) {
        return false;
    }
    const std::lock_guard lock(mutex_);
    state_.identity = std::move(identity);
    return true;
}

DeviceIdentity Device::Identity() const
{
    const std::lock_guard lock(mutex_);
    return state_.identity;
}

std::string Device::Root() const
{
    const std::lock_guard lock(mutex_);
    return state_.identity.root;
}

// ---- Listeners

void Device::SetEventSink(EventSink sink)
{
    const std::lock_guard lock(mutex_);
    sink_.swap(sink); // the old one goes after the lock
}

void Device::AddAbilityListener(AbilityListener listener)
{
    const std::lock_guard lock(mutex_);
    abilityListeners_.push_back(std::move(listener));
}

bool Device::AddFocusListener(const void* key, FocusListener listener)
{
    const std::lock_guard lock(mutex_);
    return focusListeners_.emplace(key, std::move(listener)).second;
}

bool Device::RemoveFocusListener(const void* key)
{
    FocusListener removed; // goes after the lock: it may hold the last reference to somebody
    const std::lock_guard lock(mutex_);
    const auto found = focusListeners_.find(key);
    if (found == focusListeners_.end()) {
        return false;
    }
    removed = std::move(found->second);
    focusListeners_.erase(found);
    return true;
}

void Device::SetChangeListener(ChangeListener listener)
{
    const std::lock_guard lock(mutex_);
    changeListener_.swap(listener); // the old one goes after the lock
}

void Device::Changed()
{
    if (changeListener_ != nullptr && std::exchange(changeIsTold_, false)) {
        Post([this] { TellChange(); });
    }
}

void Device::TellChange()
{
    std::unique_lock lock(mutex_);
    changeIsTold_ = true; // what changes from here on is told again
    const ChangeListener listener = changeListener_;
    lock.unlock();
    if (listener != nullptr) {
        listener();
    }
}

void Device::WaitUntilTold()
{
    auto told = std::make_shared<std::promise<void>>();
    {
        const std::lock_guard lock(mutex_);
        if (queue_ == nullptr || queue_->IsCurrent() || Scheduler::Instance().IsManual() ||
            queue_->Post([told] { told->set_value(); }) == 0) {
            return;
        }
    }
    std::future<void> last = told->get_future();
    told.reset();                       // a queue that is stopped drops the task: then the promise is broken
    (void)last.wait_for(TELL_PATIENCE); // a listener may take its time; it is told nevertheless
}

void Device::Publish(DeviceEvent event)
{
    const std::lock_guard lock(mutex_);
    PostEvent(std::move(event));
}

void Device::ClearPackageData(const std::string& bundleName)
{
    Publish({EventName::PACKAGE_DATA_CLEARED, 0, bundleName, PublisherUid::SYSTEM, ""});
}

void Device::PostEvent(DeviceEvent event)
{
    Post([this, event = std::move(event)] {
        std::unique_lock lock(mutex_);
        const EventSink sink = sink_;
        lock.unlock();
        if (sink != nullptr) {
            sink(event);
        }
    });
}

// ---- Users

std::optional<User> Device::FindUser(int32_t id) const
{
    const std::lock_guard lock(mutex_);
    const User* user = RowById(state_.users, id);
    return user == nullptr ? std::nullopt : std::optional(*user);
}

int32_t Device::ForegroundUser() const
{
    const std::lock_guard lock(mutex_);
    return state_.foregroundUser;
}

std::vector<int32_t> Device::ActiveUsers() const
{
    const std::lock_guard lock(mutex_);
    return state_.activeUsers;
}

bool Device::PutUser(const User& user)
{
    if (user.id < 0) {
        return false;
    }
    const std::lock_guard lock(mutex_);
    if (User* present = RowById(state_.users, user.id); present != nullptr) {
        *present = user;
        Changed();
        return true;
    }
    auto& users = state_.users;
    users.insert(
        std::find_if(users.begin(), users.end(), [&user](const User& other) { return other.id > user.id; }), user);
    Changed();
    return true;
}

bool Device::RemoveUser(int32_t id)
{
    const std::lock_guard lock(mutex_);
    const User* user = RowById(state_.users, id);
    if (user == nullptr || id == state_.foregroundUser) {
        return false;
    }
    state_.users.erase(state_.users.begin() + (user - state_.users.data()));
    (void)Erase(state_.activeUsers, id); // may not have been active
    Changed();
    return true;
}

bool Device::SwitchUser(int32_t id)
{
    const std::lock_guard lock(mutex_);
    if (id != -1 && RowById(state_.users, id) == nullptr) {
        return false;
    }
    if (id == state_.foregroundUser) {
        return true;
    }
    state_.foregroundUser = id;
    Changed();
    if (id == -1) {
        return true;
    }
    (void)Erase(state_.activeUsers, id); // may not have been active
    state_.activeUsers.insert(state_.activeUsers.begin(), id);
    PostEvent({EventName::USER_SWITCHED, id, "", PublisherUid::ACCOUNTS, ""});
    return true;
}

bool Device::StopUser(int32_t id)
{
    const std::lock_guard lock(mutex_);
    if (id == state_.foregroundUser || !Erase(state_.activeUsers, id)) {
        return false;
    }
    RowById(state_.users, id)->verified = false;
    Changed();
    return true;
}

bool Device::SetVerified(int32_t id, bool verified)
{
    const std::lock_guard lock(mutex_);
    User* user = RowById(state_.users, id);
    if (user == nullptr) {
        return false;
    }
    const bool unlocked = verified && !user->verified;
    user->verified = verified;
    Changed();
    if (unlocked) {
        PostEvent({EventName::USER_UNLOCKED, id, "", PublisherUid::ACCOUNTS, ""});
    }
    return true;
}

bool Device::SetAccount(int32_t id, const AccountInfo& account)
{
    const std::lock_guard lock(mutex_);
    User* user = RowById(state_.users, id);
    if (user == nullptr) {
        return false;
    }
    user->account = account;
    return true;
}

// ---- System abilities

bool Device::IsAbilityPresent(int32_t id) const
{
    const std::lock_guard lock(mutex_);
    return state_.abilities.count(id) != 0;
}

void Device::SetAbilityPresent(int32_t id, bool present)
{
    const std::lock_guard lock(mutex_);
    const bool changed = present ? state_.abilities.insert(id).second : state_.abilities.erase(id) != 0;
    if (!changed) {
        return;
    }
    PostAbility(id, present);
    Changed();
    if (!present) {
        return;
    }
    if (id == AbilityId::WIFI) {
        SetWifiState(state_.radios.wifi);
    } else if (id == AbilityId::BLUETOOTH) {
        SetBluetoothState(state_.radios.bluetooth);
    } else if (id == AbilityId::DATA_SHARE) {
        PostEvent({EventName::DATA_SHARE_READY, 0, "", PublisherUid::SYSTEM, ""});
    }
}

void Device::PostAbility(int32_t id, bool present)
{
    Post([this, id, present] {
        std::unique_lock lock(mutex_);
        const std::vector<AbilityListener> listeners = abilityListeners_;
        lock.unlock();
        for (const AbilityListener& listener : listeners) {
            listener(id, present);
        }
    });
}

// ---- Callers

uint32_t Device::AddToken(Token token)
{
    const std::lock_guard lock(mutex_);
    auto& tokens = state_.tokens;
    const bool used =
        std::any_of(tokens.begin(), tokens.end(), [&token](const Token& other) { return other.name == token.name; });
    if (used || !IsTokenName(token.name)) {
        return 0;
    }
    // Rows are never removed, so an id is never given twice.
    token.id = std::max(tokens.back().id + 1, TokenId::FIRST_ADDED);
    tokens.push_back(std::move(token));
    return tokens.back().id;
}

std::optional<Token> Device::FindToken(uint32_t id) const
{
    const std::lock_guard lock(mutex_);
    const Token* token = RowById(state_.tokens, id);
    return token == nullptr ? std::nullopt : std::optional(*token);
}

std::vector<Token> Device::Tokens() const
{
    const std::lock_guard lock(mutex_);
    return state_.tokens;
}

bool Device::TokenHolds(uint32_t id, const std::string& permission) const
{
    const std::lock_guard lock(mutex_);
    const Token* token = RowById(state_.tokens, id);
    return token != nullptr && token->Holds(permission);
}

// ---- Commands

void Device::SetCommand(const std::string& bundleName, std::vector<std::string> argv)
{
    const std::lock_guard lock(mutex_);
    if (argv.empty()) {
        state_.commands.erase(bundleName);
    } else {
        state_.commands[bundleName] = std::move(argv);
    }
    Changed();
}

std::vector<std::string> Device::Command(const std::string& bundleName) const
{
    const std::lock_guard lock(mutex_);
    const auto found = state_.commands.find(bundleName);
    return found == state_.commands.end() ? std::vector<std::string>() : found->second;
}

DeviceSnapshot Device::Snapshot() const
{
    const std::lock_guard lock(mutex_);
    DeviceSnapshot snapshot = state_;
    snapshot.wifiMode = wifi_.Remembered();
    snapshot.bluetoothMode = bluetooth_.Remembered();
    return snapshot;
}

bool Device::Become(const DeviceSnapshot& earlier)
{
    if (!HasSoundUsers(earlier)) {
        return false;
    }
    const std::lock_guard lock(mutex_);
    std::vector<User> users = earlier.users;
    for (User& user : users) {
        if (const User* known = RowById(state_.users, user.id); known != nullptr) {
            user.account = known->account;
        }
    }
    state_.users = std::move(users);
    state_.foregroundUser = earlier.foregroundUser;
    state_.activeUsers = earlier.activeUsers;
    state_.timings = earlier.timings;
    state_.commands = earlier.commands;
    state_.airplane = earlier.airplane;
    state_.wifiAfterAirplane = earlier.wifiAfterAirplane;
    state_.bluetoothAfterAirplane = earlier.bluetoothAfterAirplane;
    wifi_.goal = earlier.wifiMode;
    bluetooth_.goal = earlier.bluetoothMode;
    state_.radios = StatesOf(earlier.wifiMode, earlier.bluetoothMode);
    return true;
}

} // namespace OHOS::Host
