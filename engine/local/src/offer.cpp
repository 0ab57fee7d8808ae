#include "offer.h"

#include <limits>

#include "file_names.h"
#include "frame.h"
#include "hilog/host_text.h"
#include "message_parcel.h"
#include "nearby_folder.h"
#include "pelago_receive_listener.h"
#include "share_constants.h"

namespace OHOS::Pelago::Local {
namespace {

constexpr size_t ROOM_FOR_THE_REST = 256; // token, object and send type of the request

std::string NamesAsJson(const std::vector<OfferedFile>& files)
{
    std::string json = "[";
    for (const OfferedFile& file : files) {
        json += json.size() > 1 ? ",\"" : "\"";
        Host::AppendEscaped(json, file.name, Host::EscapeStyle::JSON);
        json += '"';
    }
    return json + "]";
}

[[nodiscard]] bool ReadFiles(BodyReader& reader, std::vector<OfferedFile>& files)
{
    uint32_t count = 0;
    if (!reader.U32(count) || count > MAX_SHARED_FILES) {
        return false;
    }
    uint64_t total = 0;
    for (uint32_t i = 0; i < count; ++i) {
        OfferedFile file;
        constexpr uint64_t MOST = std::numeric_limits<int64_t>::max(); // what a file, and a progress, can hold
        if (!reader.Text(file.name, MAX_NAME_ON_WIRE) || !reader.U64(file.size) || file.size > MOST - total) {
            return false;
        }
        total += file.size;
        files.push_back(std::move(file));
    }
    return true;
}

[[nodiscard]] bool ReadOffer(BodyReader& reader, Offer& offer)
{
    uint32_t kind = 0;
    if (!reader.U32(kind) || kind > static_cast<uint32_t>(OfferKind::BYTES)) {
        return false;
    }
    offer.kind = static_cast<OfferKind>(kind);
    bool whole = reader.Text(offer.senderId, MAX_SHORT_TEXT) && reader.Text(offer.senderName, MAX_SHORT_TEXT) &&
                 reader.Text(offer.packageName, MAX_SHORT_TEXT) && reader.I32(offer.sendType) &&
                 reader.I32(offer.eventType) && reader.I32(offer.timeoutMs) &&
                 reader.Text(offer.text, MAX_OFFER_BYTES) && reader.Text(offer.preview, MAX_OFFER_BYTES) &&
                 ReadFiles(reader, offer.files) && reader.AtEnd();
    return whole && NearbyFolder::IsDeviceId(offer.senderId) && IsUtf8(offer.senderName) && IsUtf8(offer.packageName) &&
           (offer.kind == OfferKind::FILES || offer.files.empty());
}

} // namespace

uint64_t Offer::TotalSize() const
{
    uint64_t total = 0;
    for (const OfferedFile& file : files) {
        total += file.size;
    }
    return total;
}

std::string Offer::Encode() const
{
    BodyWriter writer;
    writer.U32(static_cast<uint32_t>(kind)).Text(senderId).Text(senderName).Text(packageName);
    writer.I32(sendType).I32(eventType).I32(timeoutMs).Text(text).Text(preview);
    writer.U32(static_cast<uint32_t>(files.size()));
    for (const OfferedFile& file : files) {
        writer.Text(file.name).U64(file.size);
    }
    return writer.Bytes();
}

std::optional<Offer> DecodeOffer(std::string_view body, Outcome& refusal)
{
    BodyReader reader(body);
    Offer offer;
    if (!ReadOffer(reader, offer)) {
        refusal = {Ending::PROTOCOL, "the offer cannot be read"};
        return std::nullopt;
    }
    for (const OfferedFile& file : offer.files) {
        if (const char* fault = FaultOfName(file.name); fault != nullptr) {
            refusal = {Ending::BAD_NAME, fault};
            return std::nullopt;
        }
    }
    return offer;
}

RecvPreview PreviewOf(const Offer& offer)
{
    RecvPreview preview;
    preview.senderName_ = offer.senderName;
    preview.recvType_ = offer.sendType;
    preview.fileCounter_ = static_cast<int32_t>(offer.files.size());
    preview.itemTotalSize_ = offer.TotalSize();
    preview.packageInfo_ = offer.packageName;
    preview.transType_ = offer.eventType;
    preview.previewExtraInfo_ = offer.senderId;
    if (offer.kind == OfferKind::BYTES) {
        preview.bytesType_ = offer.sendType;
        preview.bytesData_ = offer.text;
        preview.previewData_ = offer.preview;
        return preview;
    }
    preview.allFileNameData_ = NamesAsJson(offer.files);
    preview.previewData_ = offer.preview.empty() ? offer.text : offer.preview;
    preview.previewInfo_ = offer.text;
    preview.previewInfoSummary_ = offer.files.empty() ? "" : offer.files.front().name;
    return preview;
}

bool FitsRequest(const RecvPreview& preview)
{
    MessageParcel parcel;
    return parcel.WriteInterfaceToken(PelagoReceiveListener::GetDescriptor()) &&
           parcel.WriteString(std::string(ROOM_FOR_THE_REST, ' ')) && preview.WriteToParcel(parcel);
}

} // namespace OHOS::Pelago::Local
