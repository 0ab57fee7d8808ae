#ifndef OHOS_SYSTEM_PARAMETERS_H
#define OHOS_SYSTEM_PARAMETERS_H

#include <string>

namespace OHOS::system {

/// What kind of device this is: "phone", "tablet", "2in1" and so on; any text is possible. Any thread.
[[nodiscard]] std::string GetDeviceType();

} // namespace OHOS::system

#endif // OHOS_SYSTEM_PARAMETERS_H
