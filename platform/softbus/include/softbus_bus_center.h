#ifndef OHOS_SOFTBUS_BUS_CENTER_H
#define OHOS_SOFTBUS_BUS_CENTER_H

#include <cstdint>

inline constexpr int32_t NETWORK_ID_BUF_LEN = 65; // with the NUL
inline constexpr int32_t DEVICE_NAME_BUF_LEN = 128;
inline constexpr int32_t UDID_BUF_LEN = 65;

inline constexpr int32_t SOFTBUS_OK = 0;
inline constexpr int32_t SOFTBUS_INVALID_PARAM = -998;
inline constexpr int32_t SOFTBUS_ERR = -1;

/// What the bus tells of a node. Texts end with a NUL.
struct NodeBasicInfo {
    char networkId[NETWORK_ID_BUF_LEN];
    char deviceName[DEVICE_NAME_BUF_LEN];
    uint16_t deviceTypeId;
};

enum NodeDeviceInfoKey : int32_t {
    NODE_KEY_UDID = 0,
};

/// Fills `info` for this device: its id on the bus and as much of its name as fits, cut between characters. 0, or an
/// error number with `info` untouched. `pkgName` names the caller and must not be null. Any thread.
[[nodiscard]] int32_t GetLocalNodeDeviceInfo(const char* pkgName, NodeBasicInfo* info);

/// Writes a property of a node, as text with its NUL, into `info` of `infoLen` bytes. 0, or an error number with `info`
/// untouched: another key than the UDID, another device than this one, or too little room. Any thread.
[[nodiscard]] int32_t GetNodeKeyInfo(
    const char* pkgName, const char* networkId, NodeDeviceInfoKey key, uint8_t* info, int32_t infoLen);

#endif // OHOS_SOFTBUS_BUS_CENTER_H
