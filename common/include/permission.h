#ifndef PELAGO_COMMON_PERMISSION_H
#define PELAGO_COMMON_PERMISSION_H

#include <string>

namespace OHOS::Pelago {

// Whether the caller of the present request may make it. Static and without state; asked on the IPC thread that runs
// the request. It does not know which request needs which permission.
class Permission {
public:
    Permission() = delete;

    // May switch sharing on and off.
    [[nodiscard]] static bool CheckShareSwitchPermission();
    // May share and be told of sharing. Neither permission includes the other.
    [[nodiscard]] static bool CheckShareCapabilityPermission();

private:
    [[nodiscard]] static bool CheckPermission(const std::string& permission);
};

} // namespace OHOS::Pelago

#endif // PELAGO_COMMON_PERMISSION_H
