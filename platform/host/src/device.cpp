#include "host/device.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "host/scheduler.h"

namespace OHOS::Host {

namespace {

constexpr int32_t FIRST_USER = 100;
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

bool IsTokenName(const std::string& name)
{
    return !name.empty() && name.size() <= Device::MAX_TOKEN_NAME &&
           name.find_first_not_of(TOKEN_NAME_CHARACTERS) == std::string::npos;
}

template <typename T>
[[nodiscard]] bool Erase(std::vector<T>& values, const T& value)
{
    const auto found = std::find(values.begin(), values.end(), value);
    if (found == values.end()) {
        return false;
    }
    values.erase(found);
    return true;
}

/// The row with this id, null when there is none.
template <typename Rows, typename Id>
auto* RowById(Rows& rows, Id id)
{
    const auto found = std::find_if(rows.begin(), rows.end(), [id](const auto& row) { return row.id == id; });
    return found == rows.end() ? nullptr : &*found;
}

template <typename T>
bool Contains(const std::vector<T>& values, const T& value)
{
    return std::find(values.begin(), values.end(), value) != values.end();
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
        return true;
    }
    auto& users = state_.users;
    users.insert(
        std::find_if(users.begin(), users.end(), [&user](const User& other) { return other.id > user.id; }), user);
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

// ---- Windows and applications

void Device::SetFocused(int32_t pid, bool focused)
{
    const std::lock_guard lock(mutex_);
    auto& pids = state_.focusedPids;
    if (Contains(pids, pid) == focused) {
        return;
    }
    if (focused) {
        pids.push_back(pid);
    } else {
        (void)Erase(pids, pid); // is there, as asked above
    }
    Post([this, pid, focused] {
        std::unique_lock guard(mutex_);
        const std::map<const void*, FocusListener> listeners = focusListeners_;
        guard.unlock();
        for (const auto& [key, listener] : listeners) {
            listener(pid, focused);
        }
    });
}

std::vector<int32_t> Device::FocusedPids() const
{
    const std::lock_guard lock(mutex_);
    return state_.focusedPids;
}

void Device::SetForegroundApplications(std::vector<Application> applications)
{
    const std::lock_guard lock(mutex_);
    state_.foregroundApplications = std::move(applications);
}

std::vector<Application> Device::ForegroundApplications() const
{
    const std::lock_guard lock(mutex_);
    return state_.foregroundApplications;
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
    return state_;
}

} // namespace OHOS::Host
