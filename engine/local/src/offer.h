#ifndef PELAGO_ENGINE_LOCAL_OFFER_H
#define PELAGO_ENGINE_LOCAL_OFFER_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ending.h"
#include "recv_preview.h"

namespace OHOS::Pelago::Local {

struct OfferedFile {
    std::string name;
    uint64_t size = 0; // bytes
};

enum class OfferKind : uint32_t {
    FILES = 0, // or a text alone: then no bytes follow
    BYTES = 1, // all of it stands in the offer
};

// What a sender says before it sends. Plain values. On the channel the fields stand in this order.
struct Offer {
    OfferKind kind = OfferKind::FILES;
    std::string senderId;
    std::string senderName;
    std::string packageName;
    int32_t sendType = 0;  // or the type of the bytes
    int32_t eventType = 0; // TransmitEventType
    int32_t timeoutMs = 0; // for the answer
    std::string text;
    std::string preview; // a thumbnail, or what the sender made
    std::vector<OfferedFile> files;

    [[nodiscard]] uint64_t TotalSize() const;
    [[nodiscard]] std::string Encode() const;
};

// Either the offer or the ending with which it is refused before anybody is asked: PROTOCOL or BAD_NAME.
[[nodiscard]] std::optional<Offer> DecodeOffer(std::string_view body, Outcome& refusal);

// What the receive listener gets.
[[nodiscard]] RecvPreview PreviewOf(const Offer& offer);
// Whether a request with it fits an ordinary parcel, whose capacity nobody raises.
[[nodiscard]] bool FitsRequest(const RecvPreview& preview);

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_OFFER_H
