#include "discovery/merge_entries.h"

#include <algorithm>

namespace OHOS::Pelago {

namespace {

bool HasMember(const ShareMergeInfo& entry, const std::string& deviceId)
{
    const auto& members = entry.GetDeviceList();
    return std::find(members.begin(), members.end(), deviceId) != members.end();
}

bool AnswersTo(const ShareMergeInfo& entry, const std::string& deviceId)
{
    return entry.GetContactId() == deviceId || HasMember(entry, deviceId);
}

} // namespace

MergeEntries::Entry MergeEntries::Find(const ShareDeviceInfo& device)
{
    Entry first = entries_.end();
    byDeviceId_.ForEach(device.deviceId, [&](Entry entry) {
        if (AnswersTo(entry->second, device.deviceId) && (first == entries_.end() || entry->first < first->first)) {
            first = entry;
        }
    });
    return first;
}

MergeEntries::Entry MergeEntries::FindKey(const std::string& mergeId)
{
    Entry found = entries_.end();
    byDeviceId_.ForEach(mergeId, [&](Entry entry) {
        if (entry->first == mergeId) {
            found = entry;
        }
    });
    return found;
}

MergeEntries::Entry MergeEntries::End()
{
    return entries_.end();
}

void MergeEntries::Add(const std::string& mergeId, ShareMergeInfo entry)
{
    auto added = entries_.emplace(mergeId, std::move(entry)).first;
    byDeviceId_.Add(mergeId, added);
    for (const auto& member : added->second.GetDeviceList()) {
        if (member != mergeId) {
            byDeviceId_.Add(member, added);
        }
    }
}

void MergeEntries::Join(Entry entry, const ShareDeviceInfo& device)
{
    const bool isKnown = AnswersTo(entry->second, device.deviceId);
    if (entry->second.AddDevice(device) && !isKnown) {
        byDeviceId_.Add(device.deviceId, entry);
    }
}

bool MergeEntries::Leave(Entry entry, const ShareDeviceInfo& device)
{
    const bool wasKnown = AnswersTo(entry->second, device.deviceId);
    const bool isEmpty = entry->second.RemoveDevice(device);
    if (wasKnown && !AnswersTo(entry->second, device.deviceId)) {
        byDeviceId_.Remove(device.deviceId, entry);
    }
    if (isEmpty) {
        byDeviceId_.Remove(entry->first, entry);
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
    byDeviceId_.Clear();
    entries_.clear();
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
    std::map<std::string, std::string> entryOf;
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
                std::string fault = "device " + member;
                fault += " is in the entries " + other->second;
                fault += " and " + key;
                faults.push_back(std::move(fault));
            }
        }
    }
}

// Every id leads to its entry, and nothing else is in the index: then its answers are those of a walk.
void MergeEntries::CheckIndex(std::vector<std::string>& faults) const
{
    size_t ids = 0;
    for (auto place = entries_.begin(); place != entries_.end(); ++place) {
        auto answersTo = place->second.GetDeviceList();
        if (!HasMember(place->second, place->first)) {
            answersTo.push_back(place->first);
        }
        ids += answersTo.size();
        for (const auto& id : answersTo) {
            bool isFound = false;
            byDeviceId_.ForEach(id, [&](Entry entry) { isFound = isFound || &*entry == &*place; });
            if (!isFound) {
                faults.push_back("the index does not lead from " + id + " to the entry " + place->first);
            }
        }
    }
    if (ids != byDeviceId_.Size()) {
        faults.push_back("the index has " + std::to_string(byDeviceId_.Size()) + " ids, and the entries have " +
                         std::to_string(ids));
    }
}

} // namespace OHOS::Pelago
