// What an entry shows while its members are in a send.

#include <gtest/gtest.h>

#include "devices.h"

namespace OHOS::Pelago {
namespace {

constexpr int CONNECTING = EngineStatus::CONNECTING;
constexpr int SHOWN = EngineStatus::SHOWN_TO_USER;
constexpr int REFUSED = EngineStatus::REFUSED;
constexpr int DECLINED = EngineStatus::DECLINED;
constexpr int CANCELLED = EngineStatus::CANCELLED_BY_RECEIVER;
constexpr int NO_ANSWER = EngineStatus::NO_ANSWER;

struct Report {
    char member; // A or B
    int event;
    int value = 0;
};

int StateAfter(const Report& report)
{
    switch (report.event) {
        case TransferEvent::PREPARED:
            return DeviceState::PREPARED;
        case TransferEvent::SUCCESS:
            return DeviceState::SUCCEEDED;
        case TransferEvent::STATUS:
            return ShareDeviceInfo::ConvertOnStatus(report.value);
        case TransferEvent::FAILED:
            return DeviceState::FAILED;
        case TransferEvent::CANCELLED:
            return DeviceState::CANCELLED;
        default:
            return DeviceState::TRANSFERRING;
    }
}

// As a transfer does it: first the entry, then what is known of the device.
void Tell(const ShareDeviceInfo& device, const Report& report)
{
    CacheMapManager::UpateToMergeDeviceMap(device, report.event, report.value);
    CacheMapManager::UpateToAllDeviceMap(device, report.event, StateAfter(report), 0, 0);
}

std::vector<int> Shown(const ShareDeviceInfo& device)
{
    const ShareDeviceInfo view = CacheMapManager::ChangeToShareDeviceInfo(device);
    return {view.eventCode, view.deviceState, view.percent, view.speed};
}

struct Scene {
    const char* name;
    std::vector<Report> reports;
    std::vector<int> shown; // event, state, percent, speed
};

TEST(ContactOfTwo, FollowsItsTargetAndUntilThenItsMembersTogether)
{
    const Scene scenes[] = {
        {"prepared", {}, {1, 108, 0, 0}},
        {"the first connects", {{'A', 4, CONNECTING}}, {4, 102, 0, 0}},
        {"one connects, the other is asked", {{'A', 4, SHOWN}, {'B', 4, CONNECTING}}, {4, 102, 0, 0}},
        {"one connects, the other has failed", {{'A', 5}, {'B', 4, CONNECTING}}, {1, 108, 0, 0}},
        {"a question to one user is hidden", {{'A', 4, SHOWN}}, {1, 108, 0, 0}},
        {"no answer from one is hidden", {{'A', 4, NO_ANSWER}}, {1, 108, 0, 0}},
        {"no answer once nobody is left", {{'B', 5}, {'A', 4, NO_ANSWER}, {'A', 4, NO_ANSWER}}, {4, 109, 0, 0}},
        {"the first failure is hidden", {{'A', 5}}, {1, 108, 0, 0}},
        {"all have failed", {{'A', 5}, {'B', 5}}, {5, 106, 0, 0}},
        {"all have failed, the other way round", {{'B', 5}, {'A', 5}}, {5, 106, 0, 0}},
        {"no answer while the other connects", {{'A', 4, CONNECTING}, {'B', 5}, {'B', 4, NO_ANSWER}}, {4, 102, 0, 0}},
        {"progress makes the target", {{'A', 2, 30}}, {2, 103, 30, 0}},
        {"the target's speed", {{'A', 2, 30}, {'A', 11, 500}}, {11, 103, 30, 500}},
        {"speed makes the target too", {{'B', 11, 7}, {'A', 5}}, {11, 103, 0, 7}},
        {"another fails unseen", {{'A', 2, 30}, {'B', 5}}, {2, 103, 30, 0}},
        {"a later starter takes over", {{'A', 2, 30}, {'B', 2, 10}, {'A', 5}}, {2, 103, 10, 0}},
        {"the target fails", {{'A', 2, 30}, {'A', 11, 500}, {'A', 5}}, {5, 106, 0, 0}},
        {"a refusal shows, whoever is target", {{'A', 2, 30}, {'B', 4, REFUSED}}, {4, 104, 30, 0}},
        {"a decline clears the figures", {{'A', 2, 30}, {'A', 11, 9}, {'B', 4, DECLINED}}, {4, 110, 0, 0}},
        {"a refusal frees the target", {{'A', 2, 30}, {'B', 4, REFUSED}, {'A', 4, NO_ANSWER}}, {4, 104, 30, 0}},
        {"cancelled by the receiver", {{'A', 2, 30}, {'A', 4, CANCELLED}}, {4, 105, 0, 0}},
        {"cancelled here", {{'A', 2, 30}, {'B', 6}}, {6, 105, 30, 0}},
        {"done", {{'A', 2, 100}, {'A', 3}}, {3, 107, 100, 0}},
        {"percentages out of range", {{'A', 2, 30}, {'A', 2, 101}, {'A', 2, -1}}, {2, 103, 30, 0}},
        {"a negative speed", {{'A', 11, 7}, {'A', 11, -1}}, {11, 103, 0, 7}},
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
        {"prepared", {{'A', 1}}, {1, 108, 0, 0}},
        {"question", {{'A', 1}, {'A', 4, SHOWN}}, {4, 111, 0, 0}},
        {"decline", {{'A', 2, 30}, {'A', 11, 5}, {'A', 4, DECLINED}}, {4, 110, 0, 0}},
        {"refusal", {{'A', 2, 30}, {'A', 11, 5}, {'A', 4, REFUSED}}, {4, 104, 30, 5}},
        {"figures out of range", {{'A', 2, 30}, {'A', 2, 101}, {'A', 11, 0}, {'A', 11, -1}}, {11, 103, 30, 0}},
        {"unknown status", {{'A', 4, 4711}}, {4, 116, 0, 0}},
        {"cancelled", {{'A', 2, 30}, {'A', 6}}, {6, 105, 30, 0}},
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
            EXPECT_EQ(Shown(device), scene.shown) << scene.name << ", " << device.deviceId;
            // The one difference: a contact's failure clears the figures.
            for (const Report& report : {Report{'A', 2, 30}, Report{'A', 11, 5}, Report{'A', 5}}) {
                Tell(device, report);
            }
            const bool isContact = device.contactInfo.contactId != 0;
            EXPECT_EQ(Shown(device), (std::vector<int>{5, 106, isContact ? 0 : 30, isContact ? 0 : 5})) << scene.name;
        }
    }
}

// The members of one send are cancelled once, by the first that begins; what makes the entry ready for the next send.
TEST(CancelOther, IsAskedOncePerSend)
{
    struct Row {
        const char* name;
        Report end;
        bool isReadyAgain;
    };
    const Row rows[] = {
        {"prepared anew", {'A', 1}, true},
        {"success", {'A', 3}, true},
        {"cancelled here", {'A', 6}, true},
        {"cancelled by receiver", {'A', 4, CANCELLED}, true},
        {"progress", {'A', 2, 50}, false},
        {"failure", {'A', 5}, false},
        {"refused", {'A', 4, REFUSED}, false},
        {"no answer", {'A', 4, NO_ANSWER}, false},
    };
    Find(Device("A", 42));
    Find(Device("B", 42));
    for (const Row& row : rows) {
        Tell(Device("A"), {'A', TransferEvent::PREPARED});
        EXPECT_TRUE(CacheMapManager::CancelOtherMergeDevice(Device("A"))) << row.name;
        EXPECT_FALSE(CacheMapManager::CancelOtherMergeDevice(Device("B"))) << row.name;
        Tell(Device("A"), row.end);
        EXPECT_EQ(CacheMapManager::CancelOtherMergeDevice(Device("B")), row.isReadyAgain) << row.name;
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

} // namespace
} // namespace OHOS::Pelago
