// Which entry holds a device: the index against a plain walk, under a random drive of found and lost reports.

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "devices.h"

namespace OHOS::Pelago {
namespace {

// The rules of merging as they are told, without any index.
class WalkModel {
public:
    std::string Find(const std::string& id) const
    {
        for (const auto& [key, entry] : entries_) {
            if (key == id || Contains(entry.members, id)) {
                return key;
            }
        }
        return {};
    }

    std::string Found(const std::string& id, int32_t contact)
    {
        const std::string key = Find(id);
        const std::string mergeId = Key(id, contact);
        if (key.empty()) {
            Join(mergeId, id, contact);
            return {};
        }
        const bool isContact = entries_[key].isContact;
        if (isContact == (contact != 0) && !(isContact && key != mergeId)) {
            return {};
        }
        const bool isErased = Leave(key, id);
        Join(mergeId, id, contact);
        return isErased ? key : std::string();
    }

    bool Lost(const std::string& id, int32_t contact)
    {
        return entries_.count(Key(id, contact)) != 0 && Leave(Key(id, contact), id);
    }

private:
    struct Entry {
        bool isContact = false;
        std::vector<std::string> members;
    };

    static bool Contains(const std::vector<std::string>& members, const std::string& id)
    {
        return std::find(members.begin(), members.end(), id) != members.end();
    }
    static std::string Key(const std::string& id, int32_t contact)
    {
        return contact != 0 ? std::to_string(contact) : id;
    }
    void Join(const std::string& key, const std::string& id, int32_t contact)
    {
        Entry& entry = entries_[key];
        if (!Contains(entry.members, id)) {
            entry.members.push_back(id);
            entry.isContact = contact != 0;
        }
    }
    bool Leave(const std::string& key, const std::string& id)
    {
        auto& members = entries_[key].members;
        auto place = std::find(members.begin(), members.end(), id);
        if (place == members.end()) {
            return false;
        }
        members.erase(place);
        if (!members.empty()) {
            return false;
        }
        entries_.erase(key);
        return true;
    }

    std::map<std::string, Entry> entries_;
};

struct Drive {
    std::vector<std::string> ids;
    bool idsAreContacts; // some ids are contacts' ids too, so that a device may answer for two entries
};

class RandomDrive {
public:
    explicit RandomDrive(const Drive& drive) : drive_(drive)
    {}

    // One report, found or lost, of any device with any contact; then some devices are looked up.
    void Step()
    {
        constexpr int32_t CONTACTS[] = {0, 0, 1, 2, 10, -1};
        const std::string& id = AnyId();
        const int32_t contact = CONTACTS[random_() % std::size(CONTACTS)];
        if (random_() % 3 != 0) {
            EXPECT_EQ(Find(Device(id, contact)), model_.Found(id, contact));
            inView_.insert(id);
        } else {
            CacheMapManager::RemoveFromAllDeviceMap(id);
            EXPECT_EQ(CacheMapManager::RemoveFromMergeDeviceMap(Device(id, contact)), model_.Lost(id, contact));
            inView_.erase(id);
        }
        for (int look = 0; look < 8; ++look) {
            const std::string& any = AnyId();
            EXPECT_EQ(CacheMapManager::FindMergeDeviceId(Device(any)), model_.Find(any)) << any;
            EXPECT_EQ(CacheMapManager::GetAllDevice(any).has_value(), inView_.count(any) != 0) << any;
        }
        for (const auto& fault : CacheMapManager::CheckInvariants()) {
            EXPECT_TRUE(drive_.idsAreContacts && fault.find("is in the entries") != std::string::npos) << fault;
        }
    }

private:
    const std::string& AnyId()
    {
        return drive_.ids[random_() % drive_.ids.size()];
    }

    const Drive& drive_;
    std::mt19937 random_{20240611};
    WalkModel model_;
    std::set<std::string> inView_;
};

void RunDrive(const Drive& drive)
{
    RandomDrive run(drive);
    for (int step = 0; step < 2000 && !testing::Test::HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        run.Step();
    }
}

TEST(MergeIndex, AnswersAsAWalkDoesWhateverComesAndGoes)
{
    Drive drive{{}, false};
    for (int i = 0; i < 200; ++i) {
        drive.ids.push_back("device " + std::to_string(i));
    }
    RunDrive(drive);
}

TEST(MergeIndex, AnswersAsAWalkDoesForDevicesNamedAsContacts)
{
    RunDrive({{"1", "10", "2", "-1", "a", "b", "c"}, true});
}

} // namespace
} // namespace OHOS::Pelago
