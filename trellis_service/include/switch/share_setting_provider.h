#ifndef PELAGO_SWITCH_SHARE_SETTING_PROVIDER_H
#define PELAGO_SWITCH_SHARE_SETTING_PROVIDER_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "datashare_helper.h"
#include "iremote_object.h"
#include "refbase.h"
#include "share_air_helper.h"
#include "share_mutex.h"
#include "share_oobe_helper.h"
#include "uri.h"

namespace OHOS::Pelago {

// The one way of the service to the settings database: a global table, and a secure table for each user.
//
// A singleton of the process, made on first use and never destroyed. Every operation opens the database for itself and
// closes it again, as the service and not as the client that is being served: any thread may call, also inside a
// request.
//
// Caches nothing and retries nothing. An operation waits up to OPEN_WAIT_SECONDS for a database that does not answer.
class ShareSettingProvider {
public:
    // The results of the int32 operations.
    static constexpr int32_t SETTING_OK = 0;
    static constexpr int32_t SETTING_FAILED = -1;
    // How long opening the database may wait for it: what a caller of ours can still bear.
    static constexpr int OPEN_WAIT_SECONDS = 2;

    // On the first call looks up the remote object of the ability `systemAbilityId`, the service's own, with which the
    // database is opened. When it is not found, logged, the provider stays without: there is no second look.
    static ShareSettingProvider& GetInstance(int systemAbilityId);

    virtual ~ShareSettingProvider() = default;
    ShareSettingProvider(const ShareSettingProvider&) = delete;
    ShareSettingProvider& operator=(const ShareSettingProvider&) = delete;

    // Read. SETTING_OK when the row was read, and also when there is none: `value` then stays as it was, so that what
    // the caller put there is the default. SETTING_FAILED otherwise.
    [[nodiscard]] int32_t GetStringValue(const std::string& key, std::string& value);
    [[nodiscard]] int32_t GetStringValueWithUri(Uri& uri, const std::string& key, std::string& value);

    // Write: update the row, or insert it. Observers of the key in the *global* table are told when `needNotify`, also
    // of a write to a secure table. SETTING_FAILED when the row could be neither updated nor inserted.
    [[nodiscard]] int32_t PutStringValue(const std::string& key, const std::string& value, bool needNotify);
    [[nodiscard]] int32_t PutSecurityStringValue(
        int userId, const std::string& key, const std::string& value, bool needNotify);
    [[nodiscard]] int32_t PutStringValueWithUri(
        Uri& uri, const std::string& key, const std::string& value, bool needNotify);

    // Where a key stands in the global table, and in the secure table of a user.
    static Uri AssembleUri(const std::string& key);
    static Uri AssembleUserSecureUri(int userId, const std::string& key);

    // An open database, or null, logged. Whoever makes one releases it.
    [[nodiscard]] std::shared_ptr<DataShare::DataShareHelper> CreateDataShareHelper();

    // Whether the database answers now.
    [[nodiscard]] bool CheckIfDataShareReady();
    // Whether device, user and updates are all through the first-run experience.
    [[nodiscard]] bool CheckIfOobeReady(int userId);
    // Whether an update over the air is waiting to be finished. Neither yes nor no when the key is missing: false.
    [[nodiscard]] bool CheckIfOtaActivated(int userId);
    // Whether the user agreed to the collaboration features. The user's own answer wins over the device's.
    [[nodiscard]] bool CheckIfAgreeCorvaneShareOobeEnhance(int userId);

    // Observers of one exact URI. SETTING_FAILED when the database does not answer. On success the calling identity
    // stays the service's for the rest of the thread's request; callers are on threads of the service.
    [[nodiscard]] int32_t RegisterObserver(const Uri& uri, const sptr<AAFwk::IDataAbilityObserver>& observer);
    [[nodiscard]] int32_t UnRegisterObserver(const Uri& uri, const sptr<AAFwk::IDataAbilityObserver>& observer);

    // The observers of the switch's helpers, each for the table of its key; other keys are ignored.
    void RegisterAirObserver(sptr<ShareAirHelper::ShareAirObserver>& observer);
    void UnRegisterAirObserver(sptr<ShareAirHelper::ShareAirObserver>& observer);
    void RegisterOobeObserver(sptr<ShareOobeHelper::ShareOobeObserver>& observer, int userId);
    void UnRegisterOobeObserver(sptr<ShareOobeHelper::ShareOobeObserver>& observer, int userId);

private:
    ShareSettingProvider() = default;
    static void Initialize(int systemAbilityId) SHARE_REQUIRES(mutex_);
    static void ReleaseHelper(DataShare::DataShareHelper& helper);
    // The value of a key, empty when there is none or it cannot be read.
    std::string GlobalValue(const std::string& key);
    std::string SecureValue(int userId, const std::string& key);
    // Where an observed key of the first-run experience stands; nothing for any other key.
    static std::optional<Uri> OobeUri(const std::string& key, int userId);

    static Mutex mutex_;
    static sptr<IRemoteObject> remoteObj_ SHARE_GUARDED_BY(mutex_);
    static std::atomic<ShareSettingProvider*> instance_; // set under mutex_, read without
};

} // namespace OHOS::Pelago

#endif // PELAGO_SWITCH_SHARE_SETTING_PROVIDER_H
