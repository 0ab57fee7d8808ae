#ifndef PLATFORM_IPC_PER_PROCESS_H
#define PLATFORM_IPC_PER_PROCESS_H

#include <atomic>
#include <memory>

#include "ipc_socket.h"

namespace OHOS::Ipc {

// The one T of this process, made on first use and never destroyed. The child of a fork makes its own and leaves the
// parent's alone: its locks may be held by threads that the child does not have. So T is guarded by no mutex here.
template <typename T>
class PerProcess {
public:
    // Null before the first Get.
    static T* Find()
    {
        Entry* entry = current_.load();
        return entry != nullptr && entry->generation == ProcessGeneration() ? &entry->value : nullptr;
    }
    static T& Get()
    {
        Entry* entry = current_.load();
        if (entry == nullptr || entry->generation != ProcessGeneration()) {
            auto made = std::make_unique<Entry>();
            if (current_.compare_exchange_strong(entry, made.get())) {
                entry = made.release();
            }
        }
        return entry->value;
    }

private:
    struct Entry {
        const uint32_t generation = ProcessGeneration();
        T value;
    };

    static inline std::atomic<Entry*> current_{nullptr};
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_PER_PROCESS_H
