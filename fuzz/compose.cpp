#include "compose.h"

#include <algorithm>

#include <fcntl.h>

namespace OHOS::Pelago::Fuzz {
namespace {

constexpr size_t MOST_KEPT = 32;            // objects, and descriptors, of a client
constexpr size_t MOST_WORDS_OF_REPLY = 256; // that are looked at
constexpr size_t MOST_RAW_BYTES = 512;

// The shape of a request, by its first byte.
constexpr uint8_t FIRST_WRONG_TOKEN = 96;
constexpr uint8_t FIRST_RAW_FIELDS = 112;
constexpr uint8_t FIRST_WILD_CODE = 128;

void Put(bool)
{} // a field that does not fit is left out: that is an input too

void PutObject(MessageParcel& parcel, Feed& feed, const Pool& pool)
{
    size_t index = feed.Byte();
    if (index < pool.objects.size()) {
        Put(parcel.WriteRemoteObject(pool.objects[index]));
    } else if (!pool.objects.empty() && index < 128) {
        Put(parcel.WriteRemoteObject(pool.objects[index % pool.objects.size()]));
    } else {
        Put(parcel.WriteInt32(feed.Int()));
    }
}

std::vector<std::string> DrawTexts(Feed& feed)
{
    std::vector<std::string> texts(feed.Below(8));
    for (std::string& text : texts) {
        text = feed.Text();
    }
    return texts;
}

ContactInfo DrawContact(Feed& feed)
{
    ContactInfo contact;
    contact.contactId = feed.Int();
    if (contact.contactId != 0) {
        contact.name = feed.Text();
        contact.avatar = feed.Text();
    }
    return contact;
}

void PutField(MessageParcel& parcel, char field, Feed& feed, Pool& pool)
{
    switch (field) {
        case 'b':
            return Put(parcel.WriteInt32(feed.Byte()));
        case 'i':
            return Put(parcel.WriteInt32(feed.Int()));
        case 'l':
            return Put(parcel.WriteInt64(feed.Number()));
        case 's':
            return Put(parcel.WriteString(feed.Text()));
        case 'v':
            return Put(parcel.WriteStringVector(DrawTexts(feed)));
        case 'o':
            return PutObject(parcel, feed, pool);
        case 'D':
            return Put(DrawDeviceInfo(feed).WriteToParcel(parcel));
        case 'd':
            return Put(parcel.WriteInt32(1) && DrawDevice(feed).WriteToParcel(parcel));
        case 'S':
            return Put(DrawSendBean(feed, pool).WriteToParcel(parcel));
        case 'F':
            return Put(DrawDataBean(feed).WriteToParcel(parcel));
        case 'B':
            return Put(DrawBytesInfo(feed).WriteToParcel(parcel));
        default:
            return Put(DrawPreview(feed).WriteToParcel(parcel));
    }
}

} // namespace

int NullDescriptor()
{
    static const int descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    return descriptor;
}

ShareDeviceInfo DrawDeviceInfo(Feed& feed)
{
    ShareDeviceInfo device;
    device.deviceId = feed.Text();
    device.discoveredBy = static_cast<uint32_t>(feed.Int());
    if (feed.Below(4) == 3) {
        device.btName = feed.Text();
        device.avatar = feed.Text();
        device.deviceState = feed.Int();
        device.percent = feed.Int();
        device.SetIsDisappeared(feed.Below(2) == 1);
        device.concurrentId = feed.Text();
        device.contactInfo = DrawContact(feed);
    }
    return device;
}

ShareDevice DrawDevice(Feed& feed)
{
    ShareDevice device;
    device.SetDeviceId(feed.Text());
    device.SetDiscoveredBy(static_cast<uint32_t>(feed.Int()));
    device.contactInfo = DrawContact(feed);
    device.SetDeviceType(feed.Int());
    device.SetCapability(feed.Int());
    if (feed.Below(4) == 3) {
        device.SetAccountHash(feed.Text());
        device.SetDeviceName(feed.Text());
        device.SetNickName(feed.Text());
    }
    return device;
}

SendBean DrawSendBean(Feed& feed, Pool& pool)
{
    SendBean bean;
    bean.uriList.resize(feed.Below(5));
    for (FileHolder& file : bean.uriList) {
        file.fileName_ = feed.Text();
        file.fileSize_ = feed.Number();
        size_t kept = feed.Byte();
        file.fileFd = kept < pool.descriptors.size() ? pool.descriptors[kept] : NullDescriptor();
    }
    bean.sendType = feed.Int();
    bean.totalNum = feed.Int();
    bean.text = feed.Text();
    bean.thumbnail = feed.Text();
    bean.conCurrentId = feed.Text();
    return bean;
}

DataBean DrawDataBean(Feed& feed)
{
    DataBean bean;
    bean.fileItems.resize(feed.Below(5));
    for (FileItem& file : bean.fileItems) {
        file.fileUri_ = feed.Text();
        file.fileName_ = feed.Text();
        file.fileSize_ = feed.Number();
    }
    bean.sendType = feed.Int();
    bean.text = feed.Text();
    bean.conCurrentId = feed.Text();
    return bean;
}

BytesInfo DrawBytesInfo(Feed& feed)
{
    BytesInfo bytes;
    bytes.bytesType = feed.Int();
    bytes.bytesTitle = feed.Text();
    bytes.previewData = feed.Text();
    bytes.conCurrentId = feed.Text();
    bytes.text = feed.Text();
    return bytes;
}

RecvPreview DrawPreview(Feed& feed)
{
    RecvPreview preview;
    preview.senderName_ = feed.Text();
    preview.recvType_ = feed.Int();
    preview.popUpStrategy_ = feed.Int();
    preview.transType_ = feed.Int();
    preview.itemTotalSize_ = static_cast<uint64_t>(feed.Number());
    preview.previewData_ = feed.Text();
    preview.previewExtraInfo_ = feed.Text();
    return preview;
}

ShareAccountInfo DrawAccountInfo(Feed& feed)
{
    ShareAccountInfo account;
    account.corvaneAccountID = feed.Text();
    account.status = feed.Int();
    account.nickName = feed.Text();
    return account;
}

void Compose(MessageParcel& parcel, const char* fields, Feed& feed, Pool& pool)
{
    for (; *fields != '\0'; ++fields) {
        PutField(parcel, *fields, feed, pool);
    }
}

Made MakeRequest(MessageParcel& parcel, const Interface& interface, Feed& feed, Pool& pool)
{
    uint8_t shape = feed.Byte();
    const CallRow& row = interface.calls[feed.Below(interface.calls.size())];
    Made made{row.code, shape < FIRST_WRONG_TOKEN};
    if (shape >= FIRST_WILD_CODE) {
        made.code = static_cast<uint32_t>(feed.Number());
    }
    bool hasToken = shape < FIRST_WRONG_TOKEN || shape >= FIRST_RAW_FIELDS;
    Put(parcel.WriteInterfaceToken(hasToken ? interface.token : u"ohos.pelago.nobody"));
    bool isRaw = shape >= FIRST_RAW_FIELDS && shape < FIRST_WILD_CODE;
    if (isRaw) {
        std::string_view raw = feed.Take(MOST_RAW_BYTES);
        Put(parcel.WriteBuffer(raw.data(), raw.size()));
    } else {
        Compose(parcel, row.fields, feed, pool);
    }
    return made;
}

void KeepReply(MessageParcel& reply, Pool& pool)
{
    size_t end = std::min(reply.GetDataSize(), MOST_WORDS_OF_REPLY * sizeof(uint32_t));
    for (size_t position = 0; position < end; position += sizeof(uint32_t)) {
        if (!reply.RewindRead(position)) {
            return;
        }
        if (sptr<IRemoteObject> object = reply.ReadRemoteObject();
            object != nullptr && pool.objects.size() < MOST_KEPT) {
            pool.objects.push_back(object);
        }
        if (pool.descriptors.size() < MOST_KEPT) {
            int descriptor = reply.ReadFileDescriptor();
            if (descriptor >= 0) {
                pool.descriptors.push_back(descriptor);
            }
        }
    }
}

} // namespace OHOS::Pelago::Fuzz
