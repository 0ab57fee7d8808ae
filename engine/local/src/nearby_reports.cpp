#include "nearby_reports.h"

#include <algorithm>
#include <string>

#include "engine_listener_proxies.h"
#include "local_engine.h"

namespace OHOS::Pelago::Local {
namespace {

constexpr int SENDER_ROLE = 1; // who swings

} // namespace

void NearbyReports::Found(const sptr<IRemoteObject>& listener, const sptr<ShareDevice>& device)
{
    queue_.Post([listener, device] { SubscribeListenerProxy(listener).OnDeviceFound(device); }, listener.GetRefPtr());
}

void NearbyReports::Lost(const sptr<IRemoteObject>& listener, const sptr<ShareDevice>& device)
{
    queue_.Post([listener, device] { SubscribeListenerProxy(listener).OnDeviceLost(device); }, listener.GetRefPtr());
}

void NearbyReports::DiscoverResult(const sptr<IRemoteObject>& listener, int reason)
{
    queue_.Post(
        [listener, reason] { SubscribeListenerProxy(listener).OnDiscoverResult(LocalEngine::PUBLISH_ID, reason); },
        listener.GetRefPtr());
}

void NearbyReports::PublishResult(const sptr<IRemoteObject>& listener, int reason)
{
    queue_.Post(
        [listener, reason] { PublishListenerProxy(listener).OnPublishResult(LocalEngine::PUBLISH_ID, reason); });
}

// No device: with one, the service would cancel what it sends to it.
void NearbyReports::SwingStatus(const sptr<IRemoteObject>& listener, int code)
{
    queue_.Post([listener, code] {
        std::string noDevice;
        SubscribeListenerProxy(listener).OnSwingStatus(SENDER_ROLE, noDevice, code);
    });
}

bool NearbyReports::BeginAll(const sptr<IRemoteObject>& listener)
{
    const auto isOver = [](const auto& one) { return one.expired(); };
    begun_.erase(std::remove_if(begun_.begin(), begun_.end(), isOver), begun_.end());
    for (const auto& one : begun_) {
        if (const auto waiting = one.lock(); waiting != nullptr && *waiting == listener) {
            return false;
        }
    }
    const auto waiting = std::make_shared<const sptr<IRemoteObject>>(listener);
    begun_.push_back(waiting);
    queue_.Post([waiting] {}, listener.GetRefPtr()); // goes with it
    return true;
}

void NearbyReports::Forget(const sptr<IRemoteObject>& listener)
{
    queue_.Forget(listener.GetRefPtr());
}

} // namespace OHOS::Pelago::Local
