#ifndef PLATFORM_IPC_UNIQUE_FD_H
#define PLATFORM_IPC_UNIQUE_FD_H

#include "host/unique_fd.h"

namespace OHOS::Ipc {

using Host::UniqueFd;

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_UNIQUE_FD_H
