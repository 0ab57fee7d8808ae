#ifndef OHOS_ACCOUNT_OS_ACCOUNT_MANAGER_H
#define OHOS_ACCOUNT_OS_ACCOUNT_MANAGER_H

#include <cstdint>
#include <vector>

namespace OHOS::AccountSA {

enum OsAccountType : int32_t {
    ADMIN = 0,
    NORMAL = 1,
    GUEST = 2,
    PRIVATE = 1024,
};

/// Error numbers of the account module; each call gives 0 for success.
inline constexpr int32_t ERR_ACCOUNT_SERVICE_UNAVAILABLE = 4521986;
inline constexpr int32_t ERR_ACCOUNT_NOT_EXIST = 4521987;

/// What is known of one user of the device. A plain value; no thread rules.
class OsAccountInfo {
public:
    OsAccountInfo() = default;
    OsAccountInfo(int32_t localId, OsAccountType type) : localId_(localId), type_(type)
    {}

    [[nodiscard]] int32_t GetLocalId() const
    {
        return localId_;
    }
    [[nodiscard]] OsAccountType GetType() const
    {
        return type_;
    }

private:
    int32_t localId_ = -1;
    OsAccountType type_ = NORMAL;
};

/// Questions about the users of the device. Static and stateless; any thread may call. An output is set on success
/// only. It changes no user and tells nobody of changes: those come as common events.
class OsAccountManager {
public:
    OsAccountManager() = delete;

    /// The user in front of the screen. An error while nobody is, as during a switch of users.
    [[nodiscard]] static int32_t GetForegroundOsAccountLocalId(int32_t& localId);
    /// Whether the user has unlocked since boot.
    [[nodiscard]] static int32_t IsOsAccountVerified(int32_t id, bool& isVerified);
    [[nodiscard]] static int32_t QueryOsAccountById(int32_t id, OsAccountInfo& info);
    /// The users with a running session, the one in front first.
    [[nodiscard]] static int32_t QueryActiveOsAccountIds(std::vector<int32_t>& ids);
};

} // namespace OHOS::AccountSA

#endif // OHOS_ACCOUNT_OS_ACCOUNT_MANAGER_H
