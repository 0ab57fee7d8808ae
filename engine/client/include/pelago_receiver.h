#ifndef PELAGO_ENGINE_PELAGO_RECEIVER_H
#define PELAGO_ENGINE_PELAGO_RECEIVER_H

#include <string>
#include <vector>

#include "iremote_broker.h"
#include "iremote_proxy.h"

namespace OHOS::Pelago {

enum class ReceiveProgressCode : uint32_t {
    ON_PROGRESS = 1,
    ON_RESULT = 2,
};

// How a receive that was accepted goes on. Implemented by whoever accepts; every call is one-way and comes in order.
// Nothing follows OnResult. The death of its process cancels the receive.
class IReceiveProgress : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.IReceiveProgress");

    // Bytes so far, bytes in all, bytes per second.
    virtual void OnProgress(int64_t bytes, int64_t total, int64_t speed) = 0;
    // `result` is 0 when all files stand under `names` in the directory that was given, otherwise a ReceiveResult.
    virtual void OnResult(int32_t result, const std::vector<std::string>& names) = 0;
};

// How a receive ends, as OnResult tells it.
enum class ReceiveResult : int32_t {
    DONE = 0,
    CANCELLED_BY_SENDER = 1,
    CANCELLED_HERE = 2,
    PEER_LOST = 3,
    NO_SPACE = 4,
    IO_ERROR = 5,
    BAD_NAME = 6, // a name that the peer gave cannot be used safely
    PROTOCOL = 7, // the peer said something that is not in the protocol
};

enum class PelagoReceiverCode : uint32_t {
    ACCEPT = 1,
    REFUSE = 2,
    CANCEL = 3,
};

// The engine's handle of one offer. The service only keeps it and hands it on; the extension that shows the offer
// answers it.
class PelagoReceiver : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.PelagoReceiver");

    // Takes the offer: files go beneath the directory `directoryFd`, which stays the caller's, reports to `progress`.
    // 0, or a negative error when the offer has ended already or an argument is unusable. Any thread.
    [[nodiscard]] virtual int32_t Accept(int directoryFd, const sptr<IReceiveProgress>& progress) = 0;
    // Declines the offer. `reason` travels to the sender's log. 0, or a negative error when the offer has ended. Any
    // thread.
    [[nodiscard]] virtual int32_t Refuse(int32_t reason) = 0;
    // Ends an accepted receive; nothing stays behind. 0, or a negative error when it has ended. Any thread.
    [[nodiscard]] virtual int32_t Cancel() = 0;
};

// Errors of the operations above, beside those of IPC.
inline constexpr int32_t RECEIVER_OK = 0;
inline constexpr int32_t RECEIVER_ENDED = -1;
inline constexpr int32_t RECEIVER_BAD_ARGUMENT = -2;

} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_PELAGO_RECEIVER_H
