#ifndef PELAGO_GESTURE_CORVANE_SHARE_CALLBACK_MANAGER_H
#define PELAGO_GESTURE_CORVANE_SHARE_CALLBACK_MANAGER_H

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include "pelago_api_callback.h"
#include "refbase.h"
#include "share_device_info.h"
#include "share_mutex.h"
#include "share_radar_dfx.h"
#include "singleton.h"

namespace OHOS::Pelago {

class TrellisService;

// The events that an application may ask for. Not to be mistaken for the flags of Discoverer.
namespace ShareEvent {
inline constexpr int32_t KNOCK = 2;    // "knockShare"
inline constexpr int32_t GESTURES = 3; // "gesturesShare"
} // namespace ShareEvent

// Which applications want to hear of a knock or a gesture, and which one of them does. Keeps, by process, one callback
// object, and by event the callback ids that the process asked for, until it takes them back or dies; with the first
// registration the service subscribes to the event, and with the last one gone it lets go of knocks, never of gestures.
//
// One per process (DelayedSingleton), set up by the service in OnStart, dropped when it stops: whoever still works with
// it holds it. Any thread. An application is called synchronously with the callbacks' mutex held, so one that hangs
// costs the others its wait time. A dead process is known by its death alone; it does not watch who has the focus.
//
// Implemented in corvane_share_callback_registration.cpp (who is registered) and
// corvane_share_callback_notification.cpp (who is told).
class CorvaneShareCallbackManager : public std::enable_shared_from_this<CorvaneShareCallbackManager> {
public:
    static constexpr size_t MAX_CALLBACK_IDS = 1024; // that a process may ask for one event with

    void Init(const wptr<TrellisService>& service);
    void Release();

    // Remembers the callback object of a process, in place of an older one. False for null.
    [[nodiscard]] bool AddShareApiCallback(int32_t pid, const sptr<PelagoApiCallback>& callback);
    // Forgets it, and leaves the events that the process asked for, until it takes them back or dies. Always true.
    [[nodiscard]] bool DelShareApiCallback(int32_t pid);
    // Remembers that callback `cbId` of a process wants event `eventId`; asked again it is the newest. A gesture that
    // waits is offered to the process at once, on another thread: std::system_error when that cannot be started.
    // False for a process without callback object and, with one, for an unknown event or for more callback ids than
    // MAX_CALLBACK_IDS.
    [[nodiscard]] bool AddShareEventCallback(int32_t pid, int32_t cbId, int32_t eventId);
    // Forgets it; all of the process with cbId -1. False when there was nothing to forget.
    [[nodiscard]] bool DelShareEventCallback(int32_t pid, int32_t cbId, int32_t eventId);
    // Forgets everything of a process.
    void ApiCallbackDeath(int32_t pid);

    // Whether one of `pids` wants the event.
    [[nodiscard]] bool IsPidRegistered(int32_t eventId, const std::vector<int32_t>& pids);
    // Those of `queryPids` that want the event, or else those of the foreground. For knocks; empty for the rest.
    [[nodiscard]] std::vector<int32_t> GetMatchedFocusedPids(int32_t eventId, const std::vector<int32_t>& queryPids);
    // Tells the one application that wants the event which brought `device`: of those that have the focus the callback
    // that registered last. A device of both kinds is a knock's. `radar` may be null.
    void NotifyUserDeviceFound(
        ShareDeviceInfo& device, const std::vector<int32_t>& focusedPids, const std::shared_ptr<ShareRadarDfx>& radar);

    // How many processes are known, for the dump. Waits for no application.
    struct Sizes {
        size_t apps;
        size_t knock;
        size_t swing;
        size_t deaths; // callback objects that are watched
    };
    Sizes GetSizes() const;

private:
    friend class DelayedSingleton<CorvaneShareCallbackManager>;

    // The registrations for one event: process, then callback id, to the moment of registration in milliseconds. A
    // process without callback ids is not in it.
    struct EventCallbacks {
        EventCallbacks(const char* name, const char* mutexName) : eventName(name), mutex(mutexName, EVENT_RANK)
        {}

        static constexpr LockRank EVENT_RANK = LockRank::EVENT_CALLBACKS;
        const char* const eventName;
        mutable RecursiveMutex mutex;
        std::map<int32_t, std::map<int32_t, uint64_t>> callbacks; // guarded by the mutex
    };

    // One who may be told: process, callback id, moment of registration.
    using AlternativeCb = std::tuple<int32_t, int32_t, uint64_t>;

    // Hears that the process of a callback object is gone.
    class ApiDeathRecipient : public IRemoteObject::DeathRecipient {
    public:
        explicit ApiDeathRecipient(int32_t pid);
        void OnRemoteDied(const wptr<IRemoteObject>& object) override;

    private:
        const int32_t pid_;
    };

    CorvaneShareCallbackManager() = default;

    // The service; null, and said in the log, when there is none.
    sptr<TrellisService> Service() const;
    std::shared_ptr<ShareRadarDfx> Radar() const;
    void ReportKnockFailure(int32_t result, int32_t errorCode) const;

    void StoreApiCallback(int32_t pid, const sptr<PelagoApiCallback>& callback, const sptr<IRemoteObject>& object);
    void RegisterDeath(int32_t pid, const sptr<PelagoApiCallback>& callback);
    void UnregisterDeath(const sptr<PelagoApiCallback>& callback);
    void EndKeptWatch(int32_t pid) SHARE_REQUIRES(registrationMutex_);
    void ForgetIfDead(int32_t pid, const sptr<PelagoApiCallback>& callback);
    sptr<PelagoApiCallback> FindApiCallback(int32_t pid) const;
    // The callback object of the process that now wants the event; null, and said in the log, when it is refused.
    sptr<PelagoApiCallback> StoreEventCallback(int32_t pid, int32_t cbId, int32_t eventId);
    bool WantsEvents(int32_t pid) const;

    // The registrations for an event; null, and said in the log, for an unknown one.
    EventCallbacks* FindEvent(int32_t eventId);
    [[nodiscard]] static bool AddCallback(EventCallbacks& event, int32_t pid, int32_t cbId);
    [[nodiscard]] static bool DelCallback(EventCallbacks& event, int32_t pid, int32_t cbId);
    static void AppendCallbacks(
        const EventCallbacks& event, const std::vector<int32_t>& pids, std::vector<AlternativeCb>& alternativeCbs);
    static std::vector<int32_t> MatchPids(
        const EventCallbacks& event, const std::vector<int32_t>& pids, const char* source);
    static size_t CountPids(const EventCallbacks& event);

    void TryToSubscribeKnock();
    void TryToUnsubscribeKnock();
    void TryToSubscribeSwing();
    void TryToConsumeSwingCache(int32_t pid);
    void ReplaySwing(int32_t pid);
    void ReplayToAll();
    [[nodiscard]] bool NextReplay(int32_t& pid);

    void NotifyUserKnock(ShareDeviceInfo& device, const std::vector<int32_t>& focusedPids);
    void NotifyUserSwing(ShareDeviceInfo& device, const std::vector<int32_t>& focusedPids);
    void UpdateAlternativeCbsByForeground(std::vector<AlternativeCb>& alternativeCbs);
    [[nodiscard]] bool TellNewest(
        int32_t eventId, const std::vector<AlternativeCb>& alternativeCbs, const ShareDeviceInfo& device);

    mutable Mutex mutex_{"CorvaneShareCallbackManager::mutex_", LockRank::LEAF};
    wptr<TrellisService> trellisServicePtr_ SHARE_GUARDED_BY(mutex_);
    std::shared_ptr<ShareRadarDfx> lastRadar_ SHARE_GUARDED_BY(mutex_); // of the device that came last

    // A callback object and the watch over it come and go together, but for those that their processes took back while
    // they wanted events: these are watched until the process registers another or dies. Taken before the mutexes of
    // the registrations, apiMutex_ and deathMutex_, and never with knockSubscriptionMutex_.
    Mutex registrationMutex_{"CorvaneShareCallbackManager::registrationMutex_", LockRank::EVENT_SUBSCRIPTION};
    std::map<int32_t, sptr<PelagoApiCallback>> keptWatches_ SHARE_GUARDED_BY(registrationMutex_);

    // The callback object of each process, never null; and how many, for who may not wait for an application.
    mutable Mutex apiMutex_{"CorvaneShareCallbackManager::apiMutex_", LockRank::API_CALLBACKS};
    std::map<int32_t, sptr<PelagoApiCallback>> apiCallbacks_ SHARE_GUARDED_BY(apiMutex_);
    std::atomic<size_t> apiCallbackCount_{0};

    // Who hears of their deaths. Held from the request for the death on: a death in between waits for the entry.
    mutable Mutex deathMutex_{"CorvaneShareCallbackManager::deathMutex_", LockRank::LEAF};
    std::map<sptr<IRemoteObject>, sptr<IRemoteObject::DeathRecipient>> deathRecipients_ SHARE_GUARDED_BY(deathMutex_);

    // The processes that a remembered gesture is still to be offered to, each once, and what the thread that does so
    // holds: it is gone with the thread, however that ends.
    Mutex replayQueueMutex_{"CorvaneShareCallbackManager::replayQueueMutex_", LockRank::LEAF};
    std::deque<int32_t> replayPids_ SHARE_GUARDED_BY(replayQueueMutex_);
    std::weak_ptr<const char> replayer_ SHARE_GUARDED_BY(replayQueueMutex_);

    // Held while the subscription for knocks is brought in line with the registrations, so that the last decision is
    // the one that stands. Taken before the mutex of the registrations, which is never held across the request.
    Mutex knockSubscriptionMutex_{"CorvaneShareCallbackManager::knockSubscriptionMutex_", LockRank::EVENT_SUBSCRIPTION};
    EventCallbacks knockCallbacks{"knockShare", "CorvaneShareCallbackManager::knockMutex"};
    EventCallbacks swingCallbacks{"gesturesShare", "CorvaneShareCallbackManager::swingMutex"};
};

} // namespace OHOS::Pelago

#endif // PELAGO_GESTURE_CORVANE_SHARE_CALLBACK_MANAGER_H
