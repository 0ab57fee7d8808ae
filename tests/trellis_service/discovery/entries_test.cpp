// Entries: how the devices of a contact fold into one, and what it shows.

#include <gtest/gtest.h>

#include "devices.h"

namespace OHOS::Pelago {
namespace {

using Ids = std::vector<std::string>;

std::vector<int> StatusOf(const ShareDeviceInfo& device)
{
    return {device.eventCode, device.deviceState, device.percent, device.speed};
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
    (void)CacheMapManager::InsertToMergeDeviceMap(Device("A"));
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
