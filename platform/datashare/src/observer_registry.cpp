#include "observer_registry.h"

#include <algorithm>
#include <utility>

#include "host/scheduler.h"

namespace OHOS::DataShare {

namespace {

template <typename Entries>
auto EntryOf(Entries& entries, const ObserverRegistry::Observer& observer)
{
    return std::find_if(
        entries.begin(), entries.end(), [&observer](const auto& entry) { return entry.observer == observer; });
}

} // namespace

ObserverRegistry& ObserverRegistry::Instance()
{
    // Never destroyed: threads of the platform may come here while the process ends.
    static auto* registry = new ObserverRegistry();
    return *registry;
}

void ObserverRegistry::Add(const std::string& uri, const Observer& observer)
{
    if (observer == nullptr) {
        return;
    }
    const std::lock_guard lock(mutex_);
    std::shared_ptr<Host::TaskQueue> queue = QueueOf(observer);
    std::vector<Entry>& entries = entries_[uri];
    if (EntryOf(entries, observer) == entries.end()) {
        entries.push_back({observer, std::move(queue)});
    }
}

std::shared_ptr<Host::TaskQueue> ObserverRegistry::QueueOf(const Observer& observer)
{
    for (auto& [uri, entries] : entries_) {
        if (const auto found = EntryOf(entries, observer); found != entries.end()) {
            return found->queue;
        }
    }
    return Host::Scheduler::Instance().CreateQueue("observer");
}

void ObserverRegistry::Remove(const std::string& uri, const Observer& observer)
{
    Entry removed; // goes after the lock: it may be the last owner of the observer
    const std::lock_guard lock(mutex_);
    const auto place = entries_.find(uri);
    if (place == entries_.end()) {
        return;
    }
    std::vector<Entry>& entries = place->second;
    if (const auto found = EntryOf(entries, observer); found != entries.end()) {
        removed = std::move(*found);
        entries.erase(found);
    }
    if (entries.empty()) {
        entries_.erase(place);
    }
}

void ObserverRegistry::Notify(const std::string& uri)
{
    const std::lock_guard lock(mutex_);
    const auto place = entries_.find(uri);
    if (place == entries_.end()) {
        return;
    }
    for (const Entry& entry : place->second) {
        // Refused only when the process ends or can start no thread: then there is nobody left to tell.
        (void)entry.queue->Post([observer = entry.observer] { observer->OnChange(); });
    }
}

} // namespace OHOS::DataShare
