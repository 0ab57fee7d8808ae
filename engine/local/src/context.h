#ifndef PELAGO_ENGINE_LOCAL_CONTEXT_H
#define PELAGO_ENGINE_LOCAL_CONTEXT_H

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "activity.h"
#include "control_loop.h"
#include "local_engine.h"
#include "nearby_folder.h"

namespace OHOS::Pelago::Local {

// A transfer that has not ended, in either direction. On the loop's thread.
class Transfer {
public:
    virtual ~Transfer() = default;
    // The engine stops: let go of everything and tell nobody.
    virtual void Drop() = 0;
};

// What the parts of one engine share. Kept alive by handles that others hold beyond the engine's end: their calls then
// find a loop that takes nothing.
struct Context {
    explicit Context(LocalEngineConfig given) : config(std::move(given)), device(config.device)
    {}

    const LocalEngineConfig config;
    ControlLoop loop;
    const std::shared_ptr<Activity> activity = std::make_shared<Activity>();

    // Of the loop's thread.
    NearbyFolder folder;
    LocalDevice device;
    LocalEngineCounters counters; // those that count up, and the two settings
    std::set<std::shared_ptr<Transfer>> sending;
    std::set<std::shared_ptr<Transfer>> receiving; // accepted
    std::function<void()> onSwingSent;             // a transfer of a swing has ended, however
};

// A thread that one transfer's bytes block on, started with the first piece of work. Belongs to the loop's thread.
class ByteThread {
public:
    explicit ByteThread(std::shared_ptr<Context> context)
        : context_(std::move(context)), queue_(Host::Scheduler::Instance().CreateQueue("share-bytes"))
    {}
    // Runs `work` on the thread, then `after` on the loop, unless the engine has stopped. False when there is no
    // thread.
    [[nodiscard]] bool Run(ControlLoop::Work work, ControlLoop::Work after)
    {
        return queue_->Post([context = context_, work = std::move(work), after = std::move(after)]() mutable {
            if (!context->activity->Enter()) {
                return;
            }
            work();
            work = nullptr;                             // what it holds goes here, not on the loop
            (void)context->loop.Post(std::move(after)); // a loop that has stopped has dropped the transfer
            context->activity->Leave();
        }) != 0;
    }

private:
    const std::shared_ptr<Context> context_;
    const std::shared_ptr<Host::TaskQueue> queue_;
};

// Bytes per second of a transfer, over the last interval of at least PROGRESS_INTERVAL_MS, or since the start before
// one is over. One thread.
class Speedometer {
public:
    explicit Speedometer(int64_t nowMs) : fromMs_(nowMs)
    {}
    int64_t At(uint64_t bytes, int64_t nowMs)
    {
        constexpr int64_t INTERVAL_MS = 100;
        int64_t elapsed = nowMs - fromMs_;
        if (elapsed >= INTERVAL_MS || speed_ == 0) {
            speed_ =
                static_cast<int64_t>((bytes - fromBytes_) * 1000 / static_cast<uint64_t>(elapsed > 0 ? elapsed : 1));
        }
        if (elapsed >= INTERVAL_MS) {
            fromMs_ = nowMs;
            fromBytes_ = bytes;
        }
        return speed_;
    }

private:
    int64_t fromMs_;
    uint64_t fromBytes_ = 0;
    int64_t speed_ = 0;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_CONTEXT_H
