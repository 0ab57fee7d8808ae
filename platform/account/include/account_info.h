#ifndef OHOS_ACCOUNT_ACCOUNT_INFO_H
#define OHOS_ACCOUNT_ACCOUNT_INFO_H

#include <cstdint>
#include <string>

namespace OHOS::AccountSA {

/// The account that a user of the device is signed in with. A plain record, owned by whoever holds it; no thread rules.
/// It does not say which user it belongs to.
class OhosAccountInfo {
public:
    std::string name_;
    std::string uid_; // a hash, by which contacts know the account
    int32_t status_ = 0;
    int32_t callingUid_ = -1;
    std::string nickname_;
    std::string avatar_;
};

} // namespace OHOS::AccountSA

#endif // OHOS_ACCOUNT_ACCOUNT_INFO_H
