#ifndef PELAGO_COMMON_SHARE_LOG_H
#define PELAGO_COMMON_SHARE_LOG_H

#include "hilog/log.h"

namespace OHOS::Pelago {

// Where a line comes from: the tag that engineers filter by, and the domain that it is counted under.
struct LogLabel {
    unsigned int domain;
    const char* tag;
};

namespace Log {
inline constexpr unsigned int DOMAIN_NAPI = 218121744;
inline constexpr unsigned int DOMAIN_PROXY = 218121746;
inline constexpr unsigned int DOMAIN_STUB = 218121747;
inline constexpr unsigned int DOMAIN_SERVICE = 218121748;
inline constexpr unsigned int DOMAIN_PERMISSION = 218121750;

inline constexpr LogLabel SERVICE{DOMAIN_SERVICE, "ShareManagerService"}; // the service and its companions
inline constexpr LogLabel SHARE{DOMAIN_SERVICE, "ShareService"};          // utilities, telemetry, ShareDevice
inline constexpr LogLabel PROXY{DOMAIN_PROXY, "ShareManagerProxy"};       // callback proxies
inline constexpr LogLabel SHARE_PROXY{DOMAIN_PROXY, "ShareProxy"};        // records being written
inline constexpr LogLabel STUB{DOMAIN_STUB, "ShareManagerStub"};          // stubs
inline constexpr LogLabel SHARE_STUB{DOMAIN_STUB, "ShareStub"};           // records being read
inline constexpr LogLabel PERMISSION{DOMAIN_PERMISSION, "SharePermission"};
inline constexpr LogLabel NAPI{DOMAIN_NAPI, "ShareManagerNapi"}; // removals from the device maps
inline constexpr LogLabel SHARE_NAPI{DOMAIN_NAPI, "ShareNapi"};  // payload records
} // namespace Log

// The part of a source path behind its last slash, found at compile time where the path is a literal.
constexpr const char* SourceFileName(const char* path)
{
    const char* name = path;
    for (const char* c = path; *c != '\0'; ++c) {
        if (*c == '/') {
            name = c + 1;
        }
    }
    return name;
}

} // namespace OHOS::Pelago

// Every line of the system reads "[file:line] function# message". The message is a literal; its arguments are checked
// against it at compile time. Macros, because a line names the place where it is written.
#define SHARE_LOG_AS(function, level, label, message, ...)                                                             \
    HILOG_IMPL(LOG_CORE, level, (label).domain, (label).tag, "[%{public}s:%{public}d] %{public}s# " message,           \
        ::OHOS::Pelago::SourceFileName(__FILE__), __LINE__, function __VA_OPT__(, ) __VA_ARGS__)
#define SHARE_LOG(level, label, ...) SHARE_LOG_AS(__FUNCTION__, level, label, __VA_ARGS__)

// For a lambda, which has no name that a reader of the log would know: it captures the __FUNCTION__ of where it stands.
#define SHARE_LOGI_AS(function, label, ...) SHARE_LOG_AS(function, LOG_INFO, label, __VA_ARGS__)

#define SHARE_LOGD(label, ...) SHARE_LOG(LOG_DEBUG, label, __VA_ARGS__)
#define SHARE_LOGI(label, ...) SHARE_LOG(LOG_INFO, label, __VA_ARGS__)
#define SHARE_LOGW(label, ...) SHARE_LOG(LOG_WARN, label, __VA_ARGS__)
#define SHARE_LOGE(label, ...) SHARE_LOG(LOG_ERROR, label, __VA_ARGS__)

#endif // PELAGO_COMMON_SHARE_LOG_H
