#ifndef PELAGO_ENGINE_LOCAL_BYTE_PUMP_H
#define PELAGO_ENGINE_LOCAL_BYTE_PUMP_H

#include <cstdint>
#include <functional>
#include <vector>

#include "ending.h"
#include "file_store.h"
#include "offer.h"
#include "sources.h"

// The bytes of a transfer, moved by the kernel from file to pipe to socket and back, without ever being in this
// process. Functions of the transfer's byte queue: they block, and end at once when somebody shuts the socket down.
namespace OHOS::Pelago::Local {

// Sends all of the sources. DONE; SOURCE_CHANGED or BAD_SOURCE; LOST when the socket takes no more. `sent` counts
// bytes.
[[nodiscard]] Outcome SendBytesOf(const std::vector<Source>& sources, int socket, uint64_t& sent);

// Receives `files` into the store. DONE; NO_SPACE or RECEIVER_IO; LOST when the socket ends early. `onTaken` is told
// the bytes so far: after the first ones, then at most ten times a second, and at the end.
[[nodiscard]] Outcome ReceiveBytesInto(FileStore& store, const std::vector<OfferedFile>& files, int socket,
    const std::function<void(uint64_t taken)>& onTaken);

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_BYTE_PUMP_H
