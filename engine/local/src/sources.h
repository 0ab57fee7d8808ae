#ifndef PELAGO_ENGINE_LOCAL_SOURCES_H
#define PELAGO_ENGINE_LOCAL_SOURCES_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "data_bean.h"
#include "ending.h"
#include "host/unique_fd.h"
#include "send_bean.h"

namespace OHOS::Pelago::Local {

// A regular file that is to be sent, from its beginning.
struct Source {
    Host::UniqueFd fd; // our own; its offset is not used, so that the caller's does not move
    std::string name;
    uint64_t size = 0; // bytes, as the file has them now, whatever the record says
};

// Open what a record names, on the thread of the call that brought it. Nothing, with the reason in `failure`, when one
// of them is no regular file, cannot be read, or may not be opened for this caller.
[[nodiscard]] std::optional<std::vector<Source>> OpenSources(const SendBean& bean, Outcome& failure);
[[nodiscard]] std::optional<std::vector<Source>> OpenSources(const DataBean& bean, Outcome& failure);

// A URI is "file://" and a percent-encoded absolute path, and opened for callers of the daemon's own user alone: a
// daemon that opened what it is told to would lend its rights to everybody who may talk to it.
[[nodiscard]] Host::UniqueFd OpenUri(const std::string& uri, Outcome& failure);

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_SOURCES_H
