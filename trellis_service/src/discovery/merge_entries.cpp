#include "discovery/merge_entries.h"

#include <algorithm>

namespace OHOS::Pelago {

namespace {

bool KeyLess(const MergeEntries::Entry& left, const MergeEntries::Entry& right)
{
    return left->first < right->first;
}

bool AnswersTo(const ShareMergeInfo& entry, const std::string& deviceId)
{
    const auto& members = entry.GetDeviceList();
    return entry.GetContactId() == deviceId || std::find(members.begin(), members.end(), deviceId) != members.end();
}

} // namespace

MergeEntries::Entry MergeEntries::Find(const ShareDeviceInfo& device)
{
    auto found = byDeviceId_.find(device.deviceId);
    return found == byDeviceId_.end() ? entries_.end() : found->second.front();
}

MergeEntries::Entry MergeEntries::FindKey(const std::string& mergeId)
{
    return entries_.find(mergeId);
}

MergeEntries::Entry MergeEntries::End()
{
    return entries_.end();
}

void MergeEntries::Add(const std::string& mergeId, ShareMergeInfo entry)
{
    auto added = entries_.emplace(mergeId, std::move(entry)).first;
    Index(mergeId, added);
    for (const auto& member : added->second.GetDeviceList()) {
        Index(member, added);
    }
}

void MergeEntries::Join(Entry entry, const ShareDeviceInfo& device)
{
    if (entry->second.AddDevice(device)) {
        Index(device.deviceId, entry);
    }
}

bool MergeEntries::Leave(Entry entry, const ShareDeviceInfo& device)
{
    const bool isEmpty = entry->second.RemoveDevice(device);
    if (isEmpty || !AnswersTo(entry->second, device.deviceId)) {
        Unindex(device.deviceId, entry);
    }
    if (isEmpty) {
        Unindex(entry->first, entry);
        entries_.erase(entry);
    }
    return isEmpty;
}

const MergeEntries::Map& MergeEntries::All() const
{
    return entries_;
}

void MergeEntries::Clear()
{
    byDeviceId_.clear();
    entries_.clear();
}

void MergeEntries::Index(const std::string& deviceId, Entry entry)
{
    auto& answering = byDeviceId_[deviceId];
    auto place = std::lower_bound(answering.begin(), answering.end(), entry, KeyLess);
    if (place == answering.end() || *place != entry) {
        answering.insert(place, entry);
    }
}

void MergeEntries::Unindex(const std::string& deviceId, Entry entry)
{
    auto found = byDeviceId_.find(deviceId);
    if (found == byDeviceId_.end()) {
        return;
    }
    auto& answering = found->second;
    answering.erase(std::remove(answering.begin(), answering.end(), entry), answering.end());
    if (answering.empty()) {
        byDeviceId_.erase(found);
    }
}

std::vector<std::string> MergeEntries::Faults() const
{
    std::vector<std::string> faults;
    CheckEntries(faults);
    CheckIndex(faults);
    return faults;
}

void MergeEntries::CheckEntries(std::vector<std::string>& faults) const
{
    std::unordered_map<std::string, std::string> entryOf;
    for (const auto& [key, entry] : entries_) {
        if (entry.GetDeviceList().empty()) {
            faults.push_back("entry " + key + " has no member");
        }
        if (entry.GetContactId() != key) {
            faults.push_back("entry " + key + " is known as " + entry.GetContactId());
        }
        for (const auto& member : entry.GetDeviceList()) {
            auto [other, isNew] = entryOf.emplace(member, key);
            if (!isNew) {
                faults.push_back("device " + member + " is in the entries " + other->second + " and " + key);
            }
        }
    }
}

// Builds the answers of a walk for every id at once, and compares.
void MergeEntries::CheckIndex(std::vector<std::string>& faults) const
{
    std::map<std::string, std::vector<std::string>> walked;
    for (const auto& [key, entry] : entries_) {
        auto ids = entry.GetDeviceList();
        ids.push_back(entry.GetContactId());
        for (const auto& id : ids) {
            auto& keys = walked[id];
            if (keys.empty() || keys.back() != key) {
                keys.push_back(key);
            }
        }
    }
    std::map<std::string, std::vector<std::string>> indexed;
    for (const auto& [id, answering] : byDeviceId_) {
        for (const auto& entry : answering) {
            indexed[id].push_back(entry->first);
        }
    }
    if (walked != indexed) {
        faults.push_back("the index of " + std::to_string(indexed.size()) + " ids differs from a walk over " +
                         std::to_string(walked.size()));
    }
}

} // namespace OHOS::Pelago
