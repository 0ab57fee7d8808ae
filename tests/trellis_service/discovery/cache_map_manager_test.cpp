// The store of devices, entries and requests.

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "devices.h"

namespace OHOS::Pelago {
namespace {

using Ids = std::vector<std::string>;

std::vector<int> StatusOf(const std::optional<ShareDeviceInfo>& device)
{
    return device ? std::vector<int>{device->eventCode, device->deviceState, device->percent, device->speed}
                  : std::vector<int>{};
}

TEST(DevicesInView, TheLastReportCounts)
{
    CacheMapManager::InsertToAllDeviceMap(Device("A"), 2, 103, 30, 5);
    ShareDeviceInfo renamed = Device("A");
    renamed.btName = "new";
    CacheMapManager::InsertToAllDeviceMap(renamed, 0, 101, 0, 0);
    EXPECT_EQ(CacheMapManager::GetAllDevice("A")->btName, "new");
    EXPECT_EQ(StatusOf(CacheMapManager::GetAllDevice("A")), (std::vector<int>{0, 101, 0, 0}));

    CacheMapManager::UpateToAllDeviceMap(Device("A"), 2, 103, -1, -1); // writes what it is given
    CacheMapManager::UpateToAllDeviceMap(Device("B"), 2, 103, 1, 1);
    EXPECT_EQ(StatusOf(CacheMapManager::GetAllDevice("A")), (std::vector<int>{2, 103, -1, -1}));
    EXPECT_FALSE(CacheMapManager::GetAllDevice("B"));

    CacheMapManager::RemoveFromAllDeviceMap("A");
    EXPECT_FALSE(CacheMapManager::GetAllDevice("A"));
}

TEST(DevicesInView, AUsedUpFlagIsRestored)
{
    Find(Device("A"));
    CacheMapManager::ClearDiscovererFlag("A", Discoverer::ORDINARY);
    EXPECT_FALSE(CacheMapManager::CheckDiscovererFlag("A", Discoverer::ORDINARY));
    EXPECT_EQ(CacheMapManager::RestoreDiscoverer("A", 6).value_or(Device("none")).discoveredBy, 6U);
    EXPECT_TRUE(CacheMapManager::CheckDiscovererFlag("A", Discoverer::TAP));
    EXPECT_FALSE(CacheMapManager::RestoreDiscoverer("B", Discoverer::TAP));
}

TEST(DevicesInASend, TheFirstRecordStaysUntilTheSendEnds)
{
    ShareDeviceInfo second = Device("A");
    second.btName = "second";
    EXPECT_TRUE(CacheMapManager::InsertToSendingDeviceMap(Device("A")));
    EXPECT_FALSE(CacheMapManager::InsertToSendingDeviceMap(second));
    EXPECT_TRUE(CacheMapManager::SetStatus("A", 2, 103, 30, -1));
    EXPECT_TRUE(CacheMapManager::SetStatus("A", -1, -1, -1, -1));
    EXPECT_FALSE(CacheMapManager::SetStatus("B", 2, 103, 30, 5));
    EXPECT_EQ(StatusOf(CacheMapManager::GetSendingDevice("A")), (std::vector<int>{2, 103, 30, 0}));
    EXPECT_EQ(CacheMapManager::GetSendingDevice("A")->btName, "name of A");

    EXPECT_TRUE(CacheMapManager::ChangeSendingDeviceDisappearState("A", true));
    EXPECT_FALSE(CacheMapManager::ChangeSendingDeviceDisappearState("B", true));
    EXPECT_TRUE(CacheMapManager::GetSendingDevice("A")->isDisappeared);
    EXPECT_TRUE(CacheMapManager::GetSendingDeviceList().empty()); // always

    EXPECT_TRUE(CacheMapManager::RemoveFromSendingDeviceMap("A"));
    EXPECT_TRUE(CacheMapManager::RemoveFromSendingDeviceMap("A"));
    EXPECT_FALSE(CacheMapManager::InSendingList("A"));
}

template <typename Bean>
void CheckRequestMap(bool (*insert)(const std::string&, const Bean&), bool (*remove)(const std::string&),
    bool (*get)(const std::string&, Bean&))
{
    Bean first;
    Bean second;
    Bean out;
    first.text = "first";
    out.text = "untouched";
    EXPECT_FALSE(get("A", out));
    EXPECT_EQ(out.text, "untouched");
    EXPECT_FALSE(remove("A"));
    EXPECT_TRUE(insert("A", first));
    EXPECT_FALSE(insert("A", second));
    EXPECT_TRUE(insert("", second)); // the empty id is a key like any other
    EXPECT_TRUE(get("A", out));
    EXPECT_EQ(out.text, "first");
    EXPECT_TRUE(remove("A"));
    EXPECT_FALSE(get("A", out));
    EXPECT_TRUE(get("", out));
}

TEST(Requests, TheOlderOneStaysUntilItIsRemoved)
{
    CheckRequestMap<SendBean>(
        CacheMapManager::InsertToSendBeanMap, CacheMapManager::RemoveFromSendBeanMap, CacheMapManager::GetSendBean);
    CheckRequestMap<DataBean>(
        CacheMapManager::InsertToDataBeanMap, CacheMapManager::RemoveFromDataBeanMap, CacheMapManager::GetDataBean);
    CheckRequestMap<BytesInfo>(
        CacheMapManager::InsertToBytesInfoMap, CacheMapManager::RemoveFromBytesInfoMap, CacheMapManager::GetByteBean);
    const auto sizes = CacheMapManager::Sizes();
    EXPECT_EQ((std::vector<size_t>{sizes.sendBeans, sizes.dataBeans, sizes.bytesInfos, sizes.senders}),
        (std::vector<size_t>{1, 1, 1, 0}));
}

bool IsOpen(int fd)
{
    return fcntl(fd, F_GETFD) != -1;
}

TEST(Requests, KeepTheirDescriptorsOpenAndSoDoCopies)
{
    SendBean bean;
    bean.uriList.resize(1);
    const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    bean.uriList[0].SetFileFd(fd);
    DescriptorShare owner = DescriptorLedger::Adopt(bean);
    EXPECT_TRUE(CacheMapManager::InsertToSendBeanMap("A", bean));
    owner.reset();
    EXPECT_TRUE(IsOpen(fd));

    SendBean copy;
    DescriptorShare share;
    EXPECT_TRUE(CacheMapManager::GetSendBean("A", copy, share));
    EXPECT_EQ(copy.uriList[0].GetFileFd(), fd);
    EXPECT_TRUE(CacheMapManager::RemoveFromSendBeanMap("A"));
    EXPECT_TRUE(IsOpen(fd));
    share.reset();
    EXPECT_FALSE(IsOpen(fd));
}

// A handle that tells when it goes. Letting go of one from inside the store must not run under the store's lock.
class CountedSender : public PelagoSender {
public:
    ~CountedSender() override
    {
        sizeAtEnd = CacheMapManager::Sizes().senders;
    }
    sptr<IRemoteObject> AsObject() override
    {
        return nullptr;
    }
    void Cancel() override
    {}
    void SwingConfirm(int32_t) override
    {}

    static inline size_t sizeAtEnd = 99;
};

TEST(Senders, ADeviceWithOneIsBusy)
{
    sptr<PelagoSender> first = new CountedSender();
    const sptr<PelagoSender> second = new CountedSender();
    EXPECT_EQ(CacheMapManager::GetShareSenderById("A"), nullptr);
    EXPECT_TRUE(CacheMapManager::InsertToSenderMap("A", first));
    EXPECT_FALSE(CacheMapManager::InsertToSenderMap("A", second));
    EXPECT_EQ(CacheMapManager::GetShareSenderById("A"), first);
    first = nullptr;
    EXPECT_TRUE(CacheMapManager::RemoveFromSenderMap("A"));
    EXPECT_EQ(CountedSender::sizeAtEnd, 0U);
    EXPECT_FALSE(CacheMapManager::RemoveFromSenderMap("A"));
}

TEST(Merging, AContactsDevicesFoldUnderItsIdWithTheLooksOfTheFirst)
{
    ShareDeviceInfo second = Device("B", 42);
    second.contactInfo.name = "other name"; // a name alone is not looked at
    Find(Device("A", 42));
    Find(second);
    for (const auto& other : {Device("D"), Device("E"), Device("C", 9), Device("C'", 10), Device("C''", -3)}) {
        Find(other);
    }
    EXPECT_EQ(ListedIds(), (Ids{"-3", "10", "42", "9", "D", "E"})); // in byte order
    EXPECT_EQ(MembersOf("B"), (Ids{"A", "B"}));
    EXPECT_EQ(MembersOf("42"), (Ids{"A", "B"})); // a record as clients hand it back
    EXPECT_EQ(View("B").btName, "contact 42");
    EXPECT_EQ(View("B").avatar, "picture");
    EXPECT_EQ(View("D").btName, "name of D");
    EXPECT_EQ(View("D").avatar, "avatar of D");
}

TEST(Merging, LaterReportsRefreshWhatTheyMay)
{
    ShareDeviceInfo plain = Device("D");
    Find(plain);
    plain.btName = "renamed";
    plain.deviceType = 17;
    Find(plain);
    EXPECT_EQ(View("D").btName, "renamed");

    Find(Device("A", 42));
    Find(Device("A", 42, "new picture")); // the first member's own change is not seen
    EXPECT_EQ(View("A").avatar, "picture");
    Find(Device("B", 42, "new picture"));
    EXPECT_EQ(View("A").avatar, "picture"); // equal to what the first member has by now
    ShareDeviceInfo newest = Device("B", 42, "newest picture");
    newest.contactInfo.name = "new name";
    Find(newest);
    EXPECT_EQ(View("A").avatar, "newest picture");
    EXPECT_EQ(View("A").btName, "new name");
}

TEST(Merging, ARunningTransferShowsInANewEntry)
{
    CacheMapManager::InsertToAllDeviceMap(Device("A"), 2, DeviceState::TRANSFERRING, 40, 9);
    CacheMapManager::InsertToMergeDeviceMap(Device("A"));
    EXPECT_EQ(StatusOf(View("A")), (std::vector<int>{2, 103, 40, 9}));
}

TEST(Leaving, ASendingMemberResetsTheEntry)
{
    Find(Device("A", 42));
    Find(Device("B", 42));
    CacheMapManager::UpateToMergeDeviceMap(Device("A"), TransferEvent::PROGRESS, 30);
    CacheMapManager::UpateToAllDeviceMap(Device("A"), 2, DeviceState::TRANSFERRING, 30, 0);
    EXPECT_TRUE(CacheMapManager::CancelOtherMergeDevice(Device("A")));
    EXPECT_FALSE(CacheMapManager::RemoveFromMergeDeviceMap(Device("A", 42)));
    EXPECT_EQ(StatusOf(View("B")), (std::vector<int>{0, 101, 0, 0}));
    EXPECT_TRUE(CacheMapManager::CancelOtherMergeDevice(Device("B"))); // asked anew
}

TEST(Members, ThoseInViewComeFirstThenThoseThatTheirSendKeeps)
{
    for (const char* id : {"A", "B", "C", "D"}) {
        Find(Device(id, 42));
        CacheMapManager::RemoveFromAllDeviceMap(id);
    }
    EXPECT_TRUE(CacheMapManager::InsertToSendingDeviceMap(Device("C")));
    EXPECT_TRUE(CacheMapManager::InsertToSendingDeviceMap(Device("A")));
    CacheMapManager::InsertToAllDeviceMap(Device("D"), 0, 101, 0, 0);
    EXPECT_EQ(MembersOf("42"), (Ids{"D", "A", "C"}));
    EXPECT_EQ(MembersOf("stranger"), Ids{});
}

TEST(Views, FoldTheMembersInView)
{
    for (const auto& [versionOfA, shown] : {std::pair(3, 0), std::pair(-1, -1)}) { // only negative ones show
        ShareDeviceInfo a = Device("A", 42);
        ShareDeviceInfo b = Device("B", 42, "other picture");
        a.nearbyVersion = versionOfA;
        b.nearbyVersion = 5;
        b.lastSharedTime = 200;
        a.lastSharedTime = 100;
        a.deviceType = 14;
        Find(a);
        Find(b);
        const ShareDeviceInfo listed = CacheMapManager::GetAllDeviceList().front();
        EXPECT_EQ(listed.nearbyVersion, shown);
        EXPECT_EQ(listed.lastSharedTime, 200);
        EXPECT_EQ(listed.deviceType, 14);
        EXPECT_EQ(listed.contactInfo.avatar, "picture");
    }
}

TEST(Views, OfADeviceCarriesItsOwnTypeFlagsAndCapability)
{
    Find(Device("A", 42));
    ShareDeviceInfo asked = Device("A", 42);
    asked.deviceType = 17;
    asked.isOHDevice = false;
    asked.discoveredBy = Discoverer::SWING;
    asked.capability = 4;
    const ShareDeviceInfo view = CacheMapManager::ChangeToShareDeviceInfo(asked);
    EXPECT_EQ(view.deviceId, "42");
    EXPECT_EQ(view.deviceType, 17);
    EXPECT_FALSE(view.isOHDevice);
    EXPECT_EQ(view.discoveredBy, Discoverer::SWING);
    EXPECT_EQ(view.capability, 4);
    EXPECT_EQ(View("stranger").deviceId, "DeviceIdentity");
}

} // namespace
} // namespace OHOS::Pelago
