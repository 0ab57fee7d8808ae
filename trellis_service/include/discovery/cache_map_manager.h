#ifndef PELAGO_DISCOVERY_CACHE_MAP_MANAGER_H
#define PELAGO_DISCOVERY_CACHE_MAP_MANAGER_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bytes_info.h"
#include "data_bean.h"
#include "discovery/indexed_map.h"
#include "discovery/locked_map.h"
#include "discovery/merge_entries.h"
#include "pelago_sender.h"
#include "send_bean.h"
#include "share_device_info.h"
#include "share_mutex.h"
#include "transfer/descriptor_ledger.h"

namespace OHOS::Pelago {

// The one store of what the service knows about peers and running sends: physical devices in view, devices in a send,
// the merged entries that clients see, and the payload and the engine's handle of each running send.
//
// It has no instance: maps and locks are static and live as long as the process. Every operation may be called from any
// thread and takes the lock of its map for its own duration; answers are copies, as the record was at that moment.
//
// It decides nothing about discovery or sending, calls no client and no engine, and keeps nothing on disk. A miss is a
// line in the log and the result, never more.
//
// Unless told otherwise maps are keyed by device id, in byte order, and `eventCode`, `deviceState`, `percent` and
// `speed` are the four fields by which a record tells how its transfer stands.
class CacheMapManager {
public:
    // Every device that the engine reports as found.

    // Stores `device` with these four fields, in place of what was known of it.
    static void InsertToAllDeviceMap(
        const ShareDeviceInfo& device, int eventCode, int deviceState, int percent, int speed);
    // Sets the four fields, -1 included, if the device is known.
    static void UpateToAllDeviceMap(
        const ShareDeviceInfo& device, int eventCode, int deviceState, int percent, int speed);
    static void RemoveFromAllDeviceMap(const std::string& deviceId);
    // Forgets all devices in view. Entries stay, with their last state.
    static void ClearAllDeviceMap();
    static std::optional<ShareDeviceInfo> GetAllDevice(const std::string& deviceId);
    static std::vector<ShareDeviceInfo> GetAllShareDeviceList();
    // The states of those of `deviceIds` that are in view, in the same order.
    static std::vector<std::pair<std::string, int32_t>> GetAllDeviceStates(const std::vector<std::string>& deviceIds);
    // Takes the bits of `flag` away from what discovered the device.
    static void ClearDiscovererFlag(const std::string& deviceId, const uint32_t& flag);
    // Whether the device is known and one of the bits of `flag` is left. Nothing when it has been used up.
    static bool CheckDiscovererFlag(const std::string& deviceId, const uint32_t& flag);
    // Puts the flags back that a send has used up. The record as it is then, nothing when the device is gone.
    static std::optional<ShareDeviceInfo> RestoreDiscoverer(const std::string& deviceId, const uint32_t& flags);

    // Every device that takes part in a send, in view or not.

    // False when it is in a send already: the record of that send stays.
    static bool InsertToSendingDeviceMap(const ShareDeviceInfo& device);
    // Sets those of the four fields that are not -1. False when the device is in no send.
    static bool SetStatus(const std::string& deviceId, int eventCode, int deviceState, int percent, int speed);
    // Always true.
    static bool RemoveFromSendingDeviceMap(const std::string& deviceId);
    static bool InSendingList(const std::string& deviceId);
    static std::optional<ShareDeviceInfo> GetSendingDevice(const std::string& deviceId);
    // False when the device is in no send.
    static bool ChangeSendingDeviceDisappearState(const std::string& deviceId, bool disappeared);
    // The device's send ends and has asked for the last time whether the device was lost: it holds back no loss from
    // here on, though its record stays a moment longer. Asked and said under MergeDeviceMutex.
    static void EndHold(const std::string& deviceId);
    // Always empty: clients have been told so from the beginning and show their own sends.
    static std::vector<ShareDeviceInfo> GetSendingDeviceList();

    // The request of each running send, in the map of its kind. An insert is false, and the older request stays, when
    // there is one; a removal is false when there is none; a look-up leaves `out` alone when it is false.

    // The stored copy keeps the descriptors that it names open, if the ledger knows them.
    static bool InsertToSendBeanMap(const std::string& deviceId, const SendBean& bean);
    static bool RemoveFromSendBeanMap(const std::string& deviceId);
    [[nodiscard]] static bool GetSendBean(const std::string& deviceId, SendBean& out);
    // As above; `share` keeps the descriptors of `out` open for as long as the caller holds it.
    [[nodiscard]] static bool GetSendBean(const std::string& deviceId, SendBean& out, DescriptorShare& share);
    static bool InsertToDataBeanMap(const std::string& deviceId, const DataBean& bean);
    static bool RemoveFromDataBeanMap(const std::string& deviceId);
    [[nodiscard]] static bool GetDataBean(const std::string& deviceId, DataBean& out);
    static bool InsertToBytesInfoMap(const std::string& deviceId, const BytesInfo& bytes);
    static bool RemoveFromBytesInfoMap(const std::string& deviceId);
    [[nodiscard]] static bool GetByteBean(const std::string& deviceId, BytesInfo& out);

    // The engine's handle of each running send; a device that has one is busy.

    // False, and `sender` dropped, when the device is busy.
    static bool InsertToSenderMap(const std::string& deviceId, const sptr<PelagoSender>& sender);
    // Null when the device is free, which is an error line in the log at every ordinary send.
    static sptr<PelagoSender> GetShareSenderById(const std::string& deviceId);
    static bool RemoveFromSenderMap(const std::string& deviceId);

    // The merged entries, by merge id: the contact id in decimal, or the device id of a device without a contact. The
    // entry of a device is the first in key order that has it as its public id or among its members.

    // The key of the device's entry, empty when it is in none.
    static std::string FindMergeDeviceId(const ShareDeviceInfo& device);
    // Brings the entries in step with a found report: the device is added, moved or refreshed. The key of the entry
    // that the move has emptied and erased, else empty.
    static std::string InsertToMergeDeviceMap(const ShareDeviceInfo& device);
    // Makes the device a member of the entry of its merge id, which is made if there is none.
    static void AddNewMergeDevice(const ShareDeviceInfo& device);
    // Takes the device out of the entry of its present merge id: a device whose contact has changed since stays where
    // it is. True when that entry is gone.
    static bool RemoveFromMergeDeviceMap(const ShareDeviceInfo& device);
    // Whether a found report of `device` would take it out of the entry that it is in.
    static bool IsMergeDeviceMoving(const ShareDeviceInfo& device);
    // Tells the entry of a transfer event of its member, see ShareMergeInfo::UpdateDeviceState.
    static void UpateToMergeDeviceMap(const ShareDeviceInfo& device, int event, int value);
    // Notes that the engine lost a member that was sending, or has it back. False when the device is in no entry.
    static bool ChangeMergeDeviceDisappearState(const ShareDeviceInfo& device, bool disappeared);
    static bool IsMergeDeviceDisappear(const ShareDeviceInfo& device);
    static bool IsOneInMergeDevice(const ShareDeviceInfo& device);
    // A lost device leaves. The view of its entry as it was, if the device was the last member and clients are to hear
    // of the loss; nothing if others remain or there was no entry. One step: of two members that go at once exactly one
    // is the last.
    static std::optional<ShareDeviceInfo> LeaveMergeDevice(const ShareDeviceInfo& device);
    // The physical members of the device's entry: those in view, then those that only their send keeps.
    static std::vector<ShareDeviceInfo> GetShareDeviceInfoList(const ShareDeviceInfo& device);
    // A lost device whose send holds it stays: its record and its entry note the loss. False when no send holds it, or
    // one that ends.
    [[nodiscard]] static bool HoldLostDevice(const ShareDeviceInfo& device);
    // True once in a send: the caller is the one to cancel the other members.
    static bool CancelOtherMergeDevice(const ShareDeviceInfo& device);
    // How often that was true, of all entries.
    [[nodiscard]] static int64_t CountDecisions();
    // Whether another member has decided a send of the entry since there were `decisions`. A transfer that has ended
    // meanwhile still counts, and one of an entry that `member` has come to does not, if it was decided before.
    [[nodiscard]] static bool HasLostSend(const ShareDeviceInfo& member, int64_t decisions);
    // For callers that must decide and act in one step. Outside the locks of all other maps here; recursive.
    static RecursiveMutex& MergeDeviceMutex();

    // What clients see.

    // One record for each entry, in key order.
    static std::vector<ShareDeviceInfo> GetAllDeviceList();
    // The entry of `device`, with the type, flags and capability of `device` itself. A default record if it is in none.
    static ShareDeviceInfo ChangeToShareDeviceInfo(const ShareDeviceInfo& device);

    // How much is stored, for the dump.
    struct MapSizes {
        size_t allDevices;
        size_t sendingDevices;
        size_t mergeDevices;
        size_t sendBeans;
        size_t dataBeans;
        size_t bytesInfos;
        size_t senders;
    };
    static MapSizes Sizes();
    // What is wrong with the store, one text each: nothing ever should be.
    static std::vector<std::string> CheckInvariants();

private:
    friend struct StaticState; // the fresh process state of tests

    struct SendingDevice {
        ShareDeviceInfo record;
        bool isEnding = false; // holds back no loss
    };

    // A request and what keeps its descriptors open.
    struct HeldSendBean {
        SendBean bean;
        DescriptorShare share;
    };

    static std::string MoveMergeDevice(MergeEntries::Entry entry, const ShareDeviceInfo& device);
    static void RefreshMergeDevice(ShareMergeInfo& entry, const ShareDeviceInfo& device);
    static bool IsContactAvatarChanged(const ShareMergeInfo& entry, const ShareDeviceInfo& device);
    static void TakeKnownState(const std::string& deviceId, ShareMergeInfo& entry);
    static void AppendKnown(const std::vector<std::string>& deviceIds, std::vector<ShareDeviceInfo>& found,
        std::vector<std::string>& missing);
    static void AppendSending(const std::vector<std::string>& deviceIds, std::vector<ShareDeviceInfo>& found);
    [[nodiscard]] static bool IsHeldBySend(const std::string& deviceId);
    static void FillFromEntry(const ShareMergeInfo& entry, ShareDeviceInfo& view);
    static void FoldMembers(const ShareMergeInfo& entry, bool typeFromFirst, ShareDeviceInfo& view);

    // The static state. Locks, outermost first: mergeDeviceMutex_, then allDeviceMutex_ or sendingDeviceMutex_ but
    // never both; the maps of requests and senders have leaf locks of their own.

    // The merged entries. Recursive, because the operations on entries call one another.
    static RecursiveMutex mergeDeviceMutex_;
    static MergeEntries mergeDeviceMap_;
    static int64_t decisions_; // of sends; under the same lock

    // Devices in view.
    static Mutex allDeviceMutex_;
    static IndexedMap<ShareDeviceInfo> allDeviceMap_ SHARE_GUARDED_BY(allDeviceMutex_);

    // Devices in a send.
    static Mutex sendingDeviceMutex_;
    static std::map<std::string, SendingDevice> sendingDeviceMap_ SHARE_GUARDED_BY(sendingDeviceMutex_);

    // Requests and handles of running sends.
    static LockedMap<HeldSendBean> sendBeanMap_;
    static LockedMap<DataBean> dataBeanMap_;
    static LockedMap<BytesInfo> bytesInfoMap_;
    static LockedMap<sptr<PelagoSender>> senderMap_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_DISCOVERY_CACHE_MAP_MANAGER_H
