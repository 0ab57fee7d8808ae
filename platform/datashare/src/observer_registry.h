#ifndef OHOS_DATASHARE_OBSERVER_REGISTRY_H
#define OHOS_DATASHARE_OBSERVER_REGISTRY_H

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "data_ability_observer_interface.h"
#include "refbase.h"

namespace OHOS::Host {
class TaskQueue;
} // namespace OHOS::Host

namespace OHOS::DataShare {

/// Who wants to hear of changes at which URI, in this process. Holds the observers, each with a queue of its own, until
/// they are removed. One per process, alive until it ends; any thread may call. It looks at no data.
class ObserverRegistry {
public:
    using Observer = sptr<AAFwk::IDataAbilityObserver>;

    static ObserverRegistry& Instance();

    /// An observer that is there already is not added again; nor is null.
    void Add(const std::string& uri, const Observer& observer);
    void Remove(const std::string& uri, const Observer& observer);
    /// Queues one call of each observer of exactly this URI.
    void Notify(const std::string& uri);

private:
    struct Entry {
        Observer observer;
        std::shared_ptr<Host::TaskQueue> queue; // the same for all entries of one observer
    };

    ObserverRegistry() = default;
    [[nodiscard]] std::shared_ptr<Host::TaskQueue> QueueOf(const Observer& observer); // with mutex_ held

    std::mutex mutex_;
    std::map<std::string, std::vector<Entry>> entries_; // by URI; no entry is empty
};

} // namespace OHOS::DataShare

#endif // OHOS_DATASHARE_OBSERVER_REGISTRY_H
