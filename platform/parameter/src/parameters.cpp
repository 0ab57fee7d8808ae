#include "parameters.h"

#include "host/device.h"

namespace OHOS::system {

std::string GetDeviceType()
{
    return Host::Device::Instance().Identity().type;
}

} // namespace OHOS::system
