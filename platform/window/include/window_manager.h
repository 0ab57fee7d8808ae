#ifndef OHOS_ROSEN_WINDOW_MANAGER_H
#define OHOS_ROSEN_WINDOW_MANAGER_H

#include <cstdint>

#include "refbase.h"

namespace OHOS::Rosen {

enum class WMError : int32_t {
    WM_OK = 0,
    WM_ERROR_NULLPTR = 3,
    WM_ERROR_SAMGR = 110,
};

/// One change of focus: whose window it is. A plain record; no thread rules.
class FocusChangeInfo : public RefBase {
public:
    FocusChangeInfo() = default;
    FocusChangeInfo(int32_t pid, int32_t uid) : pid_(pid), uid_(uid)
    {}

    int32_t pid_ = -1;
    int32_t uid_ = -1;
};

/// Hears of windows that gain or lose the focus. Implemented by whoever registers it; the window manager holds it until
/// the process ends. Called on the window manager's queue, one change at a time, with no lock held.
class IFocusChangedListener : virtual public RefBase {
public:
    virtual void OnFocused(const sptr<FocusChangeInfo>& focusChangeInfo) = 0;
    virtual void OnUnfocused(const sptr<FocusChangeInfo>& focusChangeInfo) = 0;
};

/// Tells which process's windows have the focus. One per process, alive until its end; any thread may call.
/// It tells changes only: who has the focus at the time of registration is not told.
class WindowManager {
public:
    static WindowManager& GetInstance();

    WindowManager(const WindowManager&) = delete;
    WindowManager& operator=(const WindowManager&) = delete;

    /// Adds a listener; registered twice it hears once. WM_OK, or an error for null or while the ability is away.
    [[nodiscard]] WMError RegisterFocusChangedListener(const sptr<IFocusChangedListener>& listener);
    /// Takes a listener out; a call that is under way ends. WM_OK, or an error for null or one that is not registered.
    [[nodiscard]] WMError UnregisterFocusChangedListener(const sptr<IFocusChangedListener>& listener);

private:
    WindowManager() = default;
    ~WindowManager() = default;
};

} // namespace OHOS::Rosen

#endif // OHOS_ROSEN_WINDOW_MANAGER_H
