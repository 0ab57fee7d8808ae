#include "switch/share_setting_provider.h"

#include <vector>

#include "ipc_skeleton.h"
#include "iservice_registry.h"
#include "share_log.h"
#include "switch/share_setting_keys.h"

namespace OHOS::Pelago {
namespace {

constexpr const char* COLUMN_KEY = "KEYWORD";
constexpr const char* COLUMN_VALUE = "VALUE";

// A key's row is addressed by the table's URI and the key.
constexpr const char* GLOBAL_TABLE_URI =
    "datashare:///com.ohos.settingsdata/entry/settingsdata/SETTINGSDATA?Proxy=true";
constexpr const char* SECURE_TABLE_URI =
    "datashare:///com.ohos.settingsdata/entry/settingsdata/USER_SETTINGSDATA_SECURE_"; // and the user's id
constexpr const char* SECURE_TABLE_URI_END = "?Proxy=true";
constexpr const char* KEY_PARAMETER = "&key=";
constexpr const char* EXTENSION_URI =
    "datashare:///com.ohos.settingsdata.DataAbility/entry/settingsdata/SETTINGSDATA?Proxy=true";

// In its scope the thread acts as the service itself, also inside a client's request.
class AsService {
public:
    AsService() : identity_(IPCSkeleton::ResetCallingIdentity())
    {}
    ~AsService()
    {
        if (restores_) {
            IPCSkeleton::SetCallingIdentity(identity_);
        }
    }
    AsService(const AsService&) = delete;
    AsService& operator=(const AsService&) = delete;

    // The thread stays the service when the scope ends.
    void Keep()
    {
        restores_ = false;
    }

private:
    std::string identity_;
    bool restores_ = true;
};

DataShare::DataSharePredicates RowOf(const std::string& key)
{
    DataShare::DataSharePredicates predicates;
    predicates.EqualTo(COLUMN_KEY, key);
    return predicates;
}

} // namespace

Mutex ShareSettingProvider::mutex_{"ShareSettingProvider::mutex_", LockRank::LEAF};
sptr<IRemoteObject> ShareSettingProvider::remoteObj_;
std::atomic<ShareSettingProvider*> ShareSettingProvider::instance_{nullptr};

ShareSettingProvider& ShareSettingProvider::GetInstance(int systemAbilityId)
{
    if (auto* instance = instance_.load(std::memory_order_acquire); instance != nullptr) {
        return *instance;
    }
    MutexLock lock(mutex_);
    if (instance_.load(std::memory_order_relaxed) == nullptr) {
        Initialize(systemAbilityId);
        instance_.store(new ShareSettingProvider(), std::memory_order_release);
    }
    return *instance_.load(std::memory_order_relaxed);
}

void ShareSettingProvider::Initialize(int systemAbilityId)
{
    const auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (manager == nullptr) {
        SHARE_LOGE(Log::SERVICE, "GetSystemAbilityManager return nullptr");
        return;
    }
    auto remote = manager->GetSystemAbility(systemAbilityId);
    if (remote == nullptr) {
        SHARE_LOGE(Log::SERVICE, "GetSystemAbility return nullptr, systemAbilityId=%{public}d", systemAbilityId);
        return;
    }
    remoteObj_ = remote;
}

// Addresses

Uri ShareSettingProvider::AssembleUri(const std::string& key)
{
    return Uri(std::string(GLOBAL_TABLE_URI) + KEY_PARAMETER + key);
}

Uri ShareSettingProvider::AssembleUserSecureUri(int userId, const std::string& key)
{
    return Uri(SECURE_TABLE_URI + std::to_string(userId) + SECURE_TABLE_URI_END + KEY_PARAMETER + key);
}

std::shared_ptr<DataShare::DataShareHelper> ShareSettingProvider::CreateDataShareHelper()
{
    sptr<IRemoteObject> remote;
    {
        MutexLock lock(mutex_);
        remote = remoteObj_;
    }
    auto helper = DataShare::DataShareHelper::Create(remote, GLOBAL_TABLE_URI, EXTENSION_URI, OPEN_WAIT_SECONDS);
    if (helper == nullptr) {
        const int res = 0; // the database gives no reason
        SHARE_LOGE(Log::SERVICE, "helper is nullptr, uri=%{public}s, res=%{public}d", GLOBAL_TABLE_URI, res);
    }
    return helper;
}

void ShareSettingProvider::ReleaseHelper(DataShare::DataShareHelper& helper)
{
    if (!helper.Release()) {
        SHARE_LOGE(Log::SERVICE, "release helper fail");
    }
}

// Reading and writing

int32_t ShareSettingProvider::GetStringValue(const std::string& key, std::string& value)
{
    Uri uri = AssembleUri(key);
    return GetStringValueWithUri(uri, key, value);
}

int32_t ShareSettingProvider::GetStringValueWithUri(Uri& uri, const std::string& key, std::string& value)
{
    AsService asService;
    const auto helper = CreateDataShareHelper();
    if (helper == nullptr) {
        SHARE_LOGE(Log::SERVICE, "CreateDataShareHelper return nullptr");
        return SETTING_FAILED;
    }
    std::vector<std::string> columns{COLUMN_VALUE};
    const auto resultSet = helper->Query(uri, RowOf(key), columns);
    ReleaseHelper(*helper); // the rows outlive it
    if (resultSet == nullptr) {
        SHARE_LOGE(Log::SERVICE, "helper->Query return nullptr");
        return SETTING_FAILED;
    }
    int count = 0;
    (void)resultSet->GetRowCount(count); // fails only when closed
    if (count == 0) {
        SHARE_LOGI(Log::SERVICE, "not found value, key=%{public}s, count=%{public}d", key.c_str(), count);
        return SETTING_OK;
    }
    (void)resultSet->GoToRow(0); // there is one; without a current row the next line fails
    const int ret = resultSet->GetString(0, value);
    if (ret != DataShare::E_OK) {
        SHARE_LOGE(Log::SERVICE, "resultSet->GetString return not ok, ret=%{public}d", ret);
        return SETTING_FAILED;
    }
    resultSet->Close();
    return SETTING_OK;
}

int32_t ShareSettingProvider::PutStringValue(const std::string& key, const std::string& value, bool needNotify)
{
    Uri uri = AssembleUri(key);
    return PutStringValueWithUri(uri, key, value, needNotify);
}

int32_t ShareSettingProvider::PutSecurityStringValue(
    int userId, const std::string& key, const std::string& value, bool needNotify)
{
    Uri uri = AssembleUserSecureUri(userId, key);
    return PutStringValueWithUri(uri, key, value, needNotify);
}

int32_t ShareSettingProvider::PutStringValueWithUri(
    Uri& uri, const std::string& key, const std::string& value, bool needNotify)
{
    AsService asService;
    const auto helper = CreateDataShareHelper();
    if (helper == nullptr) {
        return SETTING_FAILED;
    }
    SHARE_LOGI(Log::SERVICE, "key=%{public}s, value=%{public}s", key.c_str(), value.c_str());
    DataShare::DataShareValuesBucket bucket;
    bucket.Put(COLUMN_KEY, key);
    bucket.Put(COLUMN_VALUE, value);
    if (helper->Update(uri, RowOf(key), bucket) < 1) {
        SHARE_LOGI(Log::SERVICE, "no data exist, insert one row");
        if (helper->Insert(uri, bucket) == DataShare::E_ERROR) {
            SHARE_LOGE(Log::SERVICE, "insert one row failed");
            ReleaseHelper(*helper);
            return SETTING_FAILED;
        }
    }
    if (needNotify) {
        helper->NotifyChange(AssembleUri(key)); // the global address, also for a secure table
    }
    ReleaseHelper(*helper);
    return SETTING_OK;
}

// Questions

bool ShareSettingProvider::CheckIfDataShareReady()
{
    const auto helper = CreateDataShareHelper();
    if (helper == nullptr) {
        return false;
    }
    ReleaseHelper(*helper);
    return true;
}

std::string ShareSettingProvider::GlobalValue(const std::string& key)
{
    std::string value;
    (void)GetStringValue(key, value); // logged; reads as no row
    return value;
}

std::string ShareSettingProvider::SecureValue(int userId, const std::string& key)
{
    Uri uri = AssembleUserSecureUri(userId, key);
    std::string value;
    (void)GetStringValueWithUri(uri, key, value); // logged; reads as no row
    return value;
}

bool ShareSettingProvider::CheckIfOobeReady(int userId)
{
    SHARE_LOGI(Log::SERVICE, "CheckIfOobeReady invoked.");
    if (GlobalValue(SettingKey::DEVICE_PROVISIONED) != SettingKey::YES) {
        SHARE_LOGI(Log::SERVICE, "deviceProvisioned not ready.");
        return false;
    }
    if (SecureValue(userId, SettingKey::USER_SETUP_COMPLETE) != SettingKey::YES) {
        SHARE_LOGI(Log::SERVICE, "userSetupComplete not ready, curr userId: %{public}d.", userId);
        return false;
    }
    if (SecureValue(userId, SettingKey::IS_OTA_FINISHED) != SettingKey::YES) {
        SHARE_LOGI(Log::SERVICE, "isOtaFinished not ready, curr userId: %{public}d.", userId);
        return false;
    }
    return true;
}

bool ShareSettingProvider::CheckIfOtaActivated(int userId)
{
    SHARE_LOGI(Log::SERVICE, "CheckIfOtaActivated invoked.");
    const std::string isOtaFinished = SecureValue(userId, SettingKey::IS_OTA_FINISHED);
    SHARE_LOGI(Log::SERVICE, "isOtaFinished is %{public}s.", isOtaFinished.c_str());
    if (isOtaFinished != SettingKey::NO) {
        return false;
    }
    SHARE_LOGI(Log::SERVICE, "ota activated.");
    return true;
}

bool ShareSettingProvider::CheckIfAgreeCorvaneShareOobeEnhance(int userId)
{
    const std::string ofUser = SecureValue(userId, SettingKey::PELAGO_OOBE_STATE);
    SHARE_LOGI(Log::SERVICE, "%{public}s: %{public}s.", SettingKey::PELAGO_OOBE_STATE, ofUser.c_str());
    if (!ofUser.empty()) {
        return ofUser == SettingKey::YES; // also when it says no
    }
    const std::string ofDevice = GlobalValue(SettingKey::COLLABORATION_OOBE_ENHANCE);
    SHARE_LOGI(Log::SERVICE, "%{public}s: %{public}s.", SettingKey::COLLABORATION_OOBE_ENHANCE, ofDevice.c_str());
    return ofDevice == SettingKey::YES;
}

// Observers

int32_t ShareSettingProvider::RegisterObserver(const Uri& uri, const sptr<AAFwk::IDataAbilityObserver>& observer)
{
    AsService asService;
    const auto helper = CreateDataShareHelper();
    if (helper == nullptr) {
        return SETTING_FAILED;
    }
    helper->RegisterObserver(uri, observer);
    ReleaseHelper(*helper);
    asService.Keep(); // meant: see the header
    return SETTING_OK;
}

int32_t ShareSettingProvider::UnRegisterObserver(const Uri& uri, const sptr<AAFwk::IDataAbilityObserver>& observer)
{
    AsService asService;
    const auto helper = CreateDataShareHelper();
    if (helper == nullptr) {
        return SETTING_FAILED;
    }
    helper->UnregisterObserver(uri, observer);
    ReleaseHelper(*helper);
    asService.Keep(); // meant: see the header
    return SETTING_OK;
}

void ShareSettingProvider::RegisterAirObserver(sptr<ShareAirHelper::ShareAirObserver>& observer)
{
    if (observer == nullptr) {
        SHARE_LOGE(Log::SERVICE, "observer is nullptr.");
        return;
    }
    const std::string& key = observer->GetKey();
    SHARE_LOGI(Log::SERVICE, "RegisterAirObserver, key is %{public}s.", key.c_str());
    if (key == SettingKey::AIR_SWITCH) {
        (void)RegisterObserver(AssembleUri(key), observer); // logged; the gesture then goes unheard
    }
}

void ShareSettingProvider::UnRegisterAirObserver(sptr<ShareAirHelper::ShareAirObserver>& observer)
{
    if (observer == nullptr) {
        SHARE_LOGE(Log::SERVICE, "observer is nullptr.");
        return;
    }
    const std::string& key = observer->GetKey();
    SHARE_LOGI(Log::SERVICE, "UnRegisterAirObserver, key is %{public}s.", key.c_str());
    if (key == SettingKey::AIR_SWITCH) {
        (void)UnRegisterObserver(AssembleUri(key), observer); // logged; it holds its helper weakly
    }
}

std::optional<Uri> ShareSettingProvider::OobeUri(const std::string& key, int userId)
{
    if (key == SettingKey::DEVICE_PROVISIONED) {
        return AssembleUri(key);
    }
    if (key == SettingKey::USER_SETUP_COMPLETE || key == SettingKey::IS_OTA_FINISHED) {
        return AssembleUserSecureUri(userId, key);
    }
    return std::nullopt;
}

void ShareSettingProvider::RegisterOobeObserver(sptr<ShareOobeHelper::ShareOobeObserver>& observer, int userId)
{
    if (observer == nullptr) {
        SHARE_LOGE(Log::SERVICE, "observer is nullptr.");
        return;
    }
    SHARE_LOGI(Log::SERVICE, "RegisterOobeObserver, key is %{public}s.", observer->GetKey().c_str());
    if (const auto uri = OobeUri(observer->GetKey(), userId); uri.has_value()) {
        (void)RegisterObserver(*uri, observer); // logged; the end of the set-up then goes unheard
    }
}

void ShareSettingProvider::UnRegisterOobeObserver(sptr<ShareOobeHelper::ShareOobeObserver>& observer, int userId)
{
    if (observer == nullptr) {
        SHARE_LOGE(Log::SERVICE, "observer is nullptr.");
        return;
    }
    SHARE_LOGI(Log::SERVICE, "UnRegisterOobeObserver, key is %{public}s.", observer->GetKey().c_str());
    if (const auto uri = OobeUri(observer->GetKey(), userId); uri.has_value()) {
        (void)UnRegisterObserver(*uri, observer); // logged; it holds its helper weakly
    }
}

} // namespace OHOS::Pelago
