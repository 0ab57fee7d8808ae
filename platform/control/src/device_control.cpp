#include "host/device_control.h"

#include <algorithm>

#include "accesstoken_kit.h"
#include "device_memory.h"
#include "host/ability_host.h"
#include "host/device.h"
#include "host/json_text.h"
#include "ipc_skeleton.h"
#include "message_option.h"
#include "message_parcel.h"
#include "sim_commands.h"

namespace OHOS::Host {
namespace {

constexpr int ERROR_BAD_TOKEN = -10;
constexpr int ERROR_BAD_REQUEST = -16;

bool CallerIsOwner()
{
    return IPCSkeleton::GetCallingTokenID() == TokenId::OWNER;
}

// Set while this thread looks at the state: what the look itself logs is no change, and would bring the next look.
thread_local bool t_looking = false;

[[nodiscard]] bool WriteText(MessageParcel& parcel, const std::string& text)
{
    return parcel.WriteUint32(static_cast<uint32_t>(text.size())) &&
           (text.empty() || parcel.WriteRawData(text.data(), text.size()));
}

} // namespace

ControlAnswer Done(std::string json)
{
    return {ControlResult::DONE, std::move(json), {}};
}

ControlAnswer Refuse(ControlResult result, std::string error)
{
    return {result, {}, std::move(error)};
}

// Tells the control that a watcher's process is gone.
class DeviceControl::WatcherDeath : public IRemoteObject::DeathRecipient {
public:
    explicit WatcherDeath(const wptr<DeviceControl>& control) : control_(control)
    {}
    void OnRemoteDied(const wptr<IRemoteObject>& object) override
    {
        if (sptr<DeviceControl> control = control_.promote(); control != nullptr) {
            control->Forget(object);
        }
    }

private:
    const wptr<DeviceControl> control_;
};

DeviceControl::DeviceControl() : queue_(Scheduler::Instance().CreateQueue("control"))
{
    AddSimCommands(*this);
    AddCommand("state", [this](const Words&) { // all sections by name, as a watcher is told them
        Json json = Json::Object();
        for (const auto& [name, section] : State()) {
            json.PutRaw(name.c_str(), section);
        }
        return Done(json.Text());
    });
}

void DeviceControl::AddCommand(const std::string& name, Command command)
{
    commands_.emplace(name, std::move(command));
}

void DeviceControl::AddSection(const std::string& name, Section section)
{
    sections_.emplace_back(name, std::move(section));
}

bool DeviceControl::Publish()
{
    RestoreDevice();
    wptr<DeviceControl> self(this);
    Device::Instance().SetChangeListener([self] {
        SaveDevice();
        if (sptr<DeviceControl> control = self.promote(); control != nullptr) {
            control->Touch();
        }
    });
    return AbilityHost::Instance().Publish(AbilityId::DEVICE_CONTROL, this);
}

void DeviceControl::Unpublish()
{
    AbilityHost::Instance().Unpublish(AbilityId::DEVICE_CONTROL);
    Device::Instance().SetChangeListener(nullptr);
    std::vector<std::shared_ptr<Watcher>> watchers;
    std::lock_guard<std::mutex> lock(mutex_);
    watchers.swap(watchers_);
    watched_ = false;
}

int DeviceControl::OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return ERROR_BAD_TOKEN;
    }
    if (code == EXECUTE) {
        Words words;
        if (!data.ReadStringVector(&words)) {
            return ERROR_BAD_REQUEST;
        }
        ControlAnswer answer = Execute(words);
        bool written = reply.WriteInt32(static_cast<int32_t>(answer.result)) && WriteText(reply, answer.json) &&
                       WriteText(reply, answer.error);
        return written ? 0 : ERROR_BAD_REQUEST;
    }
    if (code == WATCH) {
        return reply.WriteInt32(static_cast<int32_t>(Watch(data.ReadRemoteObject()))) ? 0 : ERROR_BAD_REQUEST;
    }
    return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
}

ControlAnswer DeviceControl::Execute(const Words& words)
{
    if (!CallerIsOwner()) {
        return Refuse(ControlResult::PERMISSION_DENIED, "only the owner of the device may control it");
    }
    auto found = words.empty() ? commands_.end() : commands_.find(words.front());
    if (found == commands_.end()) {
        std::string known;
        for (const auto& [name, command] : commands_) {
            known += (known.empty() ? "" : ", ") + name;
        }
        return Refuse(ControlResult::USAGE, "no such command; there are: " + known);
    }
    ControlAnswer answer = found->second(Words(words.begin() + 1, words.end()));
    Touch();
    return answer;
}

ControlResult DeviceControl::Watch(const sptr<IRemoteObject>& object)
{
    if (!CallerIsOwner()) {
        return ControlResult::PERMISSION_DENIED;
    }
    if (object == nullptr) {
        return ControlResult::USAGE;
    }
    auto watcher = std::make_shared<Watcher>();
    watcher->object = object;
    watcher->death = new WatcherDeath(this);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (watchers_.size() >= MAX_WATCHERS) {
            return ControlResult::LIMIT;
        }
        watchers_.push_back(watcher);
        watched_ = true;
    }
    // Afterwards, so that a death that is told at once finds the watcher.
    if (object->IsProxyObject() && !object->AddDeathRecipient(watcher->death)) {
        Forget(object);
        return ControlResult::FAILED;
    }
    Touch();
    return ControlResult::DONE;
}

void DeviceControl::Touch()
{
    if (!watched_ || t_looking || touched_.exchange(true)) {
        return;
    }
    wptr<DeviceControl> self(this);
    auto look = [self] {
        if (sptr<DeviceControl> control = self.promote(); control != nullptr) {
            control->TellWatchers();
        }
    };
    if (queue_->Post(look, WATCH_DELAY_MS) == 0) {
        touched_ = false; // the device is shutting down
    }
}

std::map<std::string, std::string> DeviceControl::State() const
{
    std::map<std::string, std::string> state;
    t_looking = true;
    for (const auto& [name, section] : sections_) {
        state[name] = section();
    }
    t_looking = false;
    return state;
}

void DeviceControl::TellWatchers()
{
    touched_ = false; // what changes from here on is looked at again
    std::map<std::string, std::string> state = State();
    std::vector<std::shared_ptr<Watcher>> watchers;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        watchers = watchers_;
    }
    bool allTold = true;
    for (const auto& watcher : watchers) {
        allTold = Tell(*watcher, state) && allTold;
    }
    if (!allTold) {
        Touch(); // a watcher that is slow hears the last change too, one that has gone is forgotten meanwhile
    }
}

// One message for each section that is not as it was. False when one does not get through.
bool DeviceControl::Tell(Watcher& watcher, const std::map<std::string, std::string>& state) const
{
    for (const auto& [name, json] : state) {
        if (auto told = watcher.told.find(name); told != watcher.told.end() && told->second == json) {
            continue;
        }
        MessageParcel data;
        MessageParcel reply;
        MessageOption option(MessageOption::TF_ASYNC);
        std::string message = "{\"section\":\"";
        message.append(name).append("\",\"state\":").append(json).append("}");
        if (!data.WriteInterfaceToken(IControlWatcher::GetDescriptor()) || !WriteText(data, message) ||
            watcher.object->SendRequest(IControlWatcher::CHANGED, data, reply, option) != 0) {
            return false;
        }
        watcher.told[name] = json;
    }
    return true;
}

void DeviceControl::Forget(const wptr<IRemoteObject>& object)
{
    std::vector<std::shared_ptr<Watcher>> gone; // goes after the lock
    std::lock_guard<std::mutex> lock(mutex_);
    auto end = std::stable_partition(watchers_.begin(), watchers_.end(),
        [&object](const std::shared_ptr<Watcher>& watcher) { return object != watcher->object.GetRefPtr(); });
    gone.assign(end, watchers_.end());
    watchers_.erase(end, watchers_.end());
    watched_ = !watchers_.empty();
}

} // namespace OHOS::Host
