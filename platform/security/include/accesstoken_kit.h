#ifndef OHOS_SECURITY_ACCESSTOKEN_KIT_H
#define OHOS_SECURITY_ACCESSTOKEN_KIT_H

#include <cstdint>
#include <string>

namespace OHOS::Security::AccessToken {

using AccessTokenID = uint32_t;

inline constexpr int PERMISSION_GRANTED = 0;
inline constexpr int PERMISSION_DENIED = -1;

/// Answers whether the bearer of a token may do something. Static and stateless; any thread may call.
/// It grants and takes away nothing.
class AccessTokenKit {
public:
    AccessTokenKit() = delete;

    /// PERMISSION_GRANTED or PERMISSION_DENIED; denied also for a token that does not exist.
    [[nodiscard]] static int VerifyAccessToken(AccessTokenID tokenId, const std::string& permissionName);
};

} // namespace OHOS::Security::AccessToken

#endif // OHOS_SECURITY_ACCESSTOKEN_KIT_H
