#ifndef PELAGO_CORE_TRELLIS_SERVICE_H
#define PELAGO_CORE_TRELLIS_SERVICE_H

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/share_manager_srv_stub.h"
#include "i_publish_listener.h"
#include "i_subscribe_listener.h"
#include "pelago_receive_listener.h"
#include "share_log.h"
#include "share_mutex.h"
#include "share_radar_dfx.h"
#include "system_ability.h"
#include "transfer/descriptor_ledger.h"
#include "transmit_param.h"

namespace OHOS::Pelago {

class MotionReceiverCallback;
class MotionSenderCallback;
class SMReceiveCallback;

// The ids of the system abilities that the service watches.
enum WatchedAbility : int32_t {
    ABILITY_OS_ACCOUNT = 200,
    ABILITY_WIFI = 1120,
    ABILITY_BLUETOOTH_HOST = 1130,
    ABILITY_DISTRIBUTED_DATA = 1301,
    ABILITY_COMMON_EVENT = 3299,
    ABILITY_TIME = 3702,
    ABILITY_WINDOW_MANAGER = 4606,
    ABILITY_SYNFOLD_DETECT = 70635,
};

// By this id the engine knows both the publication and the subscription of the service.
inline constexpr int ENGINE_PUBLISH_ID = 9024;
inline constexpr int ENGINE_SUBSCRIBE_ID = 9024;

// The system ability: the hub that clients, the engine, the switch and the gesture callbacks meet in. It answers the
// operations of ITrellisService, keeps the lists of client callbacks, and turns reports from below into calls to
// clients. One per process, created and registered when the program is loaded; the platform starts and stops it on its
// own thread. All operations may be called from any thread; the static ones may be called before OnStart and after
// OnStop. It does not move bytes, does not decide the switch (ShareSwitchManager) and stores no devices
// (CacheMapManager). Most of its state is static and outlives a stop; the listeners of the engine are made once, and a
// second start runs without them: the process is not meant to outlive OnStop.
class TrellisService : public SystemAbility, public ShareManagerSrvStub {
public:
    TrellisService(int32_t systemAbilityId, bool runOnCreate);
    ~TrellisService() override;
    std::string GetClassName() override;

    // core: lifecycle, on the platform's thread.
    void OnStart() override;
    void OnStop() override;
    void OnAddSystemAbility(int32_t systemAbilityId, const std::string& deviceId) override;
    void OnRemoveSystemAbility(int32_t systemAbilityId, const std::string& deviceId) override;
    // Makes this device visible and able to receive, or undoes both. False at the first step that the engine refuses;
    // what was done before it stays done.
    [[nodiscard]] bool SetPublishAndReceiveState(bool enable);
    void NotifyCallbackOnEnableStatusChanged();

    // core: switch, forwarded to ShareSwitchManager.
    bool SetShareEnable(int32_t enableState, int32_t detectableType, bool needCheckFirstUse) override;
    bool SetShareEnableWithConfirm(
        int32_t enableState, int32_t detectableType, bool needCheckFirstUse, bool needUserConfirm) override;
    bool IsEnabled() override;
    int32_t GetEnableState() override;
    ShareAccountInfo GetAccountInfo() override;
    bool SetShareAccountPermission(int32_t accountPermission) override;

    // core: clients.
    bool RegisterTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback) override;
    bool UnRegisterTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback) override;
    bool RegisterCorvaneShareApiTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback) override;
    bool UnRegisterCorvaneShareApiTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback) override;
    bool RegisterCorvaneShareApiEvent(const std::string& eventName) override;
    bool UnRegisterCorvaneShareApiEvent(const std::string& eventName) override;
    // Takes the entries of a dead client out; by its death recipient.
    void TrellisCallbackDeath(int32_t flag);

    // discovery: clients.
    bool StartDiscovery() override;
    bool StopDiscovery() override;
    std::vector<ShareDeviceInfo> GetAllUserList() override;
    std::vector<ShareDeviceInfo> GetSendingUserList() override;

    // discovery: reports from the engine and the collaboration framework.
    static void HandleOnDeviceFound(const ShareDeviceInfo& device);
    static void HandleOnMergeDeviceFound(const ShareDeviceInfo& device, bool wasSending);
    static void DeviceFound(ShareDeviceInfo& device);
    static void DeviceLost(const ShareDeviceInfo& device);
    static void HandleOnDeviceLost(const ShareDeviceInfo& device);
    [[nodiscard]] static bool OnSynfoldDeviceFound(
        const sptr<ShareDevice>& device, int& errorCode, uint32_t updateFlag);
    [[nodiscard]] static bool HandleOnCollabDeviceFound(
        const sptr<ShareDevice>& device, int& errorCode, uint32_t updateFlag);
    // False when `device` says that a gesture found it and the stored record no longer does. `type` changes only to TAP
    // or SWING; `clear` uses the flag up.
    [[nodiscard]] static bool CheckAndClearDeviceDiscoveredByFlag(
        const ShareDeviceInfo& device, bool clear, TransmitEventType& type);
    static void ClearDeviceDiscovererFlag(const std::string& deviceId, const uint32_t& flag);

    // transfer: clients.
    bool PrepareSend(const ShareDeviceInfo& device) override;
    bool Send(const ShareDeviceInfo& device, SendBean& bean, const std::string& packageName) override;
    bool SendFile(const ShareDeviceInfo& device, const DataBean& bean, const std::string& packageName) override;
    bool SendBytes(const ShareDeviceInfo& device, const BytesInfo& bytes) override;
    bool ApplyUriPermission(const std::string& uriString) override;
    bool Cancel(const ShareDeviceInfo& device) override;
    bool NotifyInfo(const ShareDeviceInfo& device, int32_t infoReason) override;
    bool StartConnect() override;
    bool StopConnect() override;
    bool RegisterSenderActionCallback(const sptr<ISenderActionCallback>& callback) override;
    bool UnRegisterSenderActionCallback(const sptr<ISenderActionCallback>& callback) override;
    sptr<PelagoReceiver> GetReceiverActionCallback() override;
    std::string GetPreviewData() override;
    // The death of the client that registered as sender action callback.
    bool ReceiveCallbackDeath();

    // transfer: sends and what ends them.
    [[nodiscard]] static bool PrepareForSend(const ShareDeviceInfo& device);
    [[nodiscard]] static bool SendForDevice(
        const ShareDeviceInfo& device, SendBean& bean, const std::string& packageName);
    [[nodiscard]] static bool SendFileForDevice(
        const ShareDeviceInfo& device, const DataBean& bean, const std::string& packageName);
    [[nodiscard]] static bool SendBytesForDevice(const ShareDeviceInfo& device, const BytesInfo& bytes);
    static void CopySendBean(const SendBean& source, SendBean& target);
    static bool CommonCancel(const ShareDeviceInfo& device);
    static void CancelOtherContactDevice(const ShareDeviceInfo& device);
    static void OnDeviceNewStateRetrieve(const ShareDeviceInfo& device);

    // transfer: reports from the engine.
    static void HandleOnTransStateChange(
        const ShareDeviceInfo& device, int64_t state, int64_t stateValue, int64_t timeStamp);
    static void HandleOnSwitchNotifyComponent(int32_t component);
    static void HandleOnCorvaneIdHeadImageReceive(const ShareDeviceInfo& device, const std::string& headImage);
    static void HandleOnThermalLevelChanged(int32_t lastLevel, int32_t newLevel, int8_t connectionSide, int8_t action);

    // gesture: share API, focus and swing.
    bool RegisterShareApiCallback(const sptr<PelagoApiCallback>& callback) override;
    bool UnregisterShareApiCallback(const sptr<PelagoApiCallback>& callback) override;
    bool RegisterShareEventCallback(int32_t eventId, int32_t cbId) override;
    bool UnregisterShareEventCallback(int32_t eventId, int32_t cbId) override;
    bool IsFocusPidsRegisterSwing() override;
    bool IsAppForeground(const std::string& bundleName) override;
    // The user's answer to the dialog of HandleOnPopSwing, for the first transfer of the entry. False without one.
    bool SwingConfirm(const ShareDeviceInfo& device, int32_t choice) override;

    // gesture: from the gesture to the application. Gesture 0 asks the application that has the focus for what it
    // shows, or is remembered until one registers; others mean nothing. `registerSwingPid` is -1 for a live gesture,
    // and the process that has just registered for a remembered one. The place is not used.
    static void NotifyCorvaneShareApiCBOnSwingEvent(
        int32_t gesture, int32_t x, int32_t y, const std::string& concurrentId, int32_t registerSwingPid);
    // Offers the remembered gesture, if there is one, to process `pid`, and forgets it.
    static void TryToConsumeSwingCache(int32_t pid);

    // gesture: from the application's answer to the target. Content for the placeholder waits in the cache: true, and
    // the send goes no further.
    [[nodiscard]] static bool SwingCacheSendBean(
        const ShareDeviceInfo& device, const SendBean& bean, const std::string& packageName);
    [[nodiscard]] static bool SwingCacheDataBean(
        const ShareDeviceInfo& device, const DataBean& bean, const std::string& packageName);
    [[nodiscard]] static bool SwingCacheByteBean(const ShareDeviceInfo& device, const BytesInfo& bytes);
    // Sends what waits to the device that the hand points at. It waits no longer then, however the send went.
    static void SwingSend(const ShareDeviceInfo& device);
    // True when `device` was a swing target: the user and the engine know, and gesture and content are forgotten.
    static bool SwingSendFail(const ShareDeviceInfo& device, int32_t errorCode);
    static void ClearSwingCache();
    static void SetSwingShowMode(int32_t showMode);
    // Shows, or closes, the dialog that asks whether to go on.
    static void HandleOnPopSwing(const ShareDeviceInfo& device, bool show);
    // How a swing ended or failed, as the engine tells it. `role`: 1 sender, others receive.
    static void HandleOnSwingStatus(int32_t role, std::string& deviceId, int32_t code);
    // A process of the share API is gone. Nothing here depends on it.
    static void DownloadingDie(int32_t pid);

    // gesture: who is in front.
    // `pids` becomes the processes that have the focus.
    static void GetFocusedPids(std::vector<int32_t>& pids);
    // Fills `pids` with the processes in the foreground when it is empty, and leaves it alone otherwise.
    static void UpdateAlternativePidsByForeground(std::vector<int32_t>& pids);
    // Those of `pids`, or else of the foreground, that want event `eventId`.
    static std::vector<int32_t> GetMatchedFocusedPidsFromCorvaneShareCallback(
        int32_t eventId, const std::vector<int32_t>& pids);
    // True when the subscription for swings stands, now or before. The service never gives it back; who does must know
    // that the second one goes by whether taps are subscribed: that is meant.
    static bool RegisterSwingSubscribeListener();
    [[nodiscard]] static bool UnRegisterSwingSubscribeListener();

    // The swing as it stands, for the dump. Each field is true for itself.
    struct SwingView {
        int32_t gesture;          // 0: one waits for an application; -1: none
        std::string concurrentId; // of the gesture that waits
        int32_t showMode;
        int32_t cacheType; // what waits for a target: 0 nothing, 1 files, 2 URIs, 3 bytes
        bool sending;      // the last content has gone to the engine
        bool subscribed;
    };
    static SwingView GetSwingView();

    // tap: the two motion callbacks. Registering asks the collaboration framework under the callback's mutex; a failure
    // is logged and leaves the callback in place. True when the registration stands, now or before.
    [[nodiscard]] bool RegisterMotionSenderListener();
    // The callback ends with the tap that runs, or at once when it cannot be told. Always true.
    static bool UnRegisterMotionSenderListener();
    // Asks the framework each time.
    [[nodiscard]] bool RegisterMotionReceiverListener();
    // The framework keeps its reference and may go on delivering. Always true.
    static bool UnRegisterMotionReceiverListener();
    // Lets go of a sender whose time has come: by its runner, once no event waits there. One that the service has let
    // go of before may still play a tap for the framework, and ends none but itself: so `who` asks, null for any.
    static void ReleaseMotionSenderCb(const MotionSenderCallback* who = nullptr);

    // tap: reports of a transfer that began with a gesture. `trans` is the TransmitEventType: a swing that failed is
    // told to the user, everything else is the tap's.
    static void HandleOnMotionState(int32_t trans, int32_t state, int32_t errorCode);
    static void HandleOnMotionReceiverState(int32_t trans, int32_t state, int32_t errorCode);
    // Both sides take new taps again; their timers run on.
    void ClearNudgePendingFlag();

    // tap: ends. The transfer to the device is told to stop, its record and its payload go, clients hear of a cancel.
    static bool CancelForNudgeConnectTimeOut(const std::string& deviceId);
    static void HandleOnNudgeCancel(const std::string& deviceId);
    // What the user is told of a tap or a swing. Always true.
    static bool NudgeNotifyEnableShare();
    static bool NudgeNotifyConnectFailed(int32_t errorCode);
    // What this device tells of itself to one that taps it: a JSON text; empty on failure.
    [[nodiscard]] static std::string GetNudgePublishInfo();

    // The tap as it stands, for the dump. Each field is true for itself.
    struct TapView {
        bool senderRequested; // the framework knows the sender's callback
        bool senderDeleting;  // the callback goes as soon as nothing waits
        bool preparing;       // a tap runs on the sending side
        bool receiver;        // there is a receiver's callback
        bool delivering;      // a tap runs on the receiving side
    };
    static TapView GetTapView();

    // How many entries each list has now, for the dump.
    struct ListSizes {
        size_t trellisCallbacks;
        size_t shareApiCallbacks;
        size_t deathRecipients;
        size_t callbackFlags;
        size_t receiveDeathRecipients;
        bool senderActionCallback;
    };
    static ListSizes GetListSizes();

private:
    // Tells the service that a client's process is gone.
    class DeathRecipient : public IRemoteObject::DeathRecipient {
    public:
        DeathRecipient(const wptr<TrellisService>& service, int32_t flag);
        void OnRemoteDied(const wptr<IRemoteObject>& object) override;

        int32_t Flag() const
        {
            return flag_;
        }

    private:
        const wptr<TrellisService> service_;
        const int32_t flag_;
    };

    // The same for the client that follows a receive.
    class ReceiveDeathRecipient : public IRemoteObject::DeathRecipient {
    public:
        explicit ReceiveDeathRecipient(const wptr<TrellisService>& service);
        void OnRemoteDied(const wptr<IRemoteObject>& object) override;

    private:
        const wptr<TrellisService> service_;
    };

    // core: lifecycle.
    static bool IsSystemAbilityStarted(int32_t systemAbilityId);
    void SubscribeCommonEvent();
    void AddSwitchDependencySaListenerAndInitShareState();
    static bool AreAllDependencySaReady();
    static void InitShareState();
    static void ClearResource();
    void StartWatching();
    [[nodiscard]] static bool SetPublishState(bool enable, const sptr<IPublishListener>& listener);
    [[nodiscard]] static bool SetReceiveState(bool enable, const sptr<SMReceiveCallback>& listener);

    // core: clients.
    [[nodiscard]] bool AddTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback);
    [[nodiscard]] bool RemoveTrellisCallback(const sptr<IRemoteObject>& object);
    [[nodiscard]] bool RemoveCorvaneShareApiTrellisCallback(const sptr<IRemoteObject>& object);
    void RegisterDeath(const sptr<PelagoTrellisServiceCallback>& callback);
    void UnRegisterDeath(const sptr<PelagoTrellisServiceCallback>& callback);
    int32_t GetTrellisCallbackFlag();
    static void NotifyCorvaneShareApiCBOnConnectHub();

    // Calls `call` on each registered client in order, under the list's lock; a null entry is logged and passed over.
    template <typename Call>
    static void ForEachTrellisCallback(Call&& call) SHARE_EXCLUDES(trellisCallbackMutex_);
    // The same for the hubs of the share API. `logSize` is given the size of the list first, under the lock.
    template <typename LogSize, typename Call>
    static void ForEachShareApiCallback(LogSize&& logSize, Call&& call) SHARE_EXCLUDES(corvaneShareApiCBMutex_);
    template <typename Call>
    static void ForEachShareApiCallback(Call&& call) SHARE_EXCLUDES(corvaneShareApiCBMutex_);

    // discovery.
    [[nodiscard]] static bool CanStopDiscovery() SHARE_REQUIRES(subscribeMutex_);
    static void AnnounceMovedSend(
        const std::string& deviceId, const ShareDeviceInfo& oldView, const ShareDeviceInfo& newView);
    static void TapDeviceFound(ShareDeviceInfo& device);
    static sptr<ISubscribeListener> NudgeSubListener();
    static sptr<MotionSenderCallback> MotionSender();

    // gesture. `pids` becomes those who may be told of the gesture. A gesture needs to be remembered when nobody may.
    [[nodiscard]] static bool IsSwingEventNeedCache(int32_t registerSwingPid, std::vector<int32_t>& pids);
    [[nodiscard]] static bool HasFocusedPidsRegisterSwing(std::vector<int32_t>& pids);
    static void RememberGesture(const std::string& concurrentId);
    static void ForgetGesture();
    [[nodiscard]] static bool NotSupportSwingByteShare(const ShareDeviceInfo& device);
    [[nodiscard]] static bool SendSwingCache(const ShareDeviceInfo& device, int32_t type, std::string& concurrentId);

    // transfer. The templates are told over the kinds of payload and stand with them in trellis_service_send.cpp.
    using ContactReporter = std::function<void(const ShareDeviceInfo& member, size_t memberCount)>;
    template <typename Payload>
    [[nodiscard]] static bool SendToEntry(
        Payload& payload, const ShareDeviceInfo& device, const ContactReporter& report);
    template <typename Payload>
    [[nodiscard]] static bool SendToMembers(
        Payload& payload, const ShareDeviceInfo& device, const ContactReporter& report);
    template <typename Payload>
    [[nodiscard]] static bool SendToDevice(Payload& payload, const ShareDeviceInfo& device);
    template <typename Payload>
    static void AnnounceToShareApi(Payload& payload, ShareDeviceInfo& stored, uint32_t discoveredBy);
    [[nodiscard]] static bool CancelMember(const ShareDeviceInfo& member, bool moveEntry);
    [[nodiscard]] static bool NotifyShareApiComponent(int32_t component);
    void RegisterReceiveDeath(const sptr<IRemoteObject>& object);

    int32_t trellisCallbackFlag = 0; // the flag given last; guarded by deathTrellisCallbackMutex_

    using CallbackVector = std::vector<sptr<PelagoTrellisServiceCallback>>;

    // The static state. Order of locks, outermost first; the ranks in share_mutex.h hold the same:
    //   replayMutex_, deathTrellisCallbackMutex_, deathReceiveCallbackMutex_, swingcacheMutex_, publishMutex_,
    //   subscribeMutex_, trellisCallbackMutex_, corvaneShareApiCBMutex_, senderActionCallbackMutex_, receiveMutex_,
    //   gestureDecisionMutex_, motionSenderMutex_, motionReceiverMutex_; swingSubscribeMutex_ and swingMemoryMutex_ are
    //   leaves.
    // The lists of callbacks stay locked while clients are called, so that what they are told comes in one order.

    // Registered clients, in order of registration, no object twice.
    static Mutex trellisCallbackMutex_;
    static CallbackVector trellisCBProxyVector_ SHARE_GUARDED_BY(trellisCallbackMutex_);

    // The hubs of the share API, likewise.
    static Mutex corvaneShareApiCBMutex_;
    static CallbackVector corvaneShareApiCBVector_ SHARE_GUARDED_BY(corvaneShareApiCBMutex_);

    // The listener given to ShareClient::Publish; null after a stop.
    static Mutex publishMutex_;
    static sptr<IPublishListener> publishListener_ SHARE_GUARDED_BY(publishMutex_);

    // The discovery listener, null after a stop, and whether the subscription stands.
    static Mutex subscribeMutex_;
    static sptr<ISubscribeListener> subscribeListener_ SHARE_GUARDED_BY(subscribeMutex_);
    static bool isSubscribe_ SHARE_GUARDED_BY(subscribeMutex_);

    // The second subscription, for swings: null until the first; and whether it stands.
    static Mutex swingSubscribeMutex_;
    static sptr<ISubscribeListener> swingSubscribeListener_ SHARE_GUARDED_BY(swingSubscribeMutex_);
    static bool isSwingShareRegistered_ SHARE_GUARDED_BY(swingSubscribeMutex_);

    // One replay of a remembered gesture at a time; guards nothing else.
    static Mutex replayMutex_;

    // Held from the question whether anybody wants a gesture until it is remembered: who registers in between finds it.
    // Never across a call to an application.
    static Mutex gestureDecisionMutex_;

    // Held while content is put into the swing's cache, and across the send that takes it out. Recursive: that send may
    // fail as a swing, which empties the cache.
    static RecursiveMutex swingcacheMutex_;

    // The remembered gesture (-1 none, 0 one waits) with its concurrent id, and the cached content: by swingcacheType_
    // the bean that counts, the client's package, and what keeps the descriptors of the files open. Roads that may not
    // wait for a running send read, copy and swap these under this lock alone; what is swapped out goes after it.
    static Mutex swingMemoryMutex_;
    static int32_t cashGesture_ SHARE_GUARDED_BY(swingMemoryMutex_);
    static std::string cacheConcurrentId_ SHARE_GUARDED_BY(swingMemoryMutex_);
    static sptr<SendBean> swingCacheSendBean_ SHARE_GUARDED_BY(swingMemoryMutex_);
    static sptr<DataBean> swingCacheDataBean_ SHARE_GUARDED_BY(swingMemoryMutex_);
    static sptr<BytesInfo> swingCacheByteBean_ SHARE_GUARDED_BY(swingMemoryMutex_);
    static std::string swingcachePackage_ SHARE_GUARDED_BY(swingMemoryMutex_);
    static DescriptorShare swingCacheFiles_ SHARE_GUARDED_BY(swingMemoryMutex_);

    // The receive listener; null after a stop.
    static Mutex receiveMutex_;
    static sptr<SMReceiveCallback> receiveListener_ SHARE_GUARDED_BY(receiveMutex_);

    // The one client that follows a receive; null when there is none.
    static Mutex senderActionCallbackMutex_;
    static sptr<ISenderActionCallback> senderActionCallback_ SHARE_GUARDED_BY(senderActionCallbackMutex_);

    // The tap callbacks: the receiver's is null until the framework is up, the sender's while nobody wants taps.
    static Mutex motionReceiverMutex_;
    static sptr<MotionReceiverCallback> motionReceiverCb_ SHARE_GUARDED_BY(motionReceiverMutex_);
    static Mutex motionSenderMutex_;
    static sptr<MotionSenderCallback> motionSenderCb_ SHARE_GUARDED_BY(motionSenderMutex_);

    // Death bookkeeping of both client lists. Recursive: a death unregisters, which takes it again.
    static RecursiveMutex deathTrellisCallbackMutex_;
    static std::map<sptr<IRemoteObject>, sptr<DeathRecipient>> deathTrellisCallbackMap_;
    static std::map<int32_t, sptr<PelagoTrellisServiceCallback>> trellisCallbackFlagMap_;

    // The same for the sender action callback.
    static RecursiveMutex deathReceiveCallbackMutex_;
    static std::map<sptr<IRemoteObject>, sptr<ReceiveDeathRecipient>> deathReceiveCallbackMap_;

    // The listener for devices that the collaboration framework found: null until the first.
    static Mutex nudgeSubListenerMutex_;
    static sptr<ISubscribeListener> nudgeSubListener_ SHARE_GUARDED_BY(nudgeSubListenerMutex_);

    // Atomics, each read where its lock may not be taken. The size of trellisCBProxyVector_, for roads that hold
    // subscribeMutex_, and that of corvaneShareApiCBVector_; the time of the last thermal notice in milliseconds, 0 for
    // never.
    static std::atomic<size_t> trellisCallbackCount_;
    static std::atomic<size_t> shareApiCallbackCount_;
    static std::atomic<int64_t> lastNotifyThermalTime_;
    static std::atomic<int32_t> swingcacheType_;      // 0 nothing waits; written under swingMemoryMutex_
    static std::atomic<int32_t> swingShowMode_;       // how the framework shows the content of the next swings
    static std::atomic<bool> swingSending_;           // content has gone to the engine; set until the next is cached
    static std::atomic<bool> isKnockShareRegistered_; // taps are requested; written under motionSenderMutex_
};

template <typename Call>
void TrellisService::ForEachTrellisCallback(Call&& call)
{
    MutexLock lock(trellisCallbackMutex_);
    for (const auto& callback : trellisCBProxyVector_) {
        if (callback == nullptr) {
            SHARE_LOGE(Log::PROXY, "proxy is nullptr.");
            continue;
        }
        call(callback);
    }
}

template <typename LogSize, typename Call>
void TrellisService::ForEachShareApiCallback(LogSize&& logSize, Call&& call)
{
    MutexLock lock(corvaneShareApiCBMutex_);
    logSize(corvaneShareApiCBVector_.size());
    for (const auto& callback : corvaneShareApiCBVector_) {
        if (callback == nullptr) {
            SHARE_LOGE(Log::PROXY, "proxy is nullptr.");
            continue;
        }
        call(callback);
    }
}

template <typename Call>
void TrellisService::ForEachShareApiCallback(Call&& call)
{
    ForEachShareApiCallback([](size_t) {}, std::forward<Call>(call));
}

} // namespace OHOS::Pelago

#endif // PELAGO_CORE_TRELLIS_SERVICE_H
