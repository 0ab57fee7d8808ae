#include "gesture_states.h"
#include "incoming.h"

namespace OHOS::Pelago::Local {

bool Incoming::IsOf(TransmitEventType event) const
{
    return offer_.eventType == static_cast<int32_t>(event);
}

// On the listener's queue.
void Incoming::Show(const sptr<PelagoReceiver>& handle, const RecvPreview& preview) const
{
    if (IsOf(TransmitEventType::TAP)) {
        listener_->OnMotionState(offer_.eventType, ReceiverMotion::CONTINUES, 0);
    } else if (IsOf(TransmitEventType::SWING)) {
        listener_->OnPopSwing(handle, preview, true);
    }
    if (offer_.kind == OfferKind::BYTES) {
        listener_->OnRecvBytesInfo(handle, std::to_string(offer_.sendType), preview);
    } else {
        listener_->OnPreviewReceive(handle, preview);
    }
}

void Incoming::TellProgress(const Outcome& outcome)
{
    auto result = static_cast<int32_t>(RowOf(outcome.ending).result);
    auto names = outcome.ending == Ending::DONE ? bytes_->names : std::vector<std::string>();
    reports_->TellEnding([progress = progress_, result, names] { progress->OnResult(result, names); });
}

void Incoming::TellListener(const Outcome& outcome)
{
    sptr<PelagoReceiver> handle = handle_.promote();
    int32_t code = RowOf(outcome.ending).codeBeforeConfirm;
    if (handle == nullptr || (code == 0 && outcome.ending != Ending::CANCELLED_BY_SENDER)) {
        return; // it was the receiver itself who ended it, or nobody kept what it was shown
    }
    listeners_->Post([listener = listener_, handle, code] {
        if (code == 0) {
            listener->OnSendCancelBeforeConfirm(handle);
        } else {
            listener->OnErrorBeforeConfirm(handle, code);
        }
    });
}

void Incoming::TellMotion(int32_t state, int32_t code)
{
    listeners_->Post(
        [listener = listener_, trans = offer_.eventType, state, code] { listener->OnMotionState(trans, state, code); });
}

// The user has said something: the tap is over, and the dialog of a swing goes.
void Incoming::TellGestureAnswered()
{
    if (IsOf(TransmitEventType::TAP)) {
        TellMotion(ReceiverMotion::FINISHED, 0);
    } else if (IsOf(TransmitEventType::SWING)) {
        ClosePop();
    }
}

void Incoming::ClosePop()
{
    sptr<PelagoReceiver> handle = handle_.promote();
    if (handle != nullptr) { // else nobody kept what the dialog would answer
        listeners_->Post([listener = listener_, handle, preview = PreviewOf(offer_)] {
            listener->OnPopSwing(handle, preview, false);
        });
    }
}

// What the user of this device did himself is known to him.
void Incoming::TellGestureEnded(const Outcome& outcome, bool answered)
{
    bool byUser = outcome.ending == Ending::REFUSED || outcome.ending == Ending::CANCELLED_BY_RECEIVER;
    int32_t code = RowOf(outcome.ending).codeBeforeConfirm;
    if (outcome.ending == Ending::DONE || byUser) {
        return;
    }
    if (IsOf(TransmitEventType::TAP) && !answered) {
        bool isLoss = code != 0 && outcome.ending != Ending::NO_ANSWER;
        TellMotion(isLoss ? ReceiverMotion::FAILED : ReceiverMotion::CANCELLED, code);
    } else if (IsOf(TransmitEventType::SWING)) {
        if (!answered) {
            ClosePop();
        }
        if (code != 0) {
            TellMotion(ReceiverMotion::FAILED, code);
        }
    }
}

} // namespace OHOS::Pelago::Local
