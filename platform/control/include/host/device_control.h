#ifndef PLATFORM_CONTROL_HOST_DEVICE_CONTROL_H
#define PLATFORM_CONTROL_HOST_DEVICE_CONTROL_H

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/control_interface.h"
#include "host/scheduler.h"

namespace OHOS::Host {

using Words = std::vector<std::string>;

// The daemon's side of device control. Owned by the daemon's main; commands run on the IPC thread that brings them,
// watchers are told from the scheduler's queue "control". It knows the device model; what it does not know, the
// service's state above all, others register as commands and as sections of the state that is watched. It never
// registers with the service: to watch changes nothing.
class DeviceControl : public IRemoteStub<IDeviceControl> {
public:
    // A command: gets the words behind its name.
    using Command = std::function<ControlAnswer(const Words& words)>;
    // A part of the device's state: one JSON value, as it is now.
    using Section = std::function<std::string()>;

    DeviceControl();

    // Both before Publish. A name once.
    void AddCommand(const std::string& name, Command command);
    void AddSection(const std::string& name, Section section);

    // Makes it findable, on the device as it was remembered in its folder when it was last published: radios, airplane
    // mode, users and commands, which from here on are kept there. Before the service starts. False when the ability is
    // taken.
    [[nodiscard]] bool Publish();
    void Unpublish();

    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
    ControlAnswer Execute(const Words& words) override;
    ControlResult Watch(const sptr<IRemoteObject>& watcher) override;

    // Says that something may have changed; watchers hear of it, if so, within WATCH_DELAY_MS. Cheap when nobody
    // watches. Any thread.
    void Touch();

    // How long changes are gathered before watchers are told.
    static constexpr int64_t WATCH_DELAY_MS = 50;
    static constexpr size_t MAX_WATCHERS = 64;
    // How long a step of a radio may be told to take.
    static constexpr int64_t MAX_RADIO_STEP_MS = 3'600'000;

private:
    class WatcherDeath;
    struct Watcher {
        sptr<IRemoteObject> object;
        sptr<IRemoteObject::DeathRecipient> death;
        std::map<std::string, std::string> told; // by section
    };

    void TellWatchers();
    [[nodiscard]] bool Tell(Watcher& watcher, const std::map<std::string, std::string>& state) const;
    std::map<std::string, std::string> State() const;
    void Forget(const wptr<IRemoteObject>& object);

    std::map<std::string, Command> commands_;
    std::vector<std::pair<std::string, Section>> sections_;
    const std::shared_ptr<TaskQueue> queue_;
    std::atomic<bool> watched_{false};
    std::atomic<bool> touched_{false}; // a look is due already
    std::mutex mutex_;                 // guards the next; never held while anybody is called
    std::vector<std::shared_ptr<Watcher>> watchers_;
};

// Answers of commands.
ControlAnswer Done(std::string json = {});
ControlAnswer Refuse(ControlResult result, std::string error);

} // namespace OHOS::Host

#endif // PLATFORM_CONTROL_HOST_DEVICE_CONTROL_H
