#ifndef PELAGO_ENGINE_LOCAL_CONTROL_LOOP_H
#define PELAGO_ENGINE_LOCAL_CONTROL_LOOP_H

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/scheduler.h"
#include "host/unique_fd.h"

namespace OHOS::Pelago::Local {

// The control thread of an engine: waits for sockets, timers and posted work in one epoll set, and runs what is ready,
// one thing at a time. All state of discovery and of transfers that is not said to be shared belongs to it. Owned by
// the engine's context. Post and Run may be called from any thread; everything else belongs to the loop's thread. It
// sleeps until there is something to do. Work must not block, and never calls a listener.
class ControlLoop {
public:
    using Work = std::function<void()>;
    using Handler = std::function<void(uint32_t events)>; // as epoll tells them
    using Id = uint64_t;                                  // of a watch or a timer; 0 is none

    // False, with the reason, when there are no descriptors or no thread for it.
    [[nodiscard]] bool Start(std::string& error);
    // Refuses new work, runs what was posted before, and waits for the end of the thread. A second time nothing
    // happens.
    void Stop();

    // False once it is stopped; the work is then dropped.
    [[nodiscard]] bool Post(Work work);
    // Runs the work on the loop and waits for its end. False, without having run, once it is stopped.
    [[nodiscard]] bool Run(const Work& work);

    // Level-triggered. The handler may forget its own watch. 0 when the kernel refuses; the descriptor stays the
    // caller's.
    [[nodiscard]] Id Watch(int fd, uint32_t events, Handler handler);
    void Change(Id id, uint32_t events);
    void Forget(Id id); // before the descriptor is closed

    [[nodiscard]] Id After(int64_t delayMs, Work work);
    void CancelTimer(Id& id); // and sets it to 0

private:
    struct Watched {
        int fd;
        std::shared_ptr<Handler> handler; // kept alive for the length of its own call
    };

    void Loop();
    void RunPosted();
    void RunTimers();
    [[nodiscard]] int WaitMs() const;
    void Wake();
    void Dispatch(Id id, uint32_t events);

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Work> posted_;
    bool accepting_ = false;
    bool running_ = false;
    std::thread::id thread_;

    // Of the loop's thread.
    Host::UniqueFd epoll_;
    Host::UniqueFd wake_;
    Id lastId_ = 0;
    std::map<Id, Watched> watches_;
    std::map<std::pair<int64_t, Id>, Work> timers_; // by boot milliseconds
    std::map<Id, int64_t> timerDue_;

    std::shared_ptr<Host::TaskQueue> queue_; // lends the thread
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_CONTROL_LOOP_H
