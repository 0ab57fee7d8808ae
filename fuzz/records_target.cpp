// Records out of any bytes. What was read writes, and reads again to the same.
#include <string>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "attachments.h"
#include "bytes_info.h"
#include "compose.h"
#include "contact_info.h"
#include "hilog/host_log.h"
#include "message_parcel.h"
#include "recv_preview.h"
#include "scripted_engine.h"
#include "targets.h"
#include "want.h"

namespace OHOS::Pelago::Fuzz {
namespace {

constexpr size_t MOST_DESCRIPTORS = 8;

std::string BytesOf(const Parcel& parcel)
{
    return {reinterpret_cast<const char*>(parcel.GetData()), parcel.GetDataSize()};
}

// What a reader owes for what it has read. True when none was missing, as a missing one cannot be written.
template <typename Record>
bool TakeFiles(Record&)
{
    return true;
}
bool TakeFiles(FileHolder& file)
{
    bool isThere = file.fileFd >= 0;
    if (isThere) {
        (void)::close(file.fileFd); // came for us alone
        file.fileFd = NullDescriptor();
    }
    return isThere;
}
bool TakeFiles(SendBean& bean)
{
    bool allThere = true;
    for (FileHolder& file : bean.uriList) {
        allThere = TakeFiles(file) && allThere;
    }
    return allThere;
}

template <typename Record>
std::string Written(const Record& record)
{
    MessageParcel parcel;
    Demand(parcel.SetMaxCapacity(size_t{64} << 20), "no room");
    Demand(record.Marshalling(parcel), "a record that was read cannot be written");
    return BytesOf(parcel);
}

// The record that is read here has the written one's bytes again, and nothing behind it.
template <typename Record>
void ReadAgain(const Record& record, const std::string& bytes)
{
    MessageParcel parcel;
    Demand(parcel.SetMaxCapacity(size_t{64} << 20) && record.Marshalling(parcel), "a record writes only once");
    Record again;
    Demand(again.ReadFromParcel(parcel), "a record that was written cannot be read");
    (void)TakeFiles(again); // each is there, since each was written
    Demand(parcel.GetReadableBytes() == 0, "a record reads less than it wrote");
    Demand(Written(again) == bytes, "a record is another one when it is read again");
}

template <typename Record>
void Read(MessageParcel& parcel)
{
    Record record;
    bool isRead = record.ReadFromParcel(parcel);
    bool canBeWritten = TakeFiles(record);
    if (isRead && canBeWritten) {
        ReadAgain(record, Written(record));
    }
    if constexpr (std::is_same_v<Record, ShareDevice>) {
        Plant(Target::RECORDS, isRead && record.GetDeviceType() > UINT16_MAX);
    }
}

void ReadWanted(MessageParcel& parcel)
{
    AAFwk::Want want;
    if (!want.ReadFromParcel(parcel)) {
        return;
    }
    MessageParcel written;
    Demand(want.Marshalling(written), "a want that was read cannot be written");
    AAFwk::Want again;
    Demand(again.ReadFromParcel(written) && again == want, "a want is another one when it is read again");
}

// A device behind its presence, as listeners read it.
void ReadPointer(MessageParcel& parcel)
{
    sptr<ShareDevice> device(ShareDevice::Unmarshalling(parcel));
    if (device != nullptr) {
        ReadAgain(*device, Written(*device));
    }
}

constexpr void (*READERS[])(MessageParcel&) = {Read<ContactInfo>, Read<ShareDeviceInfo>, Read<ShareDevice>,
    Read<ShareAccountInfo>, Read<FileHolder>, Read<FileItem>, Read<SendBean>, Read<DataBean>, Read<BytesInfo>,
    Read<RecvPreview>, ReadWanted, ReadPointer};

} // namespace

// The record's kind, the number of descriptors that came along, and the parcel.
void PlayRecords(Feed& feed)
{
    Host::SetLogLevel(LOG_FATAL);
    auto reader = READERS[feed.Below(std::size(READERS))];
    MessageParcel parcel;
    Ipc::Attachments& attached = Ipc::ParcelAccess::Attach(parcel);
    for (size_t count = feed.Below(MOST_DESCRIPTORS); count > 0; --count) {
        attached.descriptors.emplace_back(::fcntl(NullDescriptor(), F_DUPFD_CLOEXEC, 0));
    }
    std::string_view bytes = feed.Rest();
    Demand(parcel.ParseFrom(bytes.data(), bytes.size()), "no parcel");
    reader(parcel);
}

} // namespace OHOS::Pelago::Fuzz
