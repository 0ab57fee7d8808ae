#include "window_manager.h"

#include <algorithm>

#include "host/device.h"
#include "host/faults.h"

namespace OHOS::Rosen {

namespace {

/// A focused process need not be an application that anybody knows: -1 then.
int32_t UidOf(int32_t pid)
{
    const Host::Device& device = Host::Device::Instance();
    for (const auto& applications : {device.ForegroundApplications(), device.AttachedApplications()}) {
        const auto found = std::find_if(applications.begin(), applications.end(),
            [pid](const Host::Application& other) { return other.pid == pid; });
        if (found != applications.end()) {
            return found->uid;
        }
    }
    return -1;
}

void Tell(IFocusChangedListener& listener, int32_t pid, bool focused)
{
    const sptr<FocusChangeInfo> info = MakeSptr<FocusChangeInfo>(pid, UidOf(pid));
    if (focused) {
        listener.OnFocused(info);
    } else {
        listener.OnUnfocused(info);
    }
}

} // namespace

WindowManager& WindowManager::GetInstance()
{
    static WindowManager manager;
    return manager;
}

WMError WindowManager::RegisterFocusChangedListener(const sptr<IFocusChangedListener>& listener)
{
    if (listener == nullptr) {
        return WMError::WM_ERROR_NULLPTR;
    }
    Host::Device& device = Host::Device::Instance();
    if (Host::Faults::Take("window.RegisterFocusChangedListener") ||
        !device.IsAbilityPresent(Host::AbilityId::WINDOW_MANAGER)) {
        return WMError::WM_ERROR_SAMGR;
    }
    // False means that it is there already, which is as good.
    (void)device.AddFocusListener(
        listener.GetRefPtr(), [listener](int32_t pid, bool focused) { Tell(*listener, pid, focused); });
    return WMError::WM_OK;
}

WMError WindowManager::UnregisterFocusChangedListener(const sptr<IFocusChangedListener>& listener)
{
    if (listener == nullptr || !Host::Device::Instance().RemoveFocusListener(listener.GetRefPtr())) {
        return WMError::WM_ERROR_NULLPTR;
    }
    return WMError::WM_OK;
}

} // namespace OHOS::Rosen
