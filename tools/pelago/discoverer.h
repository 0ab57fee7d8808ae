#ifndef PELAGO_TOOLS_DISCOVERER_H
#define PELAGO_TOOLS_DISCOVERER_H

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "connection.h"
#include "quiet_callback.h"

namespace OHOS::Pelago::Tools {

// What the service has told of a send to one entry.
struct Course {
    ShareDeviceInfo device; // as it was told last
    int32_t error = 0;      // that the engine reported last
    size_t reports = 0;
    bool isLost = false;
    bool isCancelled = false;
};

// A registered client that knows the peers as the service tells them. Filled on IPC threads, asked by the verb.
class Discoverer : public QuietTrellisCallback {
public:
    using Listener = std::function<void(const char* what, const ShareDeviceInfo& peer)>;

    // `listener` runs on IPC threads, one call at a time.
    explicit Discoverer(Listener listener = {});

    void OnDeviceFound(const ShareDeviceInfo& device) override;
    void OnDeviceLost(const ShareDeviceInfo& device) override;
    void OnTransStateChange(const ShareDeviceInfo& device, int64_t event, int64_t value, int64_t timeStamp) override;
    void OnCancel(const ShareDeviceInfo& device) override;

    // The service has gone: nobody will tell anything any more.
    void SetGone();
    bool IsGone();

    // The peers that are there once one of them is named so, or when the time is over.
    std::vector<ShareDeviceInfo> WaitForPeer(const std::string& wanted, int64_t untilMs);
    // What has been told of a send to this entry; waits a moment for news first.
    Course WaitForChange(const std::string& id, size_t seenReports);

private:
    void Tell(const char* what, const ShareDeviceInfo& peer);

    const Listener listener_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<std::string, ShareDeviceInfo> peers_;
    std::map<std::string, Course> courses_;
    bool gone_ = false;
};

// A client that discovers for as long as it lives. One thread at a time.
class Session {
public:
    Session() = default;
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Complains when the device cannot be reached or does not discover.
    [[nodiscard]] ExitCode Open(const Context& context, const sptr<Discoverer>& discoverer);
    const sptr<ITrellisService>& Service() const
    {
        return connection_.service;
    }

private:
    Connection connection_;
    sptr<Discoverer> discoverer_;
};

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_DISCOVERER_H
