#ifndef PLATFORM_CONTROL_HOST_CONTROL_INTERFACE_H
#define PLATFORM_CONTROL_HOST_CONTROL_INTERFACE_H

#include <cstdint>
#include <string>
#include <vector>

#include "iremote_broker.h"
#include "iremote_proxy.h"
#include "iremote_stub.h"

namespace OHOS::Host {

// How a control command ended. The numbers are also the exit codes of `pelago`.
enum class ControlResult : int32_t {
    DONE = 0,
    FAILED = 1,
    USAGE = 2,             // not a command, or not its words
    UNREACHABLE = 3,       // no daemon answered
    PERMISSION_DENIED = 4, // the caller's token is not the owner's
    NO_SUCH_ENTRY = 5,     // what the words name does not exist
    LIMIT = 11,            // as many watch as may
};

struct ControlAnswer {
    ControlResult result = ControlResult::FAILED;
    std::string json;  // what the command found; one JSON value, empty when there is none
    std::string error; // for people: what, why, and what to type next; empty when done
};

// The control of one device, published by its daemon as ability 9501. Only the owner's token is served. A command is a
// list of words, as on a command line; it takes effect before the answer. Any thread.
class IDeviceControl : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.host.DeviceControl");

    enum Code : uint32_t {
        EXECUTE = 1, // string vector words; reply: int32 result, raw json, raw error (a raw is uint32 length, raw data)
        WATCH = 2,   // object of IControlWatcher; reply: int32 result
    };

    virtual ControlAnswer Execute(const std::vector<std::string>& words) = 0;
    // From now on `watcher` is told what changes, first of all everything as it is. Ends with its process. It changes
    // nothing for anybody else.
    virtual ControlResult Watch(const sptr<IRemoteObject>& watcher) = 0;
};

// Whoever watches. Messages are one-way and come in order.
class IControlWatcher : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.host.ControlWatcher");

    enum Code : uint32_t {
        CHANGED = 1, // raw json: one JSON object
    };

    virtual void OnChanged(const std::string& json) = 0;
};

// Made directly of the object of ability 9501; the broker does not know it.
class DeviceControlProxy : public IRemoteProxy<IDeviceControl> {
public:
    explicit DeviceControlProxy(const sptr<IRemoteObject>& object);

    // UNREACHABLE when the daemon does not answer within ten seconds.
    ControlAnswer Execute(const std::vector<std::string>& words) override;
    ControlResult Watch(const sptr<IRemoteObject>& watcher) override;
};

class ControlWatcherStub : public IRemoteStub<IControlWatcher> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
};

} // namespace OHOS::Host

#endif // PLATFORM_CONTROL_HOST_CONTROL_INTERFACE_H
