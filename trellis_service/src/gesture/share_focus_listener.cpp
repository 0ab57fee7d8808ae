#include "gesture/share_focus_listener.h"

namespace OHOS::Pelago {

void ShareFocusListener::RegisterFocusListener()
{}

} // namespace OHOS::Pelago
