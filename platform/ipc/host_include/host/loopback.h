#ifndef PLATFORM_IPC_HOST_LOOPBACK_H
#define PLATFORM_IPC_HOST_LOOPBACK_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "host/scheduler.h"
#include "iremote_object.h"

namespace OHOS::Host {

class LoopbackBorder;

// Another process, played inside this one: what crosses the border between it and this process is written into bytes
// and read from them, objects become proxies and proxies come home as stubs, descriptors are duplicated, and the
// identity is the caller's. Requests run inline, one-way ones too, so that everything happens on the thread that drives
// the test. Made and owned by a test; its death, or its destructor, is the death of the process. Its objects may
// outlive it. For manual time and the thread that drives it. Stubs of two loopback processes cannot meet: a proxy of
// one is a foreign object to the other.
class LoopbackProcess {
public:
    struct Identity {
        pid_t pid = 0;
        uid_t uid = 0;
        uint32_t tokenId = 0;
    };
    // Objects that each side holds of the other, for tests that count.
    struct Counts {
        size_t objectsOfProcess = 0; // its stubs that this process holds proxies of
        size_t objectsOfOthers = 0;  // stubs of this process that it holds proxies of
    };

    explicit LoopbackProcess(const Identity& identity);
    ~LoopbackProcess();
    LoopbackProcess(const LoopbackProcess&) = delete;
    LoopbackProcess& operator=(const LoopbackProcess&) = delete;

    [[nodiscard]] const Identity& GetIdentity() const;

    // What this process sees of a stub that belongs to the loopback process. The same stub is the same proxy for as
    // long as somebody holds it. Null for null, for a proxy, and when the process is dead.
    [[nodiscard]] sptr<IRemoteObject> ProxyFor(const sptr<IRemoteObject>& ownStub);
    // What the loopback process sees of a stub of this process: requests to it are its calls, with its identity. Null
    // as above.
    [[nodiscard]] sptr<IRemoteObject> Connect(const sptr<IRemoteObject>& stub);

    // Runs `task` as work of the process, on its own queue of the scheduler. Dropped when the process is dead by then.
    void Post(Task task);

    // Ends the process: its proxies here are dead at once, calls under way to it fail when they return, and death
    // recipients run once, from the scheduler's queue "deaths". A second time nothing happens.
    void Kill();
    [[nodiscard]] bool IsAlive() const;

    // While it hangs, a synchronous request to it moves virtual time by its wait time and gives the time-out, and a
    // one-way one is taken; all are handled, in order and without replies, when it goes on. It can still call out.
    void SetHanging(bool hanging);

    [[nodiscard]] Counts CountObjects() const;

private:
    const Identity identity_;
    const std::shared_ptr<TaskQueue> queue_;
    const std::unique_ptr<LoopbackBorder> border_;
};

} // namespace OHOS::Host

#endif // PLATFORM_IPC_HOST_LOOPBACK_H
