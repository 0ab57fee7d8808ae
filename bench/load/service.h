#ifndef PELAGO_BENCH_LOAD_SERVICE_H
#define PELAGO_BENCH_LOAD_SERVICE_H

#include <string>

#include "i_trellis_service.h"
#include "listener.h"

// The way of a process to a device, by the device's id. Any thread; where the device does not answer as it should, the
// process ends.
namespace OHOS::Pelago::Load {

sptr<ITrellisService> ServiceOf(const std::string& device);
// Does not return before sharing is on.
void SwitchOn(const std::string& device);
// Registers the listener and discovers for it.
void Discover(ITrellisService& service, const sptr<Listener>& listener);
// That the device holds nothing when nobody wants anything of it any more.
void ExpectAtRest(const std::string& device);

} // namespace OHOS::Pelago::Load

#endif // PELAGO_BENCH_LOAD_SERVICE_H
