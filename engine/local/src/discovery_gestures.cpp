#include "discovery.h"

namespace OHOS::Pelago::Local {
namespace {

// How a swing of this device ends, as OnSwingStatus tells it.
constexpr int SWING_NOT_FOUND = 0; // nothing was there where the hand pointed, in time
constexpr int SWING_ENDED = 100;

} // namespace

bool Discovery::Reach(const std::string& id)
{
    std::string why;
    if (peers_.count(id) == 0 && id != context_->device.id && NearbyFolder::IsDeviceId(id)) {
        if (auto device = context_->folder.ReadDescription(id, why); device.has_value()) {
            contacts_.Load(context_->config.contactsFile); // nobody may have wanted them before
            Connect(*device);
        }
    }
    return peers_.count(id) != 0;
}

void Discovery::OnTap(const ShareDevice& device, const sptr<IRemoteObject>& listener)
{
    auto found = peers_.find(device.GetDeviceId());
    if (found == peers_.end()) {
        return;
    }
    found->second.tapped = new ShareDevice(device);
    found->second.flags |= device.GetDiscoveredBy();
    ReportTo(found->second, listener);
}

bool Discovery::RefreshTap(const ShareDevice& device)
{
    auto found = peers_.find(device.GetDeviceId());
    if (found == peers_.end() || found->second.tapped == nullptr) {
        return false;
    }
    found->second.tapped = new ShareDevice(device);
    return true;
}

bool Discovery::ClearFlag(const std::string& deviceId, uint32_t flag)
{
    auto found = peers_.find(deviceId);
    if (found == peers_.end()) {
        return false;
    }
    found->second.flags &= ~flag;
    return true;
}

void Discovery::AimSwing(const std::string& id)
{
    EndSearch();
    aim_ = id;
}

void Discovery::ShowSwing()
{
    if (aim_.empty() || searching_ != 0) {
        return; // it shows something new for the same hand
    }
    searching_ = context_->loop.After(context_->config.swingFindMs, [this] {
        searching_ = 0;
        TellSwing(SWING_NOT_FOUND);
        TellSwing(SWING_ENDED); // forgets what waits for a device
        EndSearch();
    });
    if (Reach(aim_)) { // which may have come to TryAim already
        TryAim();
    } else if (Update()) {
        Look(aim_); // it may have come between the two
    }
}

void Discovery::TryAim()
{
    auto found = peers_.find(aim_);
    if (searching_ == 0 || found == peers_.end()) {
        return;
    }
    Peer& peer = found->second;
    peer.flags = (peer.flags & ~Discoverer::TAP) | Discoverer::SWING; // with both it would count as a tap
    for (const auto& listener : swingListeners_) {
        ReportTo(peer, listener);
    }
    EndSearch();
}

void Discovery::EndSearch()
{
    context_->loop.CancelTimer(searching_);
    aim_.clear();
    (void)Update(); // as in UnSubscribe
}

void Discovery::OnSwingSent()
{
    if (aim_.empty()) {
        TellSwing(SWING_ENDED);
    }
}

void Discovery::TellSwing(int code)
{
    for (const auto& listener : swingListeners_) {
        reports_->SwingStatus(listener, code);
    }
}

} // namespace OHOS::Pelago::Local
