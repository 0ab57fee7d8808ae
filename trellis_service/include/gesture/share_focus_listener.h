#ifndef PELAGO_GESTURE_SHARE_FOCUS_LISTENER_H
#define PELAGO_GESTURE_SHARE_FOCUS_LISTENER_H

#include <atomic>
#include <cstdint>
#include <unordered_set>
#include <vector>

#include "share_mutex.h"
#include "window_manager.h"

namespace OHOS::Pelago {

// Follows which processes have the focus. One per process, made on first use and kept until its end, since the window
// manager holds it. The window manager's thread brings the changes, any thread asks. It knows changes only: who had the
// focus before it was registered is unknown until the next change, and a process that dies with it stays until the
// window manager says otherwise. A set and no count: of two windows of a process, the first that loses the focus
// counts.
class ShareFocusListener : public Rosen::IFocusChangedListener {
public:
    // Null without memory.
    static sptr<ShareFocusListener> GetInstance();
    // Once; after a failure the next call tries again. A failure is logged.
    static void RegisterFocusListener();

    void OnFocused(const sptr<Rosen::FocusChangeInfo>& focusChangeInfo) override;
    void OnUnfocused(const sptr<Rosen::FocusChangeInfo>& focusChangeInfo) override;
    // Appends the processes that have the focus, in no order.
    void GetFocusedPids(std::vector<int32_t>& pids);

private:
    enum Registration : int32_t {
        NOT_REGISTERED,
        REGISTERING,
        REGISTERED,
    };

    [[nodiscard]] static bool NoteChange(const sptr<Rosen::FocusChangeInfo>& focusChangeInfo);

    static RecursiveMutex instanceMutex_;
    static sptr<ShareFocusListener> instance_; // guarded by instanceMutex_

    static Mutex focusPidsMutex_;
    static std::unordered_set<int32_t> focusPids_ SHARE_GUARDED_BY(focusPidsMutex_);

    // Atomics: two abilities may bring the registration at once. The time, in milliseconds since the epoch, is that of
    // the last change, whatever came of it.
    static std::atomic<int32_t> registration_;
    static std::atomic<uint64_t> lastChangeTime_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_GESTURE_SHARE_FOCUS_LISTENER_H
