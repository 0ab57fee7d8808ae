#ifndef PLATFORM_IPC_IPC_LOG_H
#define PLATFORM_IPC_IPC_LOG_H

#include "hilog/log.h"

namespace OHOS::Ipc {

inline constexpr unsigned int LOG_DOMAIN = 0xd001510;
inline constexpr const char* LOG_TAG = "Ipc";

} // namespace OHOS::Ipc

#define IPC_LOGE(...) HILOG_IMPL(LOG_CORE, LOG_ERROR, OHOS::Ipc::LOG_DOMAIN, OHOS::Ipc::LOG_TAG, __VA_ARGS__)
#define IPC_LOGD(...) HILOG_IMPL(LOG_CORE, LOG_DEBUG, OHOS::Ipc::LOG_DOMAIN, OHOS::Ipc::LOG_TAG, __VA_ARGS__)

#endif // PLATFORM_IPC_IPC_LOG_H
