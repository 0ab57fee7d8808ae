#ifndef PELAGO_TESTS_SCRIPTED_COLLAB_H
#define PELAGO_TESTS_SCRIPTED_COLLAB_H

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "collab_backend.h"
#include "host/scheduler.h"

namespace OHOS::Pelago {

// What the service has asked the framework to show.
struct PublishedState {
    std::string serviceName;
    std::string serviceName2;
    std::string extraInfo;
    int32_t state = 0;
};

// The collaboration framework of a test: takes every request, writes it down, and says only what the test makes it say.
// Each event goes through the callback's remote object, as work of the framework's own queue: it happens when the test
// settles, and what the service answered is in TakeResults then. Any thread.
class ScriptedCollab : public Synfold::CollabBackend {
public:
    ScriptedCollab();

    // What has been asked since the last look, e.g. "RequestService 8", "UnRequestService 8",
    // "RegisterServiceDeliverCallback 65570", "RequestServiceByParam", "SubscribeNotifyDisconnect Swing_CorvaneShare",
    // "PublishServiceState UI_CorvaneShare_Send 2". As one text, separated by ", ".
    std::string TakeAsked();
    std::vector<PublishedState> TakeStates();
    // The texts that were sent to peers.
    std::vector<std::string> TakeReplies();
    // The next `times` requests of this name give `result`; -1 for all.
    void Refuse(const std::string& operation, int32_t result = 1, int times = 1);

    // A tap begins; the peer answers; a peer asks. Nothing happens where nobody has registered.
    void Knock();
    void PublishEvent(const std::string& extraInfo);
    void Deliver(const std::string& basicInfo);
    // What the service gave back, in the order of the events.
    std::vector<int32_t> TakeResults();

    // The callback that asked for taps; null when nobody did.
    sptr<IRemoteObject> KnockObject() const;

    // Synfold::CollabBackend
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

private:
    struct Refusal {
        int32_t result = 0;
        int times = 0;
    };

    using Publish = Synfold::IServicePublishCallback;

    // Calls the callback from the framework's queue and keeps what it answers.
    template <typename Callback>
    void Play(const sptr<Callback>& callback, std::function<int32_t(Callback&)> event);
    // Writes the request down, and gives its result.
    int32_t Take(const std::string& operation, const std::string& details = "");

    std::shared_ptr<Host::TaskQueue> queue_;
    mutable std::mutex mutex_; // of everything below
    std::vector<std::string> journal_;
    std::vector<PublishedState> states_;
    std::vector<std::string> replies_;
    std::vector<int32_t> results_;
    std::map<std::string, Refusal> refusals_;
    sptr<Synfold::IServicePublishCallback> publish_; // proxies: every event crosses a border of bytes
    sptr<Synfold::IServiceDeliverCallback> deliver_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_SCRIPTED_COLLAB_H
