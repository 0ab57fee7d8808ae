#ifndef PELAGO_BENCH_BENCH_DEVICE_H
#define PELAGO_BENCH_BENCH_DEVICE_H

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "bench_util.h"
#include "collab_backend.h"
#include "core/trellis_service.h"
#include "host/device.h"
#include "host/ipc_transport.h"
#include "local_engine.h"

// A device in the process of a benchmark, and client processes for it.
namespace OHOS::Pelago::Bench {

inline constexpr int USER = 100;

// Where client processes write down when they were told something. Owned by the main of a benchmark, whose children
// have it too.
class Ears {
public:
    Ears();
    int WriteEnd() const
    {
        return pipe_[1];
    }
    // Waits until `count` were told, and gives the last of the moments, in nanoseconds.
    double Last(size_t count) const;
    // Lets everything go by until it has been quiet for a while.
    void Drain() const;

private:
    bool Hears(double& moment, int limitMs) const;

    std::array<int, 2> pipe_{};
};

// What a client process can be asked. Each is answered when it is done.
enum class Wish : char {
    PING,
    CONNECT,       // to the device, with a connection of its own
    REGISTER,      // its callback; the answer is how many nanoseconds after the call it was told for the first time
    UNREGISTER,    //
    JOIN_ALL,      // as callback, as application of the share API that wants taps, and as the one who follows offers
    SWITCH_ON,     // the answer is the moment of the call
    SWITCH_OFF,    // likewise
    CALL_OFTEN,    // from now on, from a thread of its own, every millisecond
    CALL_ALL_TIME, // likewise, without a pause
};

// A client in a process of its own. To be made before the first thread.
class Client : public Child {
public:
    // `told` is where it writes down when it is told of a change of the switch or of a tap; -1 for nowhere.
    explicit Client(const std::string& root, int told = -1);
    double Ask(Wish wish) const
    {
        return AskBare(Socket(), static_cast<char>(wish));
    }
};

// Makes the bare ping-pong with the first `count` of the clients, in turn.
void PingEach(const std::vector<Client>& clients, size_t count);

// A collaboration framework that takes everything and does nothing.
class QuietFramework : public Synfold::CollabBackend {
public:
    int32_t RequestService(uint32_t code, const sptr<Synfold::ServicePublishCallbackStub>& callback) override;
    int32_t UnRequestService(uint32_t code) override;
    int32_t RequestServiceByParam(
        const std::string& param, const sptr<Synfold::ServicePublishCallbackStub>& callback) override;
    int32_t RegisterServiceDeliverCallback(
        int32_t systemAbilityId, const sptr<Synfold::ServiceDeliverCallbackStub>& callback) override;
    int32_t PublishServiceState(const std::string& serviceName, const std::string& serviceName2,
        const std::string& extraInfo, int32_t state) override;
    int32_t SubscribeNotifyDisconnect(const std::string& serviceName, const std::string& serviceName2,
        const std::string& event, const sptr<Synfold::CallbackSkeleton>& callback) override;
};

// The device: the whole service, the local engine and the sockets, with radios that need no time, and switched on. One
// per process, which ends by std::_Exit: nobody waits for its threads.
class Device {
public:
    explicit Device(const std::string& root);
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    // Where the files of the switch are.
    std::string Folder() const;
    static sptr<TrellisService> Service();
    // Another device that is published to this one.
    std::unique_ptr<LocalEngine> NewPeer(const std::string& id) const;
    const Host::IpcServer& Server() const
    {
        return server_;
    }

private:
    LocalEngineConfig EngineConfig(const std::string& id) const;

    const std::string root_;
    std::shared_ptr<LocalEngine> engine_;
    Host::IpcServer server_;
};

} // namespace OHOS::Pelago::Bench

#endif // PELAGO_BENCH_BENCH_DEVICE_H
