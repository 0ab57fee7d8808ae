#include "core/trellis_service.h"

#include "discovery/cache_map_manager.h"
#include "discovery/sm_subscribe_callback.h"
#include "gesture/corvane_share_callback_manager.h"
#include "gesture/swing_adapter.h"
#include "share_client.h"
#include "transfer/corvane_share_manager.h"
#include "want.h"

// A swing, from the gesture by way of the application and the cache to the device that the hand points at.
namespace OHOS::Pelago {
namespace {

constexpr int32_t GESTURE_NONE = -1;
constexpr int32_t GESTURE_SWING = 0;
constexpr int32_t LIVE_GESTURE = -1; // in place of a process that has just registered

// How the framework shows the content: as usual, or as what was waited for.
constexpr int32_t SHOW_MODE_USUAL = 1;
constexpr int32_t SHOW_MODE_REMEMBERED = 6;

// The values of swingcacheType_.
constexpr int32_t CACHE_EMPTY = 0;
constexpr int32_t CACHE_FILES = 1;
constexpr int32_t CACHE_URIS = 2;
constexpr int32_t CACHE_BYTES = 3;

// Stands for the target, which nobody knows yet when the application is asked for its content.
constexpr const char* PLACEHOLDER_ID = "-1";

constexpr uint32_t CAPABILITY_BYTES = 4;
constexpr int32_t STATUS_ENDED = 100;
constexpr int32_t SWING_EVENT_OVER = 10000;
constexpr int32_t RADAR_SEND_FAILED = 444661761;

std::shared_ptr<SwingAdapter> Adapter()
{
    return DelayedSingleton<SwingAdapter>::GetInstance();
}

ShareClient& Engine()
{
    return DelayedRefSingleton<ShareClient>::GetInstance();
}

std::shared_ptr<ShareRadarDfx> NewSwingRadar(const std::string& concurrentId)
{
    auto radar = std::make_shared<ShareRadarDfx>();
    radar->InitBizStageInfo("pelago", RadarTrigger::SWING, RADAR_COMM_SERV, RadarScene::SEND);
    radar->SetConcurrentId(concurrentId);
    return radar;
}

void ReportGesture(ShareRadarDfx& radar, int32_t result)
{
    radar.ReportSwingDiscoveryEvent("TrellisService::NotifyCorvaneShareApiCBOnSwingEvent", RadarStage::SWING_GESTURE,
        result, RadarState::IN_PROGRESS, 0);
}

ShareDeviceInfo Placeholder(const std::string& concurrentId)
{
    ShareDeviceInfo device;
    device.deviceId = PLACEHOLDER_ID;
    device.discoveredBy = Discoverer::SWING;
    device.isOHDevice = true;
    device.concurrentId = concurrentId;
    return device;
}

bool IsPlaceholder(const ShareDeviceInfo& device)
{
    return device.deviceId == PLACEHOLDER_ID && device.IsContainDiscoverer(Discoverer::SWING);
}

void ShowSwingFailed()
{
    Adapter()->SwingPublishService(SwingService::ROLE_SENDER, SwingService::STATE_FAILED, "");
}

} // namespace

Mutex TrellisService::swingSubscribeMutex_{"swingSubscribeMutex_", LockRank::LEAF};
Mutex TrellisService::replayMutex_{"replayMutex_", LockRank::REPLAY};
Mutex TrellisService::gestureDecisionMutex_{"gestureDecisionMutex_", LockRank::EVENT_SUBSCRIPTION};
RecursiveMutex TrellisService::swingcacheMutex_{"swingcacheMutex_", LockRank::SWING_CACHE};
Mutex TrellisService::swingMemoryMutex_{"swingMemoryMutex_", LockRank::LEAF};
sptr<ISubscribeListener> TrellisService::swingSubscribeListener_;
bool TrellisService::isSwingShareRegistered_ = false;
int32_t TrellisService::cashGesture_ = GESTURE_NONE;
std::string TrellisService::cacheConcurrentId_;
sptr<SendBean> TrellisService::swingCacheSendBean_;
sptr<DataBean> TrellisService::swingCacheDataBean_;
sptr<BytesInfo> TrellisService::swingCacheByteBean_;
std::string TrellisService::swingcachePackage_;
DescriptorShare TrellisService::swingCacheFiles_;
std::atomic<int32_t> TrellisService::swingcacheType_{CACHE_EMPTY};
std::atomic<int32_t> TrellisService::swingShowMode_{SHOW_MODE_USUAL};
std::atomic<bool> TrellisService::swingSending_{false};

void TrellisService::RememberGesture(const std::string& concurrentId)
{
    MutexLock lock(swingMemoryMutex_);
    cashGesture_ = GESTURE_SWING;
    cacheConcurrentId_ = concurrentId;
    swingShowMode_ = SHOW_MODE_REMEMBERED; // and nothing sets it back: that is meant
}

void TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(
    int32_t gesture, int32_t, int32_t, const std::string& concurrentId, int32_t registerSwingPid)
{
    SHARE_LOGI(Log::SERVICE, "gesture %{public}d registerSwingPid %{public}d ", gesture, registerSwingPid);
    MutexLock lock(corvaneShareApiCBMutex_);
    if (gesture != GESTURE_SWING) {
        return;
    }
    CorvaneShareManager::ConnectCorvaneShareApiServiceEx();
    std::vector<int32_t> pids;
    {
        MutexLock decision(gestureDecisionMutex_);
        if (IsSwingEventNeedCache(registerSwingPid, pids)) {
            RememberGesture(concurrentId);
            return;
        }
    }
    const std::shared_ptr<ShareRadarDfx> radar = NewSwingRadar(concurrentId);
    ReportGesture(*radar, RadarResult::STARTED);
    Adapter()->SwingSubscribeNotifyDiscon();
    Adapter()->SwingPublishService(SwingService::ROLE_SENDER, SwingService::STATE_UNDER_WAY, "");
    ShareDeviceInfo device = Placeholder(concurrentId);
    DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->NotifyUserDeviceFound(device, pids, radar);
    ReportGesture(*radar, RadarResult::SUCCESS);
}

// A gesture that was remembered once is not remembered again.
bool TrellisService::IsSwingEventNeedCache(int32_t registerSwingPid, std::vector<int32_t>& pids)
{
    if (registerSwingPid != LIVE_GESTURE) {
        pids = {registerSwingPid};
        SHARE_LOGI(Log::SERVICE, "Triggered by register swing event, no need cache.");
        return false;
    }
    if (HasFocusedPidsRegisterSwing(pids)) {
        SHARE_LOGI(Log::SERVICE, "Focus pid has registered, no need cache.");
        return false;
    }
    pids.clear();
    SHARE_LOGI(Log::SERVICE, "SwingEventNeedCache.");
    return true;
}

// Forgotten only once the application was told: a gesture that is remembered meanwhile goes with it.
void TrellisService::TryToConsumeSwingCache(int32_t pid)
{
    MutexLock replay(replayMutex_);
    std::string concurrentId;
    {
        MutexLock decision(gestureDecisionMutex_);
        MutexLock lock(swingMemoryMutex_);
        if (cashGesture_ != GESTURE_SWING) {
            return;
        }
        concurrentId = cacheConcurrentId_;
    }
    NotifyCorvaneShareApiCBOnSwingEvent(GESTURE_SWING, 0, 0, concurrentId, pid);
    MutexLock lock(swingMemoryMutex_);
    cashGesture_ = GESTURE_NONE;
    cacheConcurrentId_.clear();
}

// The concurrent id stays, and means nothing without the gesture.
void TrellisService::ForgetGesture()
{
    MutexLock lock(swingMemoryMutex_);
    cashGesture_ = GESTURE_NONE;
}

// Content of another kind stays beside the new one, which counts, until the cache is emptied. So below.
bool TrellisService::SwingCacheSendBean(
    const ShareDeviceInfo& device, const SendBean& bean, const std::string& packageName)
{
    if (!IsPlaceholder(device)) {
        return false;
    }
    RecursiveLock lock(swingcacheMutex_);
    auto copy = MakeSptr<SendBean>(bean);
    DescriptorShare files = DescriptorLedger::ShareOf(bean);
    {
        MutexLock memory(swingMemoryMutex_);
        std::swap(swingCacheSendBean_, copy);
        std::swap(swingCacheFiles_, files);
        swingcacheType_ = CACHE_FILES;
        swingSending_ = false;
        swingcachePackage_ = packageName;
    }
    Adapter()->SwingPublishServiceWithPreviewExtra(
        SwingService::ROLE_SENDER, SwingService::STATE_UNDER_WAY, bean.GetThumbnail(), bean.GetText(), swingShowMode_);
    return true;
}

bool TrellisService::SwingCacheDataBean(
    const ShareDeviceInfo& device, const DataBean& bean, const std::string& packageName)
{
    if (!IsPlaceholder(device)) {
        return false;
    }
    RecursiveLock lock(swingcacheMutex_);
    auto copy = MakeSptr<DataBean>(bean);
    {
        MutexLock memory(swingMemoryMutex_);
        std::swap(swingCacheDataBean_, copy);
        swingcacheType_ = CACHE_URIS;
        swingSending_ = false;
        swingcachePackage_ = packageName;
    }
    Adapter()->SwingPublishServiceWithPreviewExtra(
        SwingService::ROLE_SENDER, SwingService::STATE_UNDER_WAY, bean.GetThumbnail(), bean.GetText(), swingShowMode_);
    return true;
}

bool TrellisService::SwingCacheByteBean(const ShareDeviceInfo& device, const BytesInfo& bytes)
{
    if (!IsPlaceholder(device)) {
        return false;
    }
    RecursiveLock lock(swingcacheMutex_);
    auto copy = MakeSptr<BytesInfo>(bytes);
    {
        MutexLock memory(swingMemoryMutex_);
        std::swap(swingCacheByteBean_, copy);
        swingcacheType_ = CACHE_BYTES;
        swingSending_ = false;
    }
    Adapter()->SwingPublishServiceWithPreviewExtra(SwingService::ROLE_SENDER, SwingService::STATE_UNDER_WAY,
        bytes.GetPreviewData(), bytes.GetText(), swingShowMode_);
    return true;
}

// What was in it goes outside the lock: descriptors may be closed by that.
void TrellisService::ClearSwingCache()
{
    sptr<SendBean> files;
    sptr<DataBean> uris;
    sptr<BytesInfo> bytes;
    DescriptorShare descriptors;
    MutexLock lock(swingMemoryMutex_);
    swingcacheType_ = CACHE_EMPTY;
    std::swap(files, swingCacheSendBean_);
    std::swap(uris, swingCacheDataBean_);
    std::swap(bytes, swingCacheByteBean_);
    std::swap(descriptors, swingCacheFiles_);
}

bool TrellisService::NotSupportSwingByteShare(const ShareDeviceInfo& device)
{
    const int32_t capability = device.GetCapability();
    SHARE_LOGI(Log::SERVICE, "capability %{public}d", capability);
    if ((static_cast<uint32_t>(capability) & CAPABILITY_BYTES) != 0) {
        return false;
    }
    MutexLock lock(swingMemoryMutex_);
    return swingcacheType_ == CACHE_BYTES && swingCacheByteBean_ != nullptr;
}

void TrellisService::SwingSend(const ShareDeviceInfo& device)
{
    const int32_t type = swingcacheType_;
    const bool notSupported = NotSupportSwingByteShare(device);
    SHARE_LOGI(Log::SERVICE,
        "corvaneShareApiCBVector size %{public}ld type %{public}d discov %{public}d         "
        "NotSupportSwingByteShare %{public}d",
        static_cast<long>(shareApiCallbackCount_.load()), type, static_cast<int>(device.GetDiscoveredBy()),
        notSupported);
    const bool hasContent = type >= CACHE_FILES && type <= CACHE_BYTES;
    if (!hasContent || notSupported) {
        TransmitEventType transType = TransmitEventType::ORDINARY;
        (void)CheckAndClearDeviceDiscoveredByFlag(device, true, transType); // a miss is logged there
        if (hasContent) {
            (void)SwingSendFail(device, TransferError::BYTES_NOT_TAKEN); // the caller knows that it is a swing's
        }
        return;
    }
    (void)PrepareForSend(device); // what it refuses is refused again by the send
    RecursiveLock lock(swingcacheMutex_);
    std::string concurrentId;
    const bool sent = SendSwingCache(device, type, concurrentId);
    ClearSwingCache();
    if (sent) {
        swingSending_ = true;
    } else if (!concurrentId.empty()) {
        NewSwingRadar(concurrentId)
            ->ReportSwingDiscoveryEvent("TrellisService::SwingSend", RadarStage::SWING_SEND, RadarResult::FAILED,
                RadarState::END, RADAR_SEND_FAILED);
    }
}

// The references are held for the length of the send, which may itself empty the cache.
bool TrellisService::SendSwingCache(const ShareDeviceInfo& device, int32_t type, std::string& concurrentId)
{
    sptr<SendBean> files;
    sptr<DataBean> uris;
    sptr<BytesInfo> bytes;
    std::string package;
    DescriptorShare descriptors;
    {
        MutexLock lock(swingMemoryMutex_);
        files = swingCacheSendBean_;
        uris = swingCacheDataBean_;
        bytes = swingCacheByteBean_;
        package = swingcachePackage_;
        descriptors = swingCacheFiles_;
    }
    if (type == CACHE_BYTES && bytes != nullptr) {
        concurrentId = bytes->GetConCurrentId();
        return SendBytesForDevice(device, *bytes);
    }
    if (type == CACHE_URIS && uris != nullptr) {
        concurrentId = uris->GetConCurrentId();
        return SendFileForDevice(device, *uris, package);
    }
    if (type == CACHE_FILES && files != nullptr) {
        concurrentId = files->GetConCurrentId();
        return SendForDevice(device, *files, package);
    }
    return false;
}

bool TrellisService::SwingSendFail(const ShareDeviceInfo& device, int32_t errorCode)
{
    const bool isSwing = device.IsContainDiscoverer(Discoverer::SWING);
    SHARE_LOGI(Log::SERVICE, "DiscoveredBy %{public}d IsContainDisc %{public}d",
        static_cast<int>(device.GetDiscoveredBy()), isSwing);
    if (!isSwing) {
        return false;
    }
    (void)NudgeNotifyConnectFailed(errorCode); // always true
    RecursiveLock lock(swingcacheMutex_);
    ForgetGesture();
    ClearSwingCache();
    ShowSwingFailed();
    Engine().ReportSwingEvent(SWING_EVENT_OVER, 0, 0, "");
    return true;
}

// Does not wait for a send that runs. Whether content is being sent stays true after the end: that is meant.
void TrellisService::HandleOnSwingStatus(int32_t role, std::string& deviceId, int32_t code)
{
    SHARE_LOGI(Log::SERVICE, "Enter roler %{public}d deviceId %{public}s code %{public}d sending %{public}d", role,
        deviceId.c_str(), code, swingSending_.load());
    if (role == SwingService::ROLE_SENDER) {
        if (swingSending_ && !deviceId.empty()) {
            ShareDeviceInfo device;
            device.deviceId = deviceId;
            (void)CommonCancel(device); // its transfer may have ended by itself
        }
        if (code == STATUS_ENDED) {
            ForgetGesture();
            ClearSwingCache();
            return;
        }
    }
    CorvaneShareManager::StartFailedNotificationForNudge(code);
}

void TrellisService::SetSwingShowMode(int32_t showMode)
{
    swingShowMode_ = showMode;
}

bool TrellisService::SwingConfirm(const ShareDeviceInfo& device, int32_t choice)
{
    for (const ShareDeviceInfo& member : CacheMapManager::GetShareDeviceInfoList(device)) {
        const sptr<PelagoSender> sender = CacheMapManager::GetShareSenderById(member.GetDeviceId());
        if (sender != nullptr) {
            sender->SwingConfirm(choice);
            return true;
        }
        SHARE_LOGE(Log::SERVICE, "cancelDtcpSender is not found, cancel fail");
    }
    return false;
}

void TrellisService::HandleOnPopSwing(const ShareDeviceInfo& device, bool show)
{
    SHARE_LOGE(Log::PROXY, "HandleOnPopSwing invoked.");
    AAFwk::Want want;
    want.SetElementName(FRONT_END_BUNDLE, ABILITY_SWING_SEND_CONFIRM);
    want.SetParam(INTENT_KEY_SWING, show ? "swingSendConfirm" : "closeSwingSendConfirm");
    want.SetParam("deviceId", device.GetDeviceId());
    want.SetParam("senderName", device.GetBtName());
    want.SetParam("nickName", device.GetCorvaneIdName());
    want.SetParam("isTrust", false);
    CorvaneShareManager::StartService(want);
    SHARE_LOGI(Log::SERVICE, "OnPopSwing recv preview exit");
}

bool TrellisService::RegisterSwingSubscribeListener()
{
    MutexLock lock(swingSubscribeMutex_);
    if (isSwingShareRegistered_) {
        SHARE_LOGI(Log::SERVICE, "already registered.");
        return true;
    }
    if (swingSubscribeListener_ == nullptr) {
        swingSubscribeListener_ = new SMSubscribeCallback();
    }
    if (!Engine().SwingSubscribe(swingSubscribeListener_)) {
        SHARE_LOGE(Log::SERVICE, "SwingSubscribe failed.");
        return false;
    }
    isSwingShareRegistered_ = true;
    return true;
}

// Goes by, and clears, the flag of taps, and leaves that of swings alone: that is meant.
bool TrellisService::UnRegisterSwingSubscribeListener()
{
    MutexLock lock(swingSubscribeMutex_);
    if (!isKnockShareRegistered_) {
        SHARE_LOGI(Log::SERVICE, "not registered.");
        return true;
    }
    if (swingSubscribeListener_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "swingSubscribeListener nullptr.");
        return false;
    }
    if (!Engine().SwingUnSubscribe(swingSubscribeListener_)) {
        SHARE_LOGE(Log::SERVICE, "SwingUnSubscribe failed.");
        return false;
    }
    isKnockShareRegistered_ = false;
    return true;
}

TrellisService::SwingView TrellisService::GetSwingView()
{
    SwingView view{GESTURE_NONE, "", swingShowMode_, swingcacheType_, swingSending_, false};
    {
        MutexLock lock(swingSubscribeMutex_);
        view.subscribed = isSwingShareRegistered_;
    }
    MutexLock lock(swingMemoryMutex_);
    view.gesture = cashGesture_;
    view.concurrentId = cacheConcurrentId_;
    return view;
}

} // namespace OHOS::Pelago
