#ifndef PLATFORM_SAMGR_SAMGR_CODES_H
#define PLATFORM_SAMGR_SAMGR_CODES_H

#include <cstdint>

namespace OHOS {

/// Requests to the root object. Fields follow the interface token.
enum class SamgrCode : uint32_t {
    GET_SYSTEM_ABILITY = 1,    // int32 id; reply: the object, nothing when it is absent
    LIST_SYSTEM_ABILITIES = 2, // nothing; reply: int32 vector of ids, ascending
};

inline constexpr int SAMGR_BAD_TOKEN = -1;
inline constexpr int SAMGR_BAD_REPLY = -2; // the object could not be written: it belongs to a third process

} // namespace OHOS

#endif // PLATFORM_SAMGR_SAMGR_CODES_H
