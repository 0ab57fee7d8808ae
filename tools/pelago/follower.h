#ifndef PELAGO_TOOLS_FOLLOWER_H
#define PELAGO_TOOLS_FOLLOWER_H

#include <optional>
#include <string>

#include "discoverer.h"
#include "output.h"

namespace OHOS::Pelago::Tools {

// How a send has ended: the state that its entry shows, and what the verb ends with and says.
struct Ending {
    int32_t state;
    ExitCode code;
    std::string text;
};

// Follows a send to its end: draws the bar, says a stall in words, and cancels on Ctrl-C; on the second one it waits no
// longer for the end of what it has cancelled. One thread at a time.
class Follower {
public:
    Follower(const ShareDeviceInfo& peer, int64_t totalBytes);

    Ending Follow(Discoverer& discoverer, ITrellisService& service);
    bool WasInterrupted() const
    {
        return wasCancelled_;
    }

private:
    // How the send has ended, if it has.
    std::optional<Ending> EndOf(const Course& course, Discoverer& discoverer) const;
    void Show(const ShareDeviceInfo& now, int64_t quietMs);
    void Note(const std::string& text);

    const ShareDeviceInfo peer_;
    ProgressBar bar_;
    std::string noted_;
    bool wasCancelled_ = false; // by an interrupt
};

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_FOLLOWER_H
