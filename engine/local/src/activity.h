#ifndef PELAGO_ENGINE_LOCAL_ACTIVITY_H
#define PELAGO_ENGINE_LOCAL_ACTIVITY_H

#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace OHOS::Pelago::Local {

// Counts the engine's work on threads that are not its control thread, so that Stop can wait for the last of it.
// Shared by everything that works. Any thread; whoever is inside must not call Close.
class Activity {
public:
    // False once it is closed: the work must not begin.
    [[nodiscard]] bool Enter()
    {
        std::lock_guard<std::mutex> guard(mutex_);
        if (closed_) {
            return false;
        }
        ++inside_;
        return true;
    }
    void Leave()
    {
        std::lock_guard<std::mutex> guard(mutex_);
        --inside_;
        empty_.notify_all();
    }
    // Lets nobody in any more.
    void Close()
    {
        std::lock_guard<std::mutex> guard(mutex_);
        closed_ = true;
    }
    void WaitUntilEmpty()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        empty_.wait(lock, [this] { return inside_ == 0; });
    }

private:
    std::mutex mutex_;
    std::condition_variable empty_;
    size_t inside_ = 0;
    bool closed_ = false;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_ACTIVITY_H
