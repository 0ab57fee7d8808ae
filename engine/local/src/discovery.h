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
#include "nearby_reports.h"
#include "share_device.h"

namespace OHOS::Pelago::Local {

// Finds the devices of the folder while somebody subscribes: each one that is described and can be connected to, until
// that connection ends or its description goes. A device that a tap or a hand has named is connected to as well, and
// kept until that connection ends, whether somebody subscribes or not. On the loop's thread.
class Discovery {
public:
    Discovery(std::shared_ptr<Context> context, std::shared_ptr<NearbyReports> reports)
        : context_(std::move(context)), reports_(std::move(reports))
    {}
    void Subscribe(const sptr<IRemoteObject>& listener);
    [[nodiscard]] bool UnSubscribe(const sptr<IRemoteObject>& listener); // false for one that is not there
    void SwingSubscribe(const sptr<IRemoteObject>& listener);
    [[nodiscard]] bool SwingUnSubscribe(const sptr<IRemoteObject>& listener); // likewise

    // Whether the device is connected to, or can be now.
    [[nodiscard]] bool Reach(const std::string& id);
    // For a device that has been reached; if it went meanwhile, nobody hears of it.
    void OnTap(const ShareDevice& device, const sptr<IRemoteObject>& listener);
    [[nodiscard]] bool RefreshTap(const ShareDevice& device);
    [[nodiscard]] bool ClearFlag(const std::string& deviceId, uint32_t flag);

    void AimSwing(const std::string& id);
    void ShowSwing();
    void EndSearch();
    // A transfer of a swing has ended, unless the next swing goes on already.
    void OnSwingSent();
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
        int64_t sinceMs = 0;                      // boot time of the connection
        uint32_t flags = 0;                       // of Discoverer
        sptr<ShareDevice> tapped;                 // what a tap has told of it
        sptr<ShareDevice> reported;               // as it was found last: it is lost with the same contact
        std::vector<sptr<IRemoteObject>> keepers; // told of it by a tap or a swing
    };

    // Looks for devices while somebody wants them.
    [[nodiscard]] bool Update();
    [[nodiscard]] bool Begin();
    void End();
    void OnFolderEvents();
    void OnFolderEvent(const std::string& name, uint32_t what, bool isFolder);
    void LookAtAll();
    void Look(const std::string& id);
    void LookAgainAfter(const std::string& id, int64_t delayMs);
    void Connect(const LocalDevice& device);
    void OnLinkEnd(const std::string& id, const char* why); // `id` outlives the link
    void Lose(const std::string& id);
    void ReloadContacts();
    void TellAll(const sptr<IRemoteObject>& listener, int result);
    void Report(Peer& peer);
    void ReportTo(Peer& peer, const sptr<IRemoteObject>& keeper);
    void TryAim();
    void TellSwing(int code);
    [[nodiscard]] sptr<ShareDevice> RecordOf(const Peer& peer) const;

    const std::shared_ptr<Context> context_;
    const std::shared_ptr<NearbyReports> reports_;
    std::vector<sptr<IRemoteObject>> listeners_;
    std::vector<sptr<IRemoteObject>> swingListeners_;
    Contacts contacts_;
    std::map<std::string, Peer> peers_;
    Host::UniqueFd inotify_;
    ControlLoop::Id watch_ = 0;
    int folderWatch_ = -1;
    std::map<std::string, ControlLoop::Id> lookingAgain_;
    std::string aim_;               // where the hand points; empty: nowhere
    ControlLoop::Id searching_ = 0; // ends the search for it; 0 while its content is not shown
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_DISCOVERY_H
