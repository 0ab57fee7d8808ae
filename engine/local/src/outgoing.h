#ifndef PELAGO_ENGINE_LOCAL_OUTGOING_H
#define PELAGO_ENGINE_LOCAL_OUTGOING_H

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "channel.h"
#include "context.h"
#include "offer.h"
#include "report_queue.h"
#include "sources.h"
#include "transmit_param.h"

namespace OHOS::Pelago::Local {

// What one send needs to begin. `failure` is set when it cannot: then that is all it tells.
struct SendRequest {
    Offer offer;
    std::vector<Source> sources;
    std::optional<Outcome> failure;
};

// One transfer to one device, from the sender's side.
// Held by the context until it ends, and by the handle that the service has. Everything but Begin and Cancel belongs to
// the loop's thread.
class Outgoing final : public Transfer, public std::enable_shared_from_this<Outgoing> {
public:
    // Any thread. The transfer begins on the loop; its reports come from a queue of its own. Null when the engine has
    // stopped.
    [[nodiscard]] static sptr<PelagoSender> Begin(
        const std::shared_ptr<Context>& context, const TransmitParam& param, SendRequest request);

    Outgoing(std::shared_ptr<Context> context, const TransmitParam& param, SendRequest request);

    // Any thread, and from inside a report too.
    void Cancel();
    void SwingConfirm(int32_t choice);
    void Drop() override;

private:
    // What the byte thread works on; both sides hold it, so that the socket can be shut down under the thread.
    struct Bytes {
        Host::UniqueFd socket;
        std::vector<Source> sources;
        uint64_t sent = 0;
    };

    void Start();
    void AskUser();
    void OnSwingConfirm(int32_t choice);
    void MakeOffer();
    void OnFrame(FrameType type, std::string_view body, Host::UniqueFd fd);
    void OnShown();
    void OnAccept(Host::UniqueFd socket);
    void OnTaken(std::string_view body);
    void OnEndFrame(std::string_view body);
    void OnBytesSent(const Outcome& outcome);
    void OnProgressTold();
    void OnCancelled();
    void FinishIfReady();
    void TellStatus(int32_t status);
    [[nodiscard]] bool IsOf(TransmitEventType event) const;
    void TellMotion(int32_t state, int32_t code);
    void ClosePop();
    void OnTapShown();
    void TellGestureEnded(const EndingRow& row);
    void GuardStall();
    void ReportProgress(uint64_t taken);
    void Abort(const Outcome& outcome); // and end
    void End(const Outcome& outcome);
    void Release();
    void TellEnding(const Outcome& outcome);

    const std::shared_ptr<Context> context_;
    const std::string deviceId_;
    const int32_t timeoutMs_;
    const Offer offer_;
    const uint64_t total_;
    const std::optional<Outcome> failure_;
    const sptr<ITransmitCallback> callback_; // a proxy
    const std::shared_ptr<ReportQueue> reports_;
    std::atomic<bool> cancelled_{false};

    std::shared_ptr<Channel> channel_;
    std::shared_ptr<Bytes> bytes_;
    std::optional<ByteThread> thread_;
    std::optional<Speedometer> speed_;
    ControlLoop::Id timer_ = 0;
    uint64_t taken_ = 0;
    bool asking_ = false;   // the user has the dialog of a swing
    bool tapShown_ = false; // told that the tap is over
    bool shown_ = false;    // the peer said so
    bool accepted_ = false;
    bool allTaken_ = false;
    bool allSent_ = false;
    bool progressTold_ = false;
    bool finished_ = false;
    bool ended_ = false;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_OUTGOING_H
