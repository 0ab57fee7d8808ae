#include "discoverer.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

#include "interrupt.h"
#include "output.h"
#include "peers.h"
#include "share_constants.h"
#include "trellis_service_proxy.h"

namespace OHOS::Pelago::Tools {
namespace {

constexpr int64_t NAMESAKE_MS = 100; // in which another peer of the same name is found, if there is one

} // namespace

Discoverer::Discoverer(Listener listener) : listener_(std::move(listener))
{}

void Discoverer::OnDeviceFound(const ShareDeviceInfo& device)
{
    std::lock_guard<std::mutex> lock(mutex_);
    peers_[device.deviceId] = device;
    courses_[device.deviceId].isLost = false;
    Tell("found", device);
}

void Discoverer::OnDeviceLost(const ShareDeviceInfo& device)
{
    std::lock_guard<std::mutex> lock(mutex_);
    peers_.erase(device.deviceId);
    courses_[device.deviceId].isLost = true;
    Tell("lost", device);
}

void Discoverer::OnTransStateChange(const ShareDeviceInfo& device, int64_t event, int64_t value, int64_t)
{
    std::lock_guard<std::mutex> lock(mutex_);
    peers_[device.deviceId] = device;
    Course& course = courses_[device.deviceId];
    course.device = device;
    if (event == TransferEvent::FAILED) {
        course.error = static_cast<int32_t>(value);
    }
    ++course.reports;
    Tell("changed", device);
}

void Discoverer::OnCancel(const ShareDeviceInfo& device)
{
    std::lock_guard<std::mutex> lock(mutex_);
    courses_[device.deviceId].isCancelled = true;
    changed_.notify_all();
}

void Discoverer::SetGone()
{
    std::lock_guard<std::mutex> lock(mutex_);
    gone_ = true;
    changed_.notify_all();
}

bool Discoverer::IsGone()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return gone_;
}

std::vector<ShareDeviceInfo> Discoverer::WaitForPeer(const std::string& wanted, int64_t untilMs)
{
    std::unique_lock<std::mutex> lock(mutex_);
    auto isWanted = [&wanted](const auto& entry) { return IsNamed(entry.second, wanted); };
    while (!gone_ && Interrupts() == 0 && NowMs() < untilMs && std::none_of(peers_.begin(), peers_.end(), isWanted)) {
        (void)changed_.wait_for(lock, std::chrono::milliseconds(TICK_MS));
    }
    (void)changed_.wait_for(lock, std::chrono::milliseconds(NAMESAKE_MS), [this] { return gone_; });
    std::vector<ShareDeviceInfo> peers;
    std::transform(
        peers_.begin(), peers_.end(), std::back_inserter(peers), [](const auto& entry) { return entry.second; });
    return peers;
}

Course Discoverer::WaitForChange(const std::string& id, size_t seenReports)
{
    std::unique_lock<std::mutex> lock(mutex_);
    const Course& course = courses_[id];
    (void)changed_.wait_for(lock, std::chrono::milliseconds(TICK_MS),
        [&] { return gone_ || course.reports != seenReports || course.isLost || course.isCancelled; });
    return course;
}

void Discoverer::Tell(const char* what, const ShareDeviceInfo& peer)
{
    changed_.notify_all();
    if (listener_) {
        listener_(what, peer);
    }
}

Session::~Session()
{
    if (discoverer_ != nullptr) {
        (void)Service()->StopDiscovery(); // refused while other clients discover
        (void)Service()->UnRegisterTrellisCallback(discoverer_);
    }
}

ExitCode Session::Open(const Context& context, const sptr<Discoverer>& discoverer)
{
    if (ExitCode code = Connection::Open(context, "owner", connection_); code != EXIT_DONE) {
        return code;
    }
    if (!CallWhenGone(Service()->AsObject(), [discoverer] { discoverer->SetGone(); })) {
        return DeviceHasGone();
    }
    if (!Service()->RegisterTrellisCallback(discoverer)) {
        return ExplainFailure("registering with the service");
    }
    discoverer_ = discoverer;
    if (!Service()->StartDiscovery()) {
        if (TrellisServiceProxy::LastError() == 0 && !Service()->IsEnabled()) {
            Complain("sharing is off; switch it on with: pelago on");
            return EXIT_FAILED;
        }
        return ExplainFailure("discovering");
    }
    return EXIT_DONE;
}

} // namespace OHOS::Pelago::Tools
