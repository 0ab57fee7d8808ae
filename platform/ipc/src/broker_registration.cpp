#include <map>
#include <mutex>

#include "iremote_broker.h"

namespace OHOS {

namespace {

struct Registry {
    std::mutex mutex;
    std::map<std::u16string, BrokerRegistration::Creator> creators; // guarded by mutex
};

Registry& Brokers()
{
    static auto* registry = new Registry; // delegators of other files come before and go after every static of ours
    return *registry;
}

} // namespace

BrokerRegistration& BrokerRegistration::Get()
{
    static auto* registration = new BrokerRegistration;
    return *registration;
}

bool BrokerRegistration::Register(const std::u16string& descriptor, Creator creator)
{
    std::lock_guard lock(Brokers().mutex);
    return Brokers().creators.emplace(descriptor, creator).second;
}

void BrokerRegistration::Unregister(const std::u16string& descriptor, Creator creator)
{
    std::lock_guard lock(Brokers().mutex);
    const auto found = Brokers().creators.find(descriptor);
    if (found != Brokers().creators.end() && found->second == creator) {
        Brokers().creators.erase(found);
    }
}

sptr<IRemoteBroker> BrokerRegistration::NewInstance(const std::u16string& descriptor, const sptr<IRemoteObject>& object)
{
    Creator creator = nullptr;
    {
        std::lock_guard lock(Brokers().mutex);
        const auto found = Brokers().creators.find(descriptor);
        if (found != Brokers().creators.end()) {
            creator = found->second;
        }
    }
    return creator == nullptr || object == nullptr ? nullptr : creator(object);
}

} // namespace OHOS
