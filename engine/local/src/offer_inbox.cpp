#include "offer_inbox.h"

#include <utility>

#include "engine_listener_proxies.h"
#include "share_log.h"

namespace OHOS::Pelago::Local {

void OfferInbox::SetListener(const sptr<PelagoReceiveListener>& listener)
{
    listener_ = listener == nullptr ? nullptr : listener->AsObject();
    if (listener_ == nullptr && waiting_ != nullptr && waiting_->IsWaiting()) {
        waiting_->EndWith({Ending::NOT_SUPPORTED, "receiving was switched off"});
    }
}

bool OfferInbox::HasListener(const sptr<PelagoReceiveListener>& listener) const
{
    return listener_ != nullptr && listener != nullptr && listener->AsObject() == listener_;
}

size_t OfferInbox::Waiting() const
{
    return waiting_ != nullptr && waiting_->IsWaiting() ? 1 : 0;
}

void OfferInbox::TakeOffer(std::shared_ptr<Channel> channel, std::string_view body)
{
    Outcome refusal;
    RecvPreview preview;
    auto offer = Judge(body, preview, refusal);
    if (!offer.has_value()) {
        SHARE_LOGD(Log::SERVICE, "offer refused: %{public}s", refusal.text.c_str());
        context_->counters.refusedPeers += refusal.ending == Ending::PROTOCOL ? 1 : 0;
        channel->Send(FrameType::END, EncodeOutcome(refusal));
        channel->Finish();
        return;
    }
    waiting_ = std::make_shared<Incoming>(
        context_, listeners_, new ReceiveListenerProxy(listener_), std::move(channel), std::move(*offer));
    waiting_->Ask(preview);
}

std::optional<Offer> OfferInbox::Judge(std::string_view body, RecvPreview& preview, Outcome& refusal) const
{
    if (listener_ == nullptr) {
        refusal = {Ending::NOT_SUPPORTED, "nobody receives here"};
        return std::nullopt;
    }
    if (Waiting() > 0) {
        refusal = {Ending::BUSY, "another offer waits for its answer"};
        return std::nullopt;
    }
    auto offer = DecodeOffer(body, refusal);
    if (!offer.has_value()) {
        return std::nullopt;
    }
    if (offer->kind == OfferKind::BYTES && (context_->device.capability & CAPABILITY_BYTES) == 0) {
        refusal = {Ending::NOT_SUPPORTED, "this device takes no bytes"};
        return std::nullopt;
    }
    preview = PreviewOf(*offer);
    if (!FitsRequest(preview)) {
        refusal = {Ending::TOO_LARGE, "the preview is too large"};
        return std::nullopt;
    }
    return offer;
}

void OfferInbox::Drop()
{
    listener_ = nullptr;
    if (waiting_ != nullptr) {
        waiting_->Drop();
    }
    waiting_ = nullptr;
}

} // namespace OHOS::Pelago::Local
