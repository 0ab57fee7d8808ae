#include "transfer/descriptor_ledger.h"

#include <map>
#include <utility>

#include <unistd.h>

#include "share_mutex.h"

namespace OHOS::Pelago {
namespace {

// Which set each adopted descriptor belongs to. Never destroyed: records outlive main in the static maps.
struct Owners {
    Mutex mutex{"DescriptorLedger", LockRank::LEAF};
    std::map<int, std::weak_ptr<const DescriptorSet>> sets SHARE_GUARDED_BY(mutex);
};

Owners& GetOwners()
{
    static auto* owners = new Owners();
    return *owners;
}

} // namespace

// The descriptors of one adoption.
class DescriptorSet {
public:
    explicit DescriptorSet(std::vector<int> descriptors) : descriptors_(std::move(descriptors))
    {}
    // Forgets them first: once closed, a number may be another's at any moment.
    ~DescriptorSet()
    {
        {
            Owners& owners = GetOwners();
            MutexLock lock(owners.mutex);
            for (int fd : descriptors_) {
                owners.sets.erase(fd);
            }
        }
        for (int fd : descriptors_) {
            (void)::close(fd); // whatever it says, the number is gone
        }
    }
    DescriptorSet(const DescriptorSet&) = delete;
    DescriptorSet& operator=(const DescriptorSet&) = delete;

private:
    const std::vector<int> descriptors_;
};

DescriptorShare DescriptorLedger::Adopt(const SendBean& bean)
{
    Owners& owners = GetOwners();
    MutexLock lock(owners.mutex);
    std::vector<int> taken;
    for (const FileHolder& file : bean.uriList) {
        if (file.fileFd >= 0 && owners.sets.emplace(file.fileFd, std::weak_ptr<const DescriptorSet>()).second) {
            taken.push_back(file.fileFd);
        }
    }
    if (taken.empty()) {
        return nullptr;
    }
    auto share = std::make_shared<const DescriptorSet>(taken);
    for (int fd : taken) {
        owners.sets[fd] = share;
    }
    return share;
}

DescriptorShare DescriptorLedger::ShareOf(const SendBean& bean)
{
    Owners& owners = GetOwners();
    MutexLock lock(owners.mutex);
    for (const FileHolder& file : bean.uriList) {
        if (auto found = owners.sets.find(file.fileFd); found != owners.sets.end()) {
            return found->second.lock();
        }
    }
    return nullptr;
}

size_t DescriptorLedger::OpenCount()
{
    Owners& owners = GetOwners();
    MutexLock lock(owners.mutex);
    return owners.sets.size();
}

} // namespace OHOS::Pelago
