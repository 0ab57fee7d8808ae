#ifndef PELAGO_TOOLS_INBOX_H
#define PELAGO_TOOLS_INBOX_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

#include "share_device_info.h"

namespace OHOS::Pelago::Tools {

// One event of the share API, as it came.
struct ShareEvent {
    int32_t eventId = 0;
    int32_t callbackId = 0;
    ShareDeviceInfo device; // pass it back as it is with the answer
    int64_t answerAtMs = 0; // of NowMs()
};

// Where an application's callbacks leave what they heard for its main thread, in order. One per process, since it ends
// with SIGINT and SIGTERM too, which it takes over when it is made. Callbacks put, one thread takes.
class Inbox {
public:
    Inbox();
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;

    void Put(ShareEvent event);
    // The next event once it is due; nothing at the end.
    std::optional<ShareEvent> Take();
    // The service has gone: whoever takes is told the end.
    void End();
    bool WasInterrupted() const;

    // Keeps the calling callback for so long, or until Release: for one that is meant to be slow.
    void Hold(int64_t milliseconds);
    void Release();

private:
    std::mutex mutex_;
    std::condition_variable released_;
    std::deque<ShareEvent> events_;
    bool release_ = false;
};

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_INBOX_H
