#ifndef PELAGO_ENGINE_LOCAL_UNIQUE_FD_H
#define PELAGO_ENGINE_LOCAL_UNIQUE_FD_H

#include "host/unique_fd.h"

namespace OHOS::Pelago::Local {

using Host::UniqueFd;

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_UNIQUE_FD_H
