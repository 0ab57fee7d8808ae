// Which entry holds a device, under a random drive of found and lost reports.

#include <map>
#include <random>

#include <gtest/gtest.h>

#include "devices.h"

namespace OHOS::Pelago {
namespace {

// Finds and loses any of the devices, 2000 times, each time as a device of any contact. With `isToldApart`, no id is
// that of a contact too, and every device is in the entry of its last report.
void Drive(const std::vector<std::string>& ids, bool isToldApart)
{
    constexpr int32_t CONTACTS[] = {0, 0, 1, 2, 10, -1};
    std::mt19937 random{20240611};
    std::map<std::string, std::string> entryOf;
    for (int step = 0; step < 2000 && !testing::Test::HasFailure(); ++step) {
        const std::string& id = ids[random() % ids.size()];
        const int32_t contact = CONTACTS[random() % std::size(CONTACTS)];
        const std::string entry = contact != 0 ? std::to_string(contact) : id;
        SCOPED_TRACE("step " + std::to_string(step) + ": " + id + " in " + entry);
        const bool isFound = random() % 3 != 0;
        if (isFound) {
            (void)Find(Device(id, contact));
            entryOf[id] = entry;
        } else {
            CacheMapManager::RemoveFromAllDeviceMap(id);
            (void)CacheMapManager::RemoveFromMergeDeviceMap(Device(id, contact));
            if (entryOf[id] == entry) {
                entryOf[id].clear();
            }
        }
        EXPECT_EQ(CacheMapManager::GetAllDevice(id).has_value(), isFound);
        const std::string& any = ids[random() % ids.size()];
        EXPECT_TRUE(!isToldApart || CacheMapManager::FindMergeDeviceId(Device(any)) == entryOf[any]) << any;
        for (const auto& fault : CacheMapManager::CheckInvariants()) { // the index answers as a walk would
            EXPECT_TRUE(!isToldApart && fault.find("is in the entries") != std::string::npos) << fault;
        }
    }
}

TEST(MergeIndex, LeadsToTheEntryOfTheLastReportWhateverComesAndGoes)
{
    std::vector<std::string> ids;
    for (int i = 0; i < 200; ++i) {
        ids.push_back("device " + std::to_string(i));
    }
    Drive(ids, true);
}

TEST(MergeIndex, StaysWholeForDevicesNamedAsContacts)
{
    Drive({"1", "10", "2", "-1", "a", "b", "c"}, false);
}

} // namespace
} // namespace OHOS::Pelago
