#ifndef PELAGO_ENGINE_LOCAL_DISCOVERY_H
#define PELAGO_ENGINE_LOCAL_DISCOVERY_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "channel.h"
#include "contacts.h"
#include "context.h"
#include "share_device.h"

namespace OHOS::Pelago::Local {

// Calls the discovery and publish listeners, in order, on a queue of its own. Any thread.
class NearbyReports {
public:
    explicit NearbyReports(std::shared_ptr<Activity> activity)
        : activity_(std::move(activity)), queue_(Host::Scheduler::Instance().CreateQueue("share-nearby"))
    {}
    void Found(const sptr<IRemoteObject>& listener, const sptr<ShareDevice>& device);
    void Lost(const sptr<IRemoteObject>& listener, const sptr<ShareDevice>& device);
    void DiscoverResult(const sptr<IRemoteObject>& listener, int reason);
    void PublishResult(const sptr<IRemoteObject>& listener, int reason);

private:
    void Post(ControlLoop::Work report);

    const std::shared_ptr<Activity> activity_;
    const std::shared_ptr<Host::TaskQueue> queue_;
};

// Finds the devices of the folder while somebody subscribes: each one that is described and can be connected to, until
// that connection ends or its description goes. On the loop's thread.
class Discovery {
public:
    Discovery(std::shared_ptr<Context> context, std::shared_ptr<NearbyReports> reports)
        : context_(std::move(context)), reports_(std::move(reports))
    {}
    void Subscribe(const sptr<IRemoteObject>& listener);
    [[nodiscard]] bool UnSubscribe(const sptr<IRemoteObject>& listener); // false for one that is not there
    void OnCollabDevice(const ShareDevice& device, const sptr<IRemoteObject>& listener, uint32_t updateFlag);
    [[nodiscard]] bool ClearFlag(const std::string& deviceId, uint32_t flag);
    void Drop();

    [[nodiscard]] size_t Peers() const
    {
        return peers_.size();
    }
    [[nodiscard]] size_t Subscribers() const
    {
        return listeners_.size();
    }

private:
    struct Peer {
        LocalDevice device;
        std::shared_ptr<Channel> link;
        int64_t sinceMs = 0;        // boot time of the connection
        sptr<ShareDevice> reported; // as it was found last: it is lost with the same contact
    };

    [[nodiscard]] bool Begin();
    void End();
    void OnFolderEvents();
    void OnFolderEvent(const std::string& name, uint32_t what, bool isFolder);
    void LookAtAll();
    void Look(const std::string& id);
    void LookAgainAfter(const std::string& id, int64_t delayMs);
    void Connect(const LocalDevice& device);
    void OnLinkEnd(const std::string& id, const char* why);
    void Lose(const std::string& id);
    void ReloadContacts();
    void Report(Peer& peer);
    [[nodiscard]] sptr<ShareDevice> RecordOf(const LocalDevice& device) const;
    [[nodiscard]] uint32_t FlagsOf(const std::string& deviceId) const;

    const std::shared_ptr<Context> context_;
    const std::shared_ptr<NearbyReports> reports_;
    std::vector<sptr<IRemoteObject>> listeners_;
    Contacts contacts_;
    std::map<std::string, Peer> peers_;
    std::map<std::string, uint32_t> flags_; // of devices that anything else than discovery has found
    UniqueFd inotify_;
    ControlLoop::Id watch_ = 0;
    int folderWatch_ = -1;
    std::map<std::string, ControlLoop::Id> lookingAgain_;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_DISCOVERY_H
