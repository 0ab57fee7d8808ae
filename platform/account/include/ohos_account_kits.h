#ifndef OHOS_ACCOUNT_OHOS_ACCOUNT_KITS_H
#define OHOS_ACCOUNT_OHOS_ACCOUNT_KITS_H

#include <cstdint>

#include "account_info.h"

namespace OHOS::AccountSA {

/// Asks for the accounts that users are signed in with. One stateless object per process; any thread may call.
/// It signs nobody in or out.
class OhosAccountKits {
public:
    static OhosAccountKits& GetInstance();

    OhosAccountKits(const OhosAccountKits&) = delete;
    OhosAccountKits& operator=(const OhosAccountKits&) = delete;

    /// Copies the account of the user. 0, or an error number with `info` untouched: no such user, no account service.
    [[nodiscard]] int32_t GetOhosAccountInfoByUserId(int32_t userId, OhosAccountInfo& info);

private:
    OhosAccountKits() = default;
    ~OhosAccountKits() = default;
};

} // namespace OHOS::AccountSA

#endif // OHOS_ACCOUNT_OHOS_ACCOUNT_KITS_H
