#include "core/trellis_service.h"

#include <utility>

#include "common_utils.h"
#include "discovery/sm_publish_callback.h"
#include "discovery/sm_subscribe_callback.h"
#include "gesture/corvane_share_callback_manager.h"
#include "gesture/share_focus_listener.h"
#include "gesture/swing_adapter.h"
#include "iservice_registry.h"
#include "share_client.h"
#include "switch/share_switch_manager.h"
#include "tap/motion_receiver_callback.h"
#include "tap/motion_sender_callback.h"
#include "transfer/sm_receive_callback.h"

namespace OHOS::Pelago {
namespace {

constexpr bool RUN_ON_CREATE = true;

// The ability is made and registered when the program is loaded, before the statics below come to life.
const bool g_registered = SystemAbility::MakeAndRegisterAbility(new TrellisService(TRELLIS_SERVICE_ID, RUN_ON_CREATE));

} // namespace

Mutex TrellisService::trellisCallbackMutex_{"trellisCallbackMutex_", LockRank::TRELLIS_CALLBACKS};
Mutex TrellisService::corvaneShareApiCBMutex_{"corvaneShareApiCBMutex_", LockRank::SHARE_API_CALLBACKS};
Mutex TrellisService::publishMutex_{"publishMutex_", LockRank::PUBLISH};
Mutex TrellisService::subscribeMutex_{"subscribeMutex_", LockRank::SUBSCRIBE};
Mutex TrellisService::receiveMutex_{"receiveMutex_", LockRank::RECEIVE};
Mutex TrellisService::senderActionCallbackMutex_{"senderActionCallbackMutex_", LockRank::SENDER_ACTION};
Mutex TrellisService::motionReceiverMutex_{"motionReceiverMutex_", LockRank::MOTION_RECEIVER};
Mutex TrellisService::motionSenderMutex_{"motionSenderMutex_", LockRank::MOTION_SENDER};
Mutex TrellisService::nudgeSubListenerMutex_{"nudgeSubListenerMutex_", LockRank::LEAF};
RecursiveMutex TrellisService::deathTrellisCallbackMutex_{"deathTrellisCallbackMutex_", LockRank::DEATH_TRELLIS};
RecursiveMutex TrellisService::deathReceiveCallbackMutex_{"deathReceiveCallbackMutex_", LockRank::DEATH_RECEIVE};

sptr<IPublishListener> TrellisService::publishListener_ = new SMPublishCallback();
sptr<ISubscribeListener> TrellisService::subscribeListener_ = new SMSubscribeCallback();
sptr<SMReceiveCallback> TrellisService::receiveListener_ = new SMReceiveCallback();
TrellisService::CallbackVector TrellisService::trellisCBProxyVector_;
TrellisService::CallbackVector TrellisService::corvaneShareApiCBVector_;
sptr<ISenderActionCallback> TrellisService::senderActionCallback_;
bool TrellisService::isSubscribe_ = false;
std::map<sptr<IRemoteObject>, sptr<TrellisService::DeathRecipient>> TrellisService::deathTrellisCallbackMap_;
std::map<sptr<IRemoteObject>, sptr<TrellisService::ReceiveDeathRecipient>> TrellisService::deathReceiveCallbackMap_;
std::map<int32_t, sptr<PelagoTrellisServiceCallback>> TrellisService::trellisCallbackFlagMap_;
sptr<MotionReceiverCallback> TrellisService::motionReceiverCb_;
sptr<MotionSenderCallback> TrellisService::motionSenderCb_;
sptr<ISubscribeListener> TrellisService::nudgeSubListener_;
std::atomic<size_t> TrellisService::trellisCallbackCount_{0};
std::atomic<size_t> TrellisService::shareApiCallbackCount_{0};
std::atomic<int64_t> TrellisService::lastNotifyThermalTime_{0};
std::atomic<bool> TrellisService::isKnockShareRegistered_{false};

TrellisService::TrellisService(int32_t systemAbilityId, bool runOnCreate) : SystemAbility(systemAbilityId, runOnCreate)
{
    SHARE_LOGD(Log::SERVICE, "Add SystemAbility");
}

TrellisService::~TrellisService()
{
    SHARE_LOGD(Log::SERVICE, "~TrellisService()");
}

std::string TrellisService::GetClassName()
{
    return "TrellisService";
}

void TrellisService::OnStart()
{
    SHARE_LOGI(Log::SERVICE, "OnStart() enter");
    SHARE_LOGI(Log::SERVICE, "init listener and callback");
    {
        MutexLock callbacks(trellisCallbackMutex_);
        MutexLock shareApiCallbacks(corvaneShareApiCBMutex_);
        MutexLock senderAction(senderActionCallbackMutex_);
        trellisCBProxyVector_.clear();
        trellisCallbackCount_ = 0;
        corvaneShareApiCBVector_.clear();
        shareApiCallbackCount_ = 0;
        senderActionCallback_ = nullptr;
    }
    DelayedSingleton<ShareSwitchManager>::GetInstance()->Init(this);
    DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->Init(this);
    DelayedSingleton<SwingAdapter>::GetInstance()->Init(this);
    if (Publish(this)) {
        SHARE_LOGI(Log::SERVICE, "OnStart register TrellisService to system ability manager success");
    } else {
        SHARE_LOGE(Log::SERVICE, "OnStart register TrellisService to system ability manager failed");
    }
    StartWatching();
    AddSwitchDependencySaListenerAndInitShareState();
    SHARE_LOGI(Log::SERVICE, "OnStart() exit");
}

// What is not there yet is listened for. A listener that cannot be added is nobody's to report: without the platform's
// own framework there is no service.
void TrellisService::StartWatching()
{
    if (IsSystemAbilityStarted(ABILITY_SYNFOLD_DETECT)) {
        SHARE_LOGE(Log::SERVICE, "OnStart SYNFOLD_DETECT start");
        (void)RegisterMotionReceiverListener(); // logs its own failure; the ability's next arrival tries again
    } else {
        SHARE_LOGI(Log::SERVICE, "Add SYNFOLD_DETECT_ID listener");
        (void)AddSystemAbilityListener(ABILITY_SYNFOLD_DETECT);
    }
    if (IsSystemAbilityStarted(ABILITY_COMMON_EVENT)) {
        SubscribeCommonEvent();
    } else {
        (void)AddSystemAbilityListener(ABILITY_COMMON_EVENT);
    }
}

void TrellisService::OnStop()
{
    SHARE_LOGI(Log::SERVICE, "OnStop() enter");
    (void)UnRegisterMotionReceiverListener(); // always true
    (void)UnRegisterMotionSenderListener();   // always true
    ClearResource();
    MutexLock callbacks(trellisCallbackMutex_);
    trellisCBProxyVector_.clear();
    trellisCallbackCount_ = 0;
    // The hubs of the share API stay in their list; OnStart empties it.
    MutexLock senderAction(senderActionCallbackMutex_);
    senderActionCallback_ = nullptr;
}

bool TrellisService::IsSystemAbilityStarted(int32_t systemAbilityId)
{
    sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (manager == nullptr) {
        SHARE_LOGE(Log::SERVICE, "GetSystemAbilityManager return nullptr");
        return false;
    }
    if (manager->GetSystemAbility(systemAbilityId) == nullptr) {
        SHARE_LOGE(Log::SERVICE, "GetSystemAbility return nullptr, systemAbilityId=%{public}d", systemAbilityId);
        return false;
    }
    return true;
}

void TrellisService::SubscribeCommonEvent()
{
    SHARE_LOGI(Log::SERVICE, "SubscribeCommonEvent enter.");
    // What failed is tried again when the common event service comes back.
    (void)DelayedSingleton<ShareSwitchManager>::GetInstance()->SubscribeCommonEvent();
}

void TrellisService::AddSwitchDependencySaListenerAndInitShareState()
{
    SHARE_LOGI(Log::SERVICE, "AddSwitchDependencySaListenerAndInitShareState invoked");
    bool dataStarted = IsSystemAbilityStarted(ABILITY_DISTRIBUTED_DATA);
    if (!dataStarted) {
        (void)AddSystemAbilityListener(ABILITY_DISTRIBUTED_DATA); // see StartWatching; so below
    }
    bool timeStarted = IsSystemAbilityStarted(ABILITY_TIME);
    if (!timeStarted) {
        (void)AddSystemAbilityListener(ABILITY_TIME);
    }
    if (!IsSystemAbilityStarted(ABILITY_OS_ACCOUNT)) {
        (void)AddSystemAbilityListener(ABILITY_OS_ACCOUNT);
    } else if (dataStarted && timeStarted) {
        InitShareState();
    }
    // These two are wanted for their removal alone.
    (void)AddSystemAbilityListener(ABILITY_BLUETOOTH_HOST);
    (void)AddSystemAbilityListener(ABILITY_WIFI);
    if (IsSystemAbilityStarted(ABILITY_WINDOW_MANAGER)) {
        ShareFocusListener::RegisterFocusListener();
    } else {
        (void)AddSystemAbilityListener(ABILITY_WINDOW_MANAGER);
    }
}

bool TrellisService::AreAllDependencySaReady()
{
    bool ready = IsSystemAbilityStarted(ABILITY_DISTRIBUTED_DATA) && IsSystemAbilityStarted(ABILITY_TIME) &&
                 IsSystemAbilityStarted(ABILITY_OS_ACCOUNT);
    SHARE_LOGI(Log::SERVICE, "AreAllDependencySaReady ret: %{public}d", ready);
    return ready;
}

void TrellisService::InitShareState()
{
    if (!AreAllDependencySaReady()) {
        SHARE_LOGI(Log::SERVICE, "dependency services not all ready");
        return;
    }
    int userId = USER_ID_INVALID;
    if (!CommonUtils::GetCurrentForegroundUserId(userId)) {
        SHARE_LOGE(Log::SERVICE, "GetCurrentForegroundUserId failed");
        return;
    }
    DelayedSingleton<ShareSwitchManager>::GetInstance()->HandleOnUserSwitched(userId);
}

void TrellisService::OnAddSystemAbility(int32_t systemAbilityId, const std::string&)
{
    SHARE_LOGI(Log::SERVICE, "OnAddSystemAbility enter");
    switch (systemAbilityId) {
        case ABILITY_OS_ACCOUNT:
        case ABILITY_DISTRIBUTED_DATA:
        case ABILITY_TIME:
            if (AreAllDependencySaReady()) {
                SHARE_LOGI(Log::SERVICE, "OnAddSystemAbility systemAbilityId: %{public}d", systemAbilityId);
                InitShareState();
            }
            break;
        case ABILITY_COMMON_EVENT:
            SHARE_LOGI(Log::SERVICE, "OnAddSystemAbility %{public}d", systemAbilityId);
            SubscribeCommonEvent();
            break;
        case ABILITY_WINDOW_MANAGER:
            SHARE_LOGI(Log::SERVICE, "OnAddSystemAbility %{public}d", systemAbilityId);
            ShareFocusListener::RegisterFocusListener();
            break;
        case ABILITY_SYNFOLD_DETECT:
            SHARE_LOGI(Log::SERVICE, "OnAddSystemAbility Synfold detect %{public}d", systemAbilityId);
            (void)RegisterMotionReceiverListener(); // logs its own failure
            break;
        default: // an open set: the radios among others, whose arrival their own events tell
            break;
    }
}

void TrellisService::OnRemoveSystemAbility(int32_t systemAbilityId, const std::string&)
{
    SHARE_LOGI(Log::SERVICE, "OnRemoveSystemAbility: %{public}d", systemAbilityId);
    if (systemAbilityId != ABILITY_BLUETOOTH_HOST && systemAbilityId != ABILITY_WIFI) {
        return;
    }
    SHARE_LOGI(Log::SERVICE, "wifi or bluetooth sa removed");
    auto switchManager = DelayedSingleton<ShareSwitchManager>::GetInstance();
    switchManager->HandleOnWifiOrBluetoothStateChanged(false);
    if (systemAbilityId == ABILITY_BLUETOOTH_HOST) {
        switchManager->HandleOnBluetoothSaRemoved();
    }
}

// The locks nest, each taken where the thing that it guards is reached. What is dropped is destroyed under them, since
// none of the destructors waits for a thread; but for the tap callbacks, which may wait for the framework.
void TrellisService::ClearResource()
{
    sptr<MotionSenderCallback> sender;
    sptr<MotionReceiverCallback> receiver;
    MutexLock publish(publishMutex_);
    publishListener_ = nullptr;
    MutexLock subscribe(subscribeMutex_);
    subscribeListener_ = nullptr;
    MutexLock receive(receiveMutex_);
    receiveListener_ = nullptr;
    DelayedSingleton<ShareSwitchManager>::GetInstance()->Release();
    DelayedSingleton<ShareSwitchManager>::DestroyInstance();
    DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->Release();
    DelayedSingleton<CorvaneShareCallbackManager>::DestroyInstance();
    MutexLock motionSender(motionSenderMutex_);
    sender = std::exchange(motionSenderCb_, nullptr);
    MutexLock motionReceiver(motionReceiverMutex_);
    receiver = std::exchange(motionReceiverCb_, nullptr);
}

bool TrellisService::SetPublishAndReceiveState(bool enable)
{
    sptr<IPublishListener> publishListener;
    {
        MutexLock lock(publishMutex_);
        publishListener = publishListener_;
    }
    sptr<SMReceiveCallback> receiveListener;
    {
        MutexLock lock(receiveMutex_);
        receiveListener = receiveListener_;
    }
    if (publishListener == nullptr || receiveListener == nullptr) {
        SHARE_LOGE(Log::SERVICE, "Publish listener or Receive listener is null");
        return false;
    }
    if (!DelayedRefSingleton<ShareClient>::GetInstance().ConnectWithRetry()) {
        SHARE_LOGE(Log::SERVICE, "connect ShareClient failed.");
        return false;
    }
    // What the first step did stays when the second fails: nothing is taken back.
    return SetPublishState(enable, publishListener) && SetReceiveState(enable, receiveListener);
}

bool TrellisService::SetPublishState(bool enable, const sptr<IPublishListener>& listener)
{
    auto& client = DelayedRefSingleton<ShareClient>::GetInstance();
    MutexLock lock(publishMutex_);
    if (!enable) {
        if (!client.UnPublish(ENGINE_PUBLISH_ID, listener)) {
            SHARE_LOGE(Log::SERVICE, "unPublish false");
            return false;
        }
        return true;
    }
    if (!client.Publish(listener)) {
        SHARE_LOGE(Log::SERVICE, "Publish false");
        return false;
    }
    SHARE_LOGD(Log::SERVICE, "Publish successfully");
    return true;
}

bool TrellisService::SetReceiveState(bool enable, const sptr<SMReceiveCallback>& listener)
{
    auto& client = DelayedRefSingleton<ShareClient>::GetInstance();
    MutexLock lock(receiveMutex_);
    if (enable && !client.RegisterReceiveListener(listener)) {
        SHARE_LOGE(Log::SERVICE, "RegisterReceiveListener false");
        return false;
    }
    if (!enable && !client.UnRegisterReceiveListener(listener)) {
        SHARE_LOGE(Log::SERVICE, "UnRegisterReceiveListener false");
        return false;
    }
    return true;
}

// The hubs of the share API are not told.
void TrellisService::NotifyCallbackOnEnableStatusChanged()
{
    const char* const function = __FUNCTION__;
    ForEachTrellisCallback([function](const sptr<PelagoTrellisServiceCallback>& callback) {
        SHARE_LOGI_AS(function, Log::SERVICE, "OnEnableStatusChanged");
        callback->OnEnableStatusChanged();
    });
}

TrellisService::ListSizes TrellisService::GetListSizes()
{
    ListSizes sizes{};
    {
        RecursiveLock lock(deathTrellisCallbackMutex_);
        sizes.deathRecipients = deathTrellisCallbackMap_.size();
        sizes.callbackFlags = trellisCallbackFlagMap_.size();
    }
    {
        RecursiveLock lock(deathReceiveCallbackMutex_);
        sizes.receiveDeathRecipients = deathReceiveCallbackMap_.size();
    }
    MutexLock lock(senderActionCallbackMutex_);
    sizes.senderActionCallback = senderActionCallback_ != nullptr;
    sizes.trellisCallbacks = trellisCallbackCount_;
    sizes.shareApiCallbacks = shareApiCallbackCount_; // not under its lock: an application may be called with it held
    return sizes;
}

} // namespace OHOS::Pelago
