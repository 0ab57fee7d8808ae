#ifndef PELAGO_ENGINE_LOCAL_OFFER_INBOX_H
#define PELAGO_ENGINE_LOCAL_OFFER_INBOX_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

#include "incoming.h"

namespace OHOS::Pelago::Local {

// Where offers arrive. One waits for an answer at a time. On the loop's thread.
class OfferInbox {
public:
    explicit OfferInbox(std::shared_ptr<Context> context)
        : context_(std::move(context)), listeners_(std::make_shared<ListenerQueue>(context_->activity, "share-receive"))
    {}
    void SetListener(const sptr<PelagoReceiveListener>& listener); // null: offers are refused; one that waits ends
    [[nodiscard]] bool HasListener(const sptr<PelagoReceiveListener>& listener) const;
    // Takes the channel on whose first frame the offer stood.
    void TakeOffer(std::shared_ptr<Channel> channel, std::string_view body);
    void Drop();
    [[nodiscard]] size_t Waiting() const;
    [[nodiscard]] bool IsOpen() const
    {
        return listener_ != nullptr;
    }

private:
    [[nodiscard]] std::optional<Offer> Judge(std::string_view body, RecvPreview& preview, Outcome& refusal) const;

    const std::shared_ptr<Context> context_;
    const std::shared_ptr<ListenerQueue> listeners_;
    sptr<IRemoteObject> listener_;
    std::shared_ptr<Incoming> waiting_;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_OFFER_INBOX_H
