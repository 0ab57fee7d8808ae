#ifndef PELAGO_BENCH_LOAD_LISTENER_H
#define PELAGO_BENCH_LOAD_LISTENER_H

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>

#include "expect.h"
#include "quiet_callback.h"

namespace OHOS::Pelago::Load {

// A registered client: knows the peers, counts changes of the switch, and waits for the ends of sends. Owned by the
// process of a client, which asks it from any thread; it is told on IPC threads.
class Listener : public QuietTrellisCallback {
public:
    void OnEnableStatusChanged() override;
    void OnDeviceFound(const ShareDeviceInfo& device) override;
    void OnDeviceLost(const ShareDeviceInfo& device) override;
    void OnTransStateChange(const ShareDeviceInfo& device, int64_t event, int64_t value, int64_t time) override;

    // How often the switch has changed since it was asked last.
    uint64_t TakeChanges();
    // One of those that are there; an empty one when there is none.
    ShareDeviceInfo AnyPeer();

    // Both wait PATIENCE_MS, and then end the process.
    void AwaitPeers(size_t number);
    void AwaitSuccess(uint64_t number); // of sends, since the beginning; none may have failed

private:
    template <class Change>
    void Note(Change change);
    template <class Condition, class Words>
    void Await(Condition condition, Words words);

    std::mutex mutex_; // guards all below
    std::condition_variable changed_;
    std::map<std::string, ShareDeviceInfo> peers_; // by id
    uint64_t changes_ = 0;
    uint64_t successes_ = 0;
    uint64_t failures_ = 0;
    bool hasMoved_ = false; // the send that is under way
};

} // namespace OHOS::Pelago::Load

#endif // PELAGO_BENCH_LOAD_LISTENER_H
