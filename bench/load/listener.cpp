#include "listener.h"

#include "share_constants.h"

namespace OHOS::Pelago::Load {

template <class Change>
void Listener::Note(Change change)
{
    std::lock_guard<std::mutex> lock(mutex_);
    change();
    changed_.notify_all();
}

template <class Condition, class Words>
void Listener::Await(Condition condition, Words words)
{
    std::unique_lock<std::mutex> lock(mutex_);
    Require(changed_.wait_for(lock, std::chrono::milliseconds(PATIENCE_MS), condition), words());
}

void Listener::OnEnableStatusChanged()
{
    Note([this] { ++changes_; });
}

void Listener::OnDeviceFound(const ShareDeviceInfo& device)
{
    Note([&] { peers_[device.deviceId] = device; });
}

void Listener::OnDeviceLost(const ShareDeviceInfo& device)
{
    Note([&] { peers_.erase(device.deviceId); });
}

// A report that does not move the entry comes under its last event, which may be the success of the send before: one
// counts when its own progress was told first, as it always is.
void Listener::OnTransStateChange(const ShareDeviceInfo&, int64_t event, int64_t, int64_t)
{
    Note([&] {
        const bool isEnd = event == TransferEvent::SUCCESS || event == TransferEvent::FAILED;
        successes_ += hasMoved_ && event == TransferEvent::SUCCESS ? 1 : 0;
        failures_ += event == TransferEvent::FAILED ? 1 : 0;
        hasMoved_ = !isEnd && (hasMoved_ || event == TransferEvent::PROGRESS);
    });
}

uint64_t Listener::TakeChanges()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(changes_, 0);
}

ShareDeviceInfo Listener::AnyPeer()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return peers_.empty() ? ShareDeviceInfo() : peers_.begin()->second;
}

void Listener::AwaitPeers(size_t number)
{
    Await([&] { return peers_.size() == number; },
        [&] { return std::to_string(peers_.size()) + " peers, not " + std::to_string(number); });
}

void Listener::AwaitSuccess(uint64_t number)
{
    Await([&] { return successes_ == number && failures_ == 0; },
        [&] { return "of " + std::to_string(number) + " sends " + std::to_string(successes_) + " succeeded"; });
}

} // namespace OHOS::Pelago::Load
