#ifndef PELAGO_FUZZ_DEVICE_H
#define PELAGO_FUZZ_DEVICE_H

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "recording_client.h"
#include "scripted_collab.h"
#include "scripted_engine.h"

namespace OHOS::Pelago::Fuzz {

// The engine that also keeps the listeners' own objects, so that requests can be sent to them that no proxy writes.
class FuzzEngine : public ScriptedEngine {
public:
    bool Publish(const sptr<IPublishListener>& listener) override;
    bool RegisterReceiveListener(const sptr<PelagoReceiveListener>& listener) override;
    bool Subscribe(const sptr<ISubscribeListener>& listener) override;
    bool SwingSubscribe(const sptr<ISubscribeListener>& listener) override;
    sptr<PelagoSender> SendFile(const TransmitParam& param, SendBean& bean, const std::string& packageName) override;
    sptr<PelagoSender> SendFile(
        const TransmitParam& param, const DataBean& bean, const std::string& packageName) override;
    sptr<PelagoSender> SendBytes(const TransmitParam& param, const BytesInfo& bytes) override;

    // Null, or empty, until the service has handed one over; they stay when it takes them back.
    sptr<IRemoteObject> publisher;
    sptr<IRemoteObject> receiver;
    sptr<IRemoteObject> subscriber;
    sptr<IRemoteObject> swingSubscriber;
    std::vector<sptr<IRemoteObject>> transmits;
};

class FuzzCollab : public ScriptedCollab {
public:
    int32_t RequestService(uint32_t code, const sptr<Synfold::ServicePublishCallbackStub>& callback) override;
    int32_t RegisterServiceDeliverCallback(
        int32_t systemAbilityId, const sptr<Synfold::ServiceDeliverCallbackStub>& callback) override;

    sptr<IRemoteObject> knocked;
    sptr<IRemoteObject> delivered;
};

// A client process of an input: its callbacks, and what it has been given.
struct FuzzClient {
    explicit FuzzClient(std::unique_ptr<TestClient> process);
    ~FuzzClient();
    FuzzClient(const FuzzClient&) = delete;
    FuzzClient& operator=(const FuzzClient&) = delete;

    std::unique_ptr<TestClient> client;
    std::vector<sptr<IRemoteObject>> objects; // its own callbacks first
    std::vector<int> descriptors;             // that came with replies
};

// A device with the whole service on it, in manual time, in a folder of its own that goes with the process. Made by the
// first input that needs it; each input finds it as new, but for what the service keeps on disk. One thread.
class FuzzDevice {
public:
    static FuzzDevice& Instance();

    const std::string& Root() const
    {
        return root_;
    }
    FuzzEngine& Engine()
    {
        return *engine_;
    }
    FuzzCollab& Collab()
    {
        return *collab_;
    }
    sptr<IRemoteObject> Service() const
    {
        return service_;
    }
    // One of CLIENTS processes, each with a token of its own, alive.
    FuzzClient& Client(size_t index);
    void Kill(size_t index);
    void Advance(int64_t ms);
    // Checks what must hold now, and makes the device as new.
    void EndInput();

    static constexpr size_t CLIENTS = 5;

private:
    FuzzDevice();
    ~FuzzDevice();

    void Configure();
    void StartService();
    void StopService();
    void Clear();
    void CheckInvariants() const;

    std::string root_;
    std::shared_ptr<FuzzEngine> engine_;
    std::shared_ptr<FuzzEngine> retired_; // of the input before: late tasks may still hold its handles
    std::shared_ptr<FuzzCollab> collab_;
    sptr<IRemoteObject> service_;
    std::unique_ptr<FuzzClient> clients_[CLIENTS];
    pid_t nextPid_ = 4000;
    size_t inputs_ = 0;
    size_t descriptors_ = 0; // when it is as new
};

} // namespace OHOS::Pelago::Fuzz

#endif // PELAGO_FUZZ_DEVICE_H
