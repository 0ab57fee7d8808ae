// Entries: how the devices of a contact fold into one, what it shows, also while they are in a send.

#include <array>
#include <atomic>
#include <map>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "discovery/cache_map_manager.h"

namespace OHOS::Pelago {
namespace {

using Ids = std::vector<std::string>;

// A device as the engine reports it; contact 0 is none.
ShareDeviceInfo Device(const std::string& id, int32_t contact = 0, const std::string& picture = "picture")
{
    ShareDeviceInfo device;
    device.deviceId = id;
    device.btName = "name of " + id;
    device.avatar = "avatar of " + id;
    if (contact != 0) {
        device.contactInfo.contactId = contact;
        device.contactInfo.name = "contact " + std::to_string(contact);
        device.contactInfo.avatar = picture;
    }
    return device;
}

// A found report as it reaches the store: first the device, then its entry.
void Find(const ShareDeviceInfo& device)
{
    CacheMapManager::InsertToAllDeviceMap(device, device.eventCode, device.deviceState, device.percent, device.speed);
    (void)CacheMapManager::InsertToMergeDeviceMap(device);
}

ShareDeviceInfo View(const ShareDeviceInfo& device)
{
    return CacheMapManager::ChangeToShareDeviceInfo(device);
}

// Event, state, percent and speed.
std::vector<int> Shown(const ShareDeviceInfo& device)
{
    const ShareDeviceInfo view = View(device);
    return {view.eventCode, view.deviceState, view.percent, view.speed};
}

// The name and picture that an entry shows.
std::string Looks(const std::string& id)
{
    return View(Device(id)).btName + ", " + View(Device(id)).avatar;
}

Ids IdsOf(const std::vector<ShareDeviceInfo>& devices)
{
    Ids ids;
    for (const auto& device : devices) {
        ids.push_back(device.deviceId);
    }
    return ids;
}

Ids MembersOf(const std::string& id)
{
    return IdsOf(CacheMapManager::GetShareDeviceInfoList(Device(id)));
}

TEST(Merging, AContactsDevicesFoldUnderItsIdWithTheLooksOfTheFirst)
{
    ShareDeviceInfo second = Device("B", 42);
    second.contactInfo.name = "other name"; // a name alone is not looked at
    for (const auto& device :
        {Device("A", 42), second, Device("D"), Device("E"), Device("C", 9), Device("C'", 10), Device("C''", -3)}) {
        Find(device);
    }
    EXPECT_EQ(IdsOf(CacheMapManager::GetAllDeviceList()), (Ids{"-3", "10", "42", "9", "D", "E"})); // in byte order
    EXPECT_EQ(MembersOf("B"), (Ids{"A", "B"}));
    EXPECT_EQ(MembersOf("42"), (Ids{"A", "B"})); // a record as clients hand it back
    EXPECT_EQ(Looks("B"), "contact 42, picture");
    EXPECT_EQ(Looks("D"), "name of D, avatar of D");
}

TEST(Merging, LaterReportsRefreshWhatTheyMay)
{
    ShareDeviceInfo plain = Device("D");
    Find(plain);
    plain.btName = "renamed";
    plain.deviceType = 17;
    Find(plain);
    EXPECT_EQ(Looks("D"), "renamed, avatar of D");

    Find(Device("A", 42));
    Find(Device("A", 42, "new picture")); // the first member's own change is not seen
    Find(Device("B", 42, "new picture")); // nor one that is equal to what the first member has by now
    EXPECT_EQ(Looks("A"), "contact 42, picture");
    ShareDeviceInfo newest = Device("B", 42, "newest picture");
    newest.contactInfo.name = "new name";
    Find(newest);
    EXPECT_EQ(Looks("A"), "new name, newest picture");
}

TEST(Merging, ARunningTransferShowsInANewEntryAndASendingMemberThatLeavesResetsIt)
{
    CacheMapManager::InsertToAllDeviceMap(Device("A"), 2, DeviceState::TRANSFERRING, 40, 9);
    (void)CacheMapManager::InsertToMergeDeviceMap(Device("A", 42));
    Find(Device("B", 42));
    EXPECT_EQ(Shown(Device("A")), (std::vector<int>{2, 103, 40, 9}));
    EXPECT_TRUE(CacheMapManager::CancelOtherMergeDevice(Device("A")));
    EXPECT_FALSE(CacheMapManager::RemoveFromMergeDeviceMap(Device("A", 42)));
    EXPECT_EQ(Shown(Device("B")), (std::vector<int>{0, 101, 0, 0}));
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
    EXPECT_EQ(View(Device("stranger")).deviceId, "DeviceIdentity");
}

TEST(Views, FoldTheMembersInViewAndADevicesOwnTypeFlagsAndCapabilityStay)
{
    for (const auto& [versionOfA, shown] : {std::pair(3, 0), std::pair(-1, -1)}) { // only negative ones show
        ShareDeviceInfo a = Device("A", 42);
        ShareDeviceInfo b = Device("B", 42, "other picture");
        a.nearbyVersion = versionOfA;
        b.nearbyVersion = 5;
        a.lastSharedTime = 100;
        b.lastSharedTime = 200;
        a.deviceType = 14;
        Find(a);
        Find(b);
        const ShareDeviceInfo listed = CacheMapManager::GetAllDeviceList().front();
        EXPECT_EQ(listed.nearbyVersion, shown);
        EXPECT_EQ(listed.lastSharedTime, 200);
        EXPECT_EQ(listed.deviceType, 14);
        EXPECT_EQ(listed.contactInfo.avatar, "picture");
    }
    ShareDeviceInfo asked = Device("A", 42);
    asked.deviceType = 17;
    asked.isOHDevice = false;
    asked.discoveredBy = Discoverer::SWING;
    asked.capability = 4;
    const ShareDeviceInfo view = View(asked);
    EXPECT_EQ(view.deviceId, "42");
    EXPECT_TRUE(view.deviceType == 17 && view.discoveredBy == Discoverer::SWING && view.capability == 4);
    EXPECT_FALSE(view.isOHDevice);
}

// What an entry shows while its members are in a send

using namespace EngineStatus;

struct Report {
    char member; // A or B
    int event;
    int value = 0;
};

// As a transfer does it: first the entry, then what is known of the device.
void Tell(const ShareDeviceInfo& device, const Report& report)
{
    const std::map<int, int> ends{{1, DeviceState::PREPARED}, {3, DeviceState::SUCCEEDED},
        {4, report.event == 4 ? ShareDeviceInfo::ConvertOnStatus(report.value) : 0}, {5, DeviceState::FAILED},
        {6, DeviceState::CANCELLED}};
    const auto end = ends.find(report.event);
    const int state = end == ends.end() ? DeviceState::TRANSFERRING : end->second;
    CacheMapManager::UpateToMergeDeviceMap(device, report.event, report.value);
    CacheMapManager::UpateToAllDeviceMap(device, report.event, state, 0, 0);
}

struct Scene {
    const char* name;
    std::vector<Report> reports;
    std::vector<int> shown;
};

TEST(ContactOfTwo, FollowsItsTargetAndUntilThenItsMembersTogether)
{
    const Scene scenes[] = {
        {"the first connects", {{'A', 4, CONNECTING}}, {4, 102, 0, 0}},
        {"one connects, the other is asked", {{'A', 4, SHOWN_TO_USER}, {'B', 4, CONNECTING}}, {4, 102, 0, 0}},
        {"one connects, the other has failed", {{'A', 5}, {'B', 4, CONNECTING}}, {1, 108, 0, 0}},
        {"a question to one user is hidden", {{'A', 4, SHOWN_TO_USER}}, {1, 108, 0, 0}},
        {"no answer from one is hidden", {{'A', 4, NO_ANSWER}}, {1, 108, 0, 0}},
        {"no answer once nobody is left", {{'B', 5}, {'A', 4, NO_ANSWER}, {'A', 4, NO_ANSWER}}, {4, 109, 0, 0}},
        {"the first failure is hidden", {{'A', 5}}, {1, 108, 0, 0}},
        {"all have failed", {{'A', 5}, {'B', 5}}, {5, 106, 0, 0}},
        {"no answer while the other connects", {{'A', 4, CONNECTING}, {'B', 5}, {'B', 4, NO_ANSWER}}, {4, 102, 0, 0}},
        {"the target's speed", {{'A', 2, 30}, {'A', 11, 500}}, {11, 103, 30, 500}},
        {"speed makes the target too", {{'B', 11, 7}, {'A', 5}}, {11, 103, 0, 7}},
        {"a later starter takes over", {{'A', 2, 30}, {'B', 2, 10}, {'A', 5}}, {2, 103, 10, 0}},
        {"the target fails", {{'A', 2, 30}, {'A', 11, 500}, {'A', 5}}, {5, 106, 0, 0}},
        {"a decline clears the figures", {{'A', 2, 30}, {'A', 11, 9}, {'B', 4, DECLINED}}, {4, 110, 0, 0}},
        {"a refusal frees the target", {{'A', 2, 30}, {'B', 4, REFUSED}, {'A', 4, NO_ANSWER}}, {4, 104, 30, 0}},
        {"cancelled by the receiver", {{'A', 2, 30}, {'A', 4, CANCELLED_BY_RECEIVER}}, {4, 105, 0, 0}},
        {"cancelled here", {{'A', 2, 30}, {'B', 6}}, {6, 105, 30, 0}},
        {"done", {{'A', 2, 100}, {'A', 3}}, {3, 107, 100, 0}},
        {"figures out of range", {{'A', 2, 30}, {'A', 2, 101}, {'A', 11, 7}, {'A', 11, -1}}, {11, 103, 30, 7}},
        {"length and creation say nothing", {{'A', 7, 9000}, {'A', 12}}, {1, 108, 0, 0}},
    };
    int32_t contact = 0; // a new one for each scene
    for (const Scene& scene : scenes) {
        ++contact;
        const ShareDeviceInfo a = Device("A" + std::to_string(contact), contact);
        const ShareDeviceInfo b = Device("B" + std::to_string(contact), contact);
        Find(a);
        Find(b);
        Tell(a, {'A', TransferEvent::PREPARED});
        Tell(b, {'B', TransferEvent::PREPARED});
        for (const Report& report : scene.reports) {
            Tell(report.member == 'A' ? a : b, report);
        }
        EXPECT_EQ(Shown(a), scene.shown) << scene.name;
    }
}

TEST(EntryOfOne, ShowsWhatItsDeviceReports)
{
    const Scene scenes[] = {
        {"question", {{'A', 1}, {'A', 4, SHOWN_TO_USER}}, {4, 111, 0, 0}},
        {"decline", {{'A', 2, 30}, {'A', 11, 5}, {'A', 4, DECLINED}}, {4, 110, 0, 0}},
        {"refusal", {{'A', 2, 30}, {'A', 11, 5}, {'A', 4, REFUSED}}, {4, 104, 30, 5}},
        {"figures out of range", {{'A', 2, 30}, {'A', 2, 101}, {'A', 11, 0}, {'A', 11, -1}}, {11, 103, 30, 0}},
        {"unknown status", {{'A', 4, 4711}}, {4, 116, 0, 0}},
        {"failed", {{'A', 2, 30}, {'A', 11, 5}, {'A', 5}}, {5, 106, 30, 5}},
    };
    int32_t contact = 0;
    for (const Scene& scene : scenes) {
        ++contact;
        for (const ShareDeviceInfo& device :
            {Device("A" + std::to_string(contact)), Device("of a contact " + std::to_string(contact), contact)}) {
            Find(device);
            for (const Report& report : scene.reports) {
                Tell(device, report);
            }
            // The one difference: a contact's failure clears the figures.
            const bool isCleared = scene.shown[1] == DeviceState::FAILED && device.contactInfo.contactId != 0;
            EXPECT_EQ(Shown(device), isCleared ? (std::vector<int>{5, 106, 0, 0}) : scene.shown) << scene.name;
        }
    }
}

// The members of one send are cancelled once, by the first that begins; what makes the entry ready for the next send.
TEST(CancelOther, IsAskedOncePerSend)
{
    const std::pair<Report, bool> ends[] = {{{'A', 1}, true}, {{'A', 3}, true}, {{'A', 6}, true},
        {{'A', 4, CANCELLED_BY_RECEIVER}, true}, {{'A', 2, 50}, false}, {{'A', 5}, false}, {{'A', 4, REFUSED}, false},
        {{'A', 4, NO_ANSWER}, false}};
    Find(Device("A", 42));
    Find(Device("B", 42));
    for (const auto& [end, isReadyAgain] : ends) {
        SCOPED_TRACE(std::to_string(end.event) + " " + std::to_string(end.value));
        Tell(Device("A"), {'A', TransferEvent::PREPARED});
        EXPECT_TRUE(CacheMapManager::CancelOtherMergeDevice(Device("A")));
        EXPECT_FALSE(CacheMapManager::CancelOtherMergeDevice(Device("B")));
        Tell(Device("A"), end);
        EXPECT_EQ(CacheMapManager::CancelOtherMergeDevice(Device("B")), isReadyAgain);
    }
    EXPECT_FALSE(CacheMapManager::CancelOtherMergeDevice(Device("stranger")));
}

// A contact's id that is also some stranger's device id: the stranger's state counts as if it belonged.
TEST(NoTarget, CountsADeviceNamedAsTheContact)
{
    Find(Device("A", 42));
    Find(Device("B", 42));
    CacheMapManager::InsertToAllDeviceMap(Device("42"), 2, DeviceState::TRANSFERRING, 0, 0);
    Tell(Device("A"), {'A', TransferEvent::FAILED});
    Tell(Device("B"), {'B', TransferEvent::FAILED});
    EXPECT_EQ(Shown(Device("A")), (std::vector<int>{0, 101, 0, 0}));
}

// Which entry holds a device

// Finds and loses any of the devices, 2000 times, each time as a device of any contact. With `isToldApart`, no id is
// that of a contact too, and every device is in the entry of its last report.
void Drive(const Ids& ids, bool isToldApart)
{
    constexpr int32_t CONTACTS[] = {0, 0, 1, 2, 10, -1};
    std::mt19937 random{20240611};
    std::map<std::string, std::string> entryOf;
    for (int step = 0; step < 2000 && !testing::Test::HasFailure(); ++step) {
        const std::string& id = ids[random() % ids.size()];
        const int32_t contact = CONTACTS[random() % std::size(CONTACTS)];
        const std::string entry = contact != 0 ? std::to_string(contact) : id;
        SCOPED_TRACE("step " + std::to_string(step) + ": " + id + " in " + entry);
        if (random() % 3 != 0) {
            Find(Device(id, contact));
            entryOf[id] = entry;
        } else {
            CacheMapManager::RemoveFromAllDeviceMap(id);
            (void)CacheMapManager::RemoveFromMergeDeviceMap(Device(id, contact));
            entryOf[id] = entryOf[id] == entry ? "" : entryOf[id];
        }
        const std::string& any = ids[random() % ids.size()];
        EXPECT_TRUE(!isToldApart || CacheMapManager::FindMergeDeviceId(Device(any)) == entryOf[any]) << any;
        for (const auto& fault : CacheMapManager::CheckInvariants()) { // the index answers as a walk would
            EXPECT_TRUE(!isToldApart && fault.find("is in the entries") != std::string::npos) << fault;
        }
    }
}

TEST(MergeIndex, LeadsToTheEntryOfTheLastReportWhateverComesAndGoes)
{
    Ids ids;
    for (int i = 0; i < 200; ++i) {
        ids.push_back("device " + std::to_string(i));
    }
    Drive(ids, true);
}

TEST(MergeIndex, StaysWholeForDevicesNamedAsContacts)
{
    Drive({"1", "10", "2", "-1", "a", "b", "c"}, false);
}

// Two members of a contact lost at the same moment: the tile must not stay for ever.
TEST(LostTogether, ExactlyOneIsTheLast)
{
    constexpr int ROUNDS = 1000;
    std::atomic<int> arrived{0};
    std::array<std::vector<bool>, 2> wasLast;
    const auto meet = [&](int count) {
        ++arrived;
        for (int spin = 0; arrived < count; ++spin) {
            if (spin > 10000) { // the other one has no CPU just now
                std::this_thread::yield();
            }
        }
    };
    const auto loseEachRound = [&](size_t who, const std::string& id) {
        for (int round = 1; round <= ROUNDS; ++round) {
            Find(Device(id, 42));
            meet(4 * round - 2);
            wasLast[who].push_back(CacheMapManager::LeaveMergeDevice(Device(id, 42)).has_value());
            meet(4 * round);
        }
    };
    std::thread other([&] { loseEachRound(0, "A"); });
    loseEachRound(1, "B");
    other.join();
    wasLast[0].flip();
    EXPECT_EQ(wasLast[0], wasLast[1]);
    EXPECT_EQ(CacheMapManager::Sizes().mergeDevices, 0U);
}

} // namespace
} // namespace OHOS::Pelago
