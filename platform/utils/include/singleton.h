#ifndef PLATFORM_UTILS_SINGLETON_H
#define PLATFORM_UTILS_SINGLETON_H

#include <memory>
#include <mutex>
#include <utility>

namespace OHOS {

// One T per process, made on first use and shared with its users: an instance that is destroyed here lives until the
// last of them lets go. Any thread. T's constructor runs under the lock, so it must not ask for its own instance; T's
// destructor never does. What is left at the end of the process is not destroyed, since threads may outlive main.
// A T with a private constructor befriends DelayedSingleton<T>.
template <typename T>
class DelayedSingleton {
public:
    DelayedSingleton() = delete;

    // Never null. After DestroyInstance it is a fresh T.
    [[nodiscard]] static std::shared_ptr<T> GetInstance()
    {
        Slot& slot = GetSlot();
        // A look before the lock would have to guard the pointer's copy against DestroyInstance, and so cost a lock
        // too.
        std::lock_guard<std::mutex> guard(slot.mutex);
        if (slot.instance == nullptr) {
            slot.instance.reset(new T());
        }
        return slot.instance;
    }

    // Gives up the process's own reference; nothing when there is none.
    static void DestroyInstance()
    {
        Slot& slot = GetSlot();
        std::shared_ptr<T> last; // goes after the lock
        std::lock_guard<std::mutex> guard(slot.mutex);
        last.swap(slot.instance);
    }

private:
    struct Slot {
        std::mutex mutex;
        std::shared_ptr<T> instance;
    };

    static Slot& GetSlot()
    {
        static Slot* slot = new Slot();
        return *slot;
    }
};

// One T per process, made on first use and never destroyed. Any thread.
// A T with a private constructor befriends DelayedRefSingleton<T>.
template <typename T>
class DelayedRefSingleton {
public:
    DelayedRefSingleton() = delete;

    [[nodiscard]] static T& GetInstance()
    {
        static T* instance = new T();
        return *instance;
    }
};

} // namespace OHOS

#endif // PLATFORM_UTILS_SINGLETON_H
