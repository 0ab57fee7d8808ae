#ifndef PELAGO_GESTURE_SHARE_FOCUS_LISTENER_H
#define PELAGO_GESTURE_SHARE_FOCUS_LISTENER_H

namespace OHOS::Pelago {

// Follows which processes have the focus. Static; any thread.
// Follows nobody yet.
class ShareFocusListener {
public:
    static void RegisterFocusListener();
};

} // namespace OHOS::Pelago

#endif // PELAGO_GESTURE_SHARE_FOCUS_LISTENER_H
