#ifndef PELAGO_ENGINE_ENGINE_ERRORS_H
#define PELAGO_ENGINE_ENGINE_ERRORS_H

#include <cstdint>

// What ITransmitCallback::OnError carries when a transfer of the local engine ends for a reason that is no status. They
// travel as plain int32, so they are constants and no enumeration.
namespace OHOS::Pelago::EngineError {

inline constexpr int32_t PEER_LOST = 3001;      // the peer, or the way to it, went while the transfer ran
inline constexpr int32_t UNREACHABLE = 3002;    // nobody answers for that device id
inline constexpr int32_t PEER_IO = 3003;        // the peer could not write
inline constexpr int32_t BAD_NAME = 3004;       // the peer cannot use a file's name safely
inline constexpr int32_t PROTOCOL = 3005;       // one side said something that is not in the protocol
inline constexpr int32_t NOT_SUPPORTED = 3006;  // the peer receives nothing just now
inline constexpr int32_t TOO_LARGE = 3007;      // the preview does not fit
inline constexpr int32_t BAD_SOURCE = 3008;     // a source is no regular file, or cannot be opened or read
inline constexpr int32_t SOURCE_CHANGED = 3009; // a source shrank or grew while it was sent
inline constexpr int32_t NOT_ALLOWED = 3010;    // a URI, and the caller is not the daemon's own user

} // namespace OHOS::Pelago::EngineError

#endif // PELAGO_ENGINE_ENGINE_ERRORS_H
