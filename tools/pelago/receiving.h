#ifndef PELAGO_TOOLS_RECEIVING_H
#define PELAGO_TOOLS_RECEIVING_H

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "exit_codes.h"
#include "i_sender_action_callback.h"
#include "pelago_receiver.h"

namespace OHOS::Pelago::Tools {

// What the extension has come to. Shared by what runs on IPC threads, which tells it, and the verb, which waits.
class Outcome {
public:
    // An offer or a dialog has ended in this way.
    void Set(ExitCode code);
    // The device has gone: nothing will come any more.
    void SetGone();
    // Waits for an interrupt that is noted, for the device to go, or with `once` for the first ending.
    ExitCode Wait(bool once);

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<ExitCode> first_;
    bool gone_ = false;
};

// Shows the course of one accepted offer and tells the outcome how it ended.
sptr<IReceiveProgress> ShowReceiving(
    const std::string& sender, int64_t total, bool json, const std::shared_ptr<Outcome>& outcome);

// Shows what the sender does while an offer is open.
sptr<ISenderActionCallback> ShowSender(const std::shared_ptr<Outcome>& outcome);

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_RECEIVING_H
