#include "softbus_bus_center.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

#include "host/device.h"
#include "host/faults.h"

namespace {

using OHOS::Host::Device;
using OHOS::Host::Faults;

/// The device's id on the bus: made of the UDID, as long as a real one, and not the UDID.
std::string NetworkId()
{
    constexpr size_t LENGTH = NETWORK_ID_BUF_LEN - 1;
    constexpr char DIGITS[] = "0123456789abcdef";
    // FNV-1a over the UDID, carried on for each digit.
    uint64_t hash = 14695981039346656037ULL;
    const auto mix = [&hash](char byte) { hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211ULL; };
    const std::string udid = Device::Instance().Identity().udid;
    std::for_each(udid.begin(), udid.end(), mix);
    std::string id;
    while (id.size() < LENGTH) {
        mix('/');
        id += DIGITS[hash >> 60];
    }
    return id;
}

/// The longest head of the text, of at most `limit` bytes, that ends between characters and before any NUL.
std::string Head(const std::string& text, size_t limit)
{
    size_t end = std::min(text.find('\0'), text.size());
    if (end > limit) {
        end = limit;
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
            --end;
        }
    }
    return text.substr(0, end);
}

} // namespace

int32_t GetLocalNodeDeviceInfo(const char* pkgName, NodeBasicInfo* info)
{
    if (pkgName == nullptr || info == nullptr) {
        return SOFTBUS_INVALID_PARAM;
    }
    if (Faults::Take("softbus.GetLocalNodeDeviceInfo")) {
        return SOFTBUS_ERR;
    }
    NodeBasicInfo node = {};
    NetworkId().copy(node.networkId, NETWORK_ID_BUF_LEN - 1);
    Head(Device::Instance().Identity().name, DEVICE_NAME_BUF_LEN - 1).copy(node.deviceName, DEVICE_NAME_BUF_LEN - 1);
    *info = node;
    return SOFTBUS_OK;
}

int32_t GetNodeKeyInfo(
    const char* pkgName, const char* networkId, NodeDeviceInfoKey key, uint8_t* info, int32_t infoLen)
{
    if (pkgName == nullptr || networkId == nullptr || info == nullptr || key != NODE_KEY_UDID) {
        return SOFTBUS_INVALID_PARAM;
    }
    const std::string udid = Device::Instance().Identity().udid;
    if (infoLen < 0 || udid.size() >= static_cast<size_t>(infoLen)) {
        return SOFTBUS_INVALID_PARAM;
    }
    if (Faults::Take("softbus.GetNodeKeyInfo") || NetworkId() != networkId) {
        return SOFTBUS_ERR;
    }
    std::memcpy(info, udid.c_str(), udid.size() + 1);
    return SOFTBUS_OK;
}
