#ifndef PELAGO_DISCOVERY_MERGE_ENTRIES_H
#define PELAGO_DISCOVERY_MERGE_ENTRIES_H

#include <map>
#include <string>
#include <vector>

#include "discovery/hash_index.h"
#include "discovery/share_merge_info.h"

namespace OHOS::Pelago {

// The merged entries by merge id, in byte order, and beside them which entries answer to which device id. So the
// question "which entry holds this device?" costs the same with ten thousand peers as with ten.
//
// An entry answers to its members and to its public id, which in the map is always its key. The answer to a device id
// is the first such entry in key order: what a walk with ContainDevice would find.
//
// Owned by CacheMapManager. It has no lock: every call is made under mergeDeviceMutex_. Members join and leave through
// it alone, never through the entry itself. It does not decide who belongs where.
class MergeEntries {
public:
    using Map = std::map<std::string, ShareMergeInfo>;
    using Entry = Map::iterator;

    // The first entry in key order that holds `device`, else End().
    Entry Find(const ShareDeviceInfo& device);
    // The entry with exactly this key, else End().
    Entry FindKey(const std::string& mergeId);
    Entry End();

    // Adds `entry`, which has one member, under `mergeId`, which is free and is the entry's public id.
    void Add(const std::string& mergeId, ShareMergeInfo entry);
    // Makes `device` a member; nothing happens when it is one.
    void Join(Entry entry, const ShareDeviceInfo& device);
    // Takes `device` out of the entry, and the entry out of the map if that was its last member. True in that case.
    [[nodiscard]] bool Leave(Entry entry, const ShareDeviceInfo& device);

    const Map& All() const;
    void Clear();

    // What is wrong with entries and index, one text each: nothing ever should be.
    std::vector<std::string> Faults() const;

private:
    void CheckEntries(std::vector<std::string>& faults) const;
    void CheckIndex(std::vector<std::string>& faults) const;

    Map entries_;
    // Each entry under its public id and under each other id of a member.
    HashIndex<Entry> byDeviceId_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_DISCOVERY_MERGE_ENTRIES_H
