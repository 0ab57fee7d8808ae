#include "host/ability_registry.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "ability_manager_errors.h"
#include "ability_registry_stub.h"
#include "app_mgr_stub.h"
#include "extension_launcher.h"
#include "hilog/log.h"
#include "host/ability_host.h"
#include "host/device.h"
#include "host/scheduler.h"
#include "ipc_skeleton.h"
#include "message_parcel.h"

namespace OHOS::Host {

using AAFwk::IAbilityConnection;
using AAFwk::Want;
using AppExecFwk::ElementName;
using namespace AAFwk; // the error constants

namespace {
constexpr unsigned int LOG_DOMAIN_OF_ABILITY = 0xD001300;
constexpr const char* LOG_TAG_OF_ABILITY = "AbilityRegistry";

// A message to an extension that begins with the want; null when it does not fit.
std::shared_ptr<MessageParcel> MakeMessage(const Want& want)
{
    auto message = std::make_shared<MessageParcel>();
    bool fits = message->WriteInterfaceToken(IExtension::GetDescriptor()) && want.Marshalling(*message);
    return fits ? message : nullptr;
}

bool IsName(const std::string& name)
{
    return !name.empty() && name.size() <= IAbilityRegistry::MAX_NAME;
}

bool IsServable(const std::string& bundleName, const std::vector<std::string>& abilities)
{
    return IsName(bundleName) && !abilities.empty() && abilities.size() <= IAbilityRegistry::MAX_ABILITIES &&
           std::all_of(abilities.begin(), abilities.end(), IsName);
}
} // namespace

struct AbilityRegistry::Registration {
    std::string bundleName;
    std::vector<std::string> abilities;
    sptr<IRemoteObject> extension;
    int32_t pid = 0;    // who registered it
    size_t waiting = 0; // messages that are posted and not yet sent

    bool Serves(const ElementName& element) const
    {
        return element.GetBundleName() == bundleName &&
               std::find(abilities.begin(), abilities.end(), element.GetAbilityName()) != abilities.end();
    }
};

struct AbilityRegistry::Connection {
    sptr<IAbilityConnection> callback;
    Want want;
    RegistrationRef registration; // null while its process is waited for
    bool answered = false;
};

struct AbilityRegistry::Delivery {
    ElementName element;
    IExtension::Code code = IExtension::START;
    std::shared_ptr<MessageParcel> message;
    ConnectionRef connection; // null for a start
};

struct AbilityRegistry::Launch {
    std::vector<Delivery> waiting; // by age
    TaskId deadline = 0;
};

class AbilityRegistry::Answer : public IRemoteStub<IConnectAnswer> {
public:
    explicit Answer(const ConnectionRef& connection) : connection_(connection)
    {}

    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override
    {
        if (data.ReadInterfaceToken() != GetDescriptor()) {
            return ERR_ABILITY_INVALID_VALUE;
        }
        if (code != CONNECTED) {
            return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
        }
        const bool accepted = data.ReadBool();
        return Instance().OnAnswer(connection_.lock(), accepted ? data.ReadRemoteObject() : nullptr);
    }

private:
    const std::weak_ptr<Connection> connection_; // the extension may keep this object for as long as it likes
};

class AbilityRegistry::Death : public IRemoteObject::DeathRecipient {
public:
    void OnRemoteDied(const wptr<IRemoteObject>& object) override
    {
        if (sptr<IRemoteObject> extension = object.promote(); extension != nullptr) {
            Instance().OnDied(extension);
        }
    }
};

AbilityRegistry& AbilityRegistry::Instance()
{
    static AbilityRegistry* instance = new AbilityRegistry(); // threads may outlive main
    return *instance;
}

AbilityRegistry::AbilityRegistry()
    : wants_(Scheduler::Instance().CreateQueue("ability")),
      callbacks_(Scheduler::Instance().CreateQueue("ability connections")),
      launcher_(std::make_unique<ExtensionLauncher>())
{}

AbilityRegistry::~AbilityRegistry() = default;

bool AbilityRegistry::Publish()
{
    AbilityHost& host = AbilityHost::Instance();
    return host.Publish(AbilityId::ABILITY_REGISTRY, MakeSptr<AbilityRegistryStub>()) &&
           host.Publish(AbilityId::APPLICATION_MANAGER, MakeSptr<AppExecFwk::AppMgrStub>());
}

void AbilityRegistry::Shutdown()
{
    AbilityHost::Instance().Unpublish(AbilityId::ABILITY_REGISTRY);
    AbilityHost::Instance().Unpublish(AbilityId::APPLICATION_MANAGER);
    {
        std::lock_guard<std::mutex> guard(mutex_);
        isShutDown_ = true;
        while (!launches_.empty()) {
            DropLaunch(std::string(launches_.begin()->first), ERR_ABILITY_NOT_REGISTERED);
        }
    }
    launcher_->StopAll(STOP_LIMIT);
}

int32_t AbilityRegistry::Start(const Want& want)
{
    Delivery delivery{want.GetElement(), IExtension::START, MakeMessage(want), nullptr};
    if (delivery.message == nullptr) {
        return ERR_ABILITY_WANT_TOO_LARGE;
    }
    std::lock_guard<std::mutex> guard(mutex_);
    const int32_t result = Hand(delivery);
    if (started_.size() == KEPT_WANTS) {
        started_.pop_front();
    }
    started_.push_back({++lastStarted_, want.GetElement().GetAbilityName(), want.GetParams(), result});
    return result;
}

std::vector<StartedWant> AbilityRegistry::Started() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    return {started_.begin(), started_.end()};
}

int32_t AbilityRegistry::Connect(const Want& want, const sptr<IAbilityConnection>& callback)
{
    if (callback == nullptr) {
        return ERR_ABILITY_INVALID_VALUE;
    }
    auto connection = std::make_shared<Connection>();
    connection->callback = callback;
    connection->want = want;
    Delivery delivery{want.GetElement(), IExtension::CONNECT, MakeMessage(want), connection};
    if (delivery.message == nullptr || !delivery.message->WriteRemoteObject(MakeSptr<Answer>(connection))) {
        return ERR_ABILITY_WANT_TOO_LARGE;
    }
    std::lock_guard<std::mutex> guard(mutex_);
    if (connections_.count(callback) != 0) {
        return ERR_ABILITY_CONNECTION_EXISTS;
    }
    const int32_t result = Hand(delivery);
    if (result == ERR_ABILITY_OK) {
        connections_.emplace(callback, connection);
    }
    return result;
}

int32_t AbilityRegistry::Disconnect(const sptr<IAbilityConnection>& callback)
{
    std::lock_guard<std::mutex> guard(mutex_);
    auto found = connections_.find(callback);
    if (found == connections_.end()) {
        return ERR_ABILITY_CONNECTION_UNKNOWN;
    }
    ConnectionRef connection = found->second;
    if (connection->registration != nullptr) {
        // Beyond the limit too: an end that is not told would leave the extension with a connection for ever.
        const Want& want = connection->want;
        Send(connection->registration, {want.GetElement(), IExtension::DISCONNECT, MakeMessage(want), nullptr});
    } else {
        TakeBack(connection);
    }
    Close(connection, ERR_ABILITY_OK);
    return ERR_ABILITY_OK;
}

int32_t AbilityRegistry::Hand(const Delivery& delivery)
{
    RegistrationRef registration = Serving(delivery.element);
    if (registration == nullptr) {
        return Await(delivery);
    }
    if (registration->waiting >= MAX_WAITING_WANTS) {
        return ERR_ABILITY_QUEUE_FULL;
    }
    Send(registration, delivery);
    return ERR_ABILITY_OK;
}

int32_t AbilityRegistry::Await(const Delivery& delivery)
{
    const std::string& bundleName = delivery.element.GetBundleName();
    auto launch = launches_.find(bundleName);
    if (launch == launches_.end()) {
        if (!CanStart(bundleName)) {
            return ERR_ABILITY_NOT_REGISTERED;
        }
        launch = Expect(bundleName);
    }
    if (launch->second.waiting.size() >= MAX_WAITING_WANTS) {
        return ERR_ABILITY_QUEUE_FULL;
    }
    launch->second.waiting.push_back(delivery);
    return ERR_ABILITY_OK;
}

bool AbilityRegistry::CanStart(const std::string& bundleName) const
{
    // A process that has registered and still lives does not serve the ability: another one would not either.
    const bool isThere = IsServed(bundleName) && launcher_->IsRunning(bundleName);
    return !isShutDown_ && !isThere && !Device::Instance().Command(bundleName).empty();
}

std::map<std::string, AbilityRegistry::Launch>::iterator AbilityRegistry::Expect(const std::string& bundleName)
{
    auto expire = [this, bundleName] {
        std::lock_guard<std::mutex> guard(mutex_);
        DropLaunch(bundleName, ERR_ABILITY_TIMEOUT);
    };
    auto launch = launches_.emplace(bundleName, Launch()).first;
    launch->second.deadline = wants_->Post(expire, REGISTER_LIMIT.count());
    (void)wants_->Post([this, bundleName] { StartProcess(bundleName); }); // refused only while the process ends
    return launch;
}

void AbilityRegistry::StartProcess(const std::string& bundleName)
{
    // One of an earlier start that has not registered yet may still do so.
    if (launcher_->IsRunning(bundleName) ||
        launcher_->Launch(bundleName, Device::Instance().Command(bundleName), Device::Instance().Root())) {
        return;
    }
    std::lock_guard<std::mutex> guard(mutex_);
    DropLaunch(bundleName, ERR_ABILITY_START_FAILED);
}

void AbilityRegistry::DropLaunch(const std::string& bundleName, int32_t reason)
{
    auto launch = launches_.find(bundleName);
    if (launch == launches_.end()) {
        return;
    }
    (void)wants_->Cancel(launch->second.deadline); // it may be what runs now
    const std::vector<Delivery> dropped = std::move(launch->second.waiting);
    launches_.erase(launch);
    HILOG_IMPL(LOG_CORE, LOG_INFO, LOG_DOMAIN_OF_ABILITY, LOG_TAG_OF_ABILITY,
        "%{public}zu wants for %{public}s dropped, error %{public}d", dropped.size(), bundleName.c_str(), reason);
    for (const Delivery& delivery : dropped) {
        if (delivery.connection != nullptr) {
            Close(delivery.connection, reason);
        }
    }
}

void AbilityRegistry::TakeBack(const ConnectionRef& connection)
{
    auto launch = launches_.find(connection->want.GetElement().GetBundleName());
    if (launch == launches_.end()) {
        return;
    }
    std::vector<Delivery>& waiting = launch->second.waiting;
    waiting.erase(std::remove_if(waiting.begin(), waiting.end(),
                      [&connection](const Delivery& delivery) { return delivery.connection == connection; }),
        waiting.end());
}

void AbilityRegistry::Send(const RegistrationRef& registration, const Delivery& delivery)
{
    ++registration->waiting;
    if (delivery.connection != nullptr) {
        delivery.connection->registration = registration;
    }
    auto deliver = [this, registration, delivery] { Deliver(registration, delivery); };
    (void)wants_->Post(std::move(deliver)); // refused only while the process ends
}

void AbilityRegistry::Deliver(const RegistrationRef& registration, const Delivery& delivery)
{
    {
        std::lock_guard<std::mutex> guard(mutex_);
        --registration->waiting;
    }
    MessageParcel reply;
    MessageOption option(MessageOption::TF_ASYNC);
    const int error = registration->extension->SendRequest(delivery.code, *delivery.message, reply, option);
    if (error == ERR_NONE) {
        return;
    }
    HILOG_IMPL(LOG_CORE, LOG_INFO, LOG_DOMAIN_OF_ABILITY, LOG_TAG_OF_ABILITY,
        "a message for %{public}s was lost, error %{public}d", registration->bundleName.c_str(), error);
    std::lock_guard<std::mutex> guard(mutex_);
    if (delivery.connection != nullptr && IsOpen(delivery.connection)) {
        Close(delivery.connection, ERR_ABILITY_IPC);
    }
}

int32_t AbilityRegistry::Register(
    const std::string& bundleName, const std::vector<std::string>& abilities, const sptr<IRemoteObject>& extension)
{
    if (extension == nullptr || !IsServable(bundleName, abilities)) {
        return ERR_ABILITY_INVALID_VALUE;
    }
    auto registration = std::make_shared<Registration>();
    registration->bundleName = bundleName;
    registration->abilities = abilities;
    registration->extension = extension;
    registration->pid = IPCSkeleton::GetCallingPid();
    std::lock_guard<std::mutex> guard(mutex_);
    if (!MakeRoom(*registration)) {
        return ERR_ABILITY_ALREADY_REGISTERED;
    }
    if (!MayHoldAnother(registration->pid)) {
        return ERR_ABILITY_TOO_MANY;
    }
    // Under the lock: a death that is told at once finds the registration.
    if (extension->IsProxyObject() && !extension->AddDeathRecipient(MakeSptr<Death>())) {
        return ERR_ABILITY_DIED;
    }
    registrations_.push_back(registration);
    FeedFromLaunch(registration);
    return ERR_ABILITY_OK;
}

bool AbilityRegistry::MayHoldAnother(int32_t pid) const
{
    const auto ofProcess = std::count_if(registrations_.begin(), registrations_.end(),
        [pid](const RegistrationRef& registration) { return registration->pid == pid; });
    return registrations_.size() < MAX_REGISTRATIONS && static_cast<size_t>(ofProcess) < MAX_REGISTRATIONS_OF_PROCESS;
}

bool AbilityRegistry::MakeRoom(const Registration& wanted)
{
    for (const std::string& ability : wanted.abilities) {
        RegistrationRef other = Serving(ElementName("", wanted.bundleName, ability));
        if (other == nullptr) {
            continue;
        }
        if (!other->extension->IsObjectDead()) {
            return false;
        }
        End(other); // its death is on the way to us
    }
    return true;
}

void AbilityRegistry::FeedFromLaunch(const RegistrationRef& registration)
{
    auto launch = launches_.find(registration->bundleName);
    if (launch == launches_.end()) {
        return;
    }
    std::vector<Delivery>& waiting = launch->second.waiting;
    auto others = std::stable_partition(waiting.begin(), waiting.end(),
        [&registration](const Delivery& delivery) { return registration->Serves(delivery.element); });
    std::for_each(waiting.begin(), others, [&](const Delivery& delivery) { Send(registration, delivery); });
    waiting.erase(waiting.begin(), others);
    if (waiting.empty()) {
        (void)wants_->Cancel(launch->second.deadline); // it may be about to run, and finds nothing then
        launches_.erase(launch);
    }
}

void AbilityRegistry::OnDied(const sptr<IRemoteObject>& extension)
{
    std::lock_guard<std::mutex> guard(mutex_);
    const std::vector<RegistrationRef> all = registrations_;
    for (const RegistrationRef& registration : all) {
        if (registration->extension == extension) {
            End(registration);
        }
    }
}

void AbilityRegistry::End(const RegistrationRef& registration)
{
    registrations_.erase(std::remove(registrations_.begin(), registrations_.end(), registration), registrations_.end());
    std::vector<ConnectionRef> ended;
    for (const auto& [callback, connection] : connections_) {
        if (connection->registration == registration) {
            ended.push_back(connection);
        }
    }
    for (const ConnectionRef& connection : ended) {
        Close(connection, ERR_ABILITY_DIED);
    }
}

int32_t AbilityRegistry::OnAnswer(const ConnectionRef& connection, const sptr<IRemoteObject>& object)
{
    std::lock_guard<std::mutex> guard(mutex_);
    if (connection == nullptr || !IsOpen(connection) || std::exchange(connection->answered, true)) {
        return ERR_ABILITY_INVALID_VALUE;
    }
    if (object == nullptr) {
        Close(connection, ERR_ABILITY_REFUSED);
        return ERR_ABILITY_OK;
    }
    auto tell = [callback = connection->callback, element = connection->want.GetElement(), object] {
        callback->OnAbilityConnectDone(element, object, ERR_ABILITY_OK);
    };
    (void)callbacks_->Post(std::move(tell)); // refused only while the process ends
    return ERR_ABILITY_OK;
}

void AbilityRegistry::Close(const ConnectionRef& connection, int32_t reason)
{
    connections_.erase(connection->callback);
    // The reference moves into the task: whatever it may do when it goes, it goes with no lock held.
    auto tell = [callback = std::move(connection->callback), element = connection->want.GetElement(), reason] {
        callback->OnAbilityDisconnectDone(element, reason);
    };
    (void)callbacks_->Post(std::move(tell)); // refused only while the process ends
}

bool AbilityRegistry::IsOpen(const ConnectionRef& connection) const
{
    return connection->callback != nullptr;
}

AbilityRegistry::RegistrationRef AbilityRegistry::Serving(const ElementName& element) const
{
    auto found = std::find_if(registrations_.begin(), registrations_.end(),
        [&element](const RegistrationRef& registration) { return registration->Serves(element); });
    return found != registrations_.end() ? *found : nullptr;
}

bool AbilityRegistry::IsServed(const std::string& bundleName) const
{
    return std::any_of(registrations_.begin(), registrations_.end(),
        [&bundleName](const RegistrationRef& registration) { return registration->bundleName == bundleName; });
}

std::vector<ExtensionInfo> AbilityRegistry::List() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    std::vector<ExtensionInfo> list;
    for (const RegistrationRef& registration : registrations_) {
        auto isHere = [&registration](const auto& entry) { return entry.second->registration == registration; };
        const auto connections = std::count_if(connections_.begin(), connections_.end(), isHere);
        list.push_back({registration->bundleName, registration->abilities, registration->waiting,
            static_cast<size_t>(connections)});
    }
    for (const auto& [bundleName, launch] : launches_) {
        list.push_back({bundleName, {}, launch.waiting.size(), 0});
    }
    return list;
}

} // namespace OHOS::Host
