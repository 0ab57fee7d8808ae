#ifndef PELAGO_TESTS_SCRIPTED_COLLAB_H
#define PELAGO_TESTS_SCRIPTED_COLLAB_H

#include <functional>
#include <memory>

#include "collab_backend.h"
#include "host/scheduler.h"
#include "script.h"

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
// settles, and what the service answered is in TakeResults then. The journal says e.g. "RequestService 8",
// "RegisterServiceDeliverCallback 65570", "SubscribeNotifyDisconnect Swing_CorvaneShare", "PublishServiceState
// UI_CorvaneShare_Send 2".
class ScriptedCollab : public Script, public Synfold::CollabBackend {
public:
    ScriptedCollab() : queue_(Host::Scheduler::Instance().CreateQueue("collab"))
    {}

    std::vector<PublishedState> TakeStates()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(states_, {});
    }
    // The texts that were sent to peers.
    std::vector<std::string> TakeReplies()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(replies_, {});
    }
    // The next `times` requests of this name give `result`; -1 for all.
    void Refuse(const std::string& operation, int32_t result = 1, int times = 1)
    {
        RefuseWith(operation, result, times);
    }

    // A tap begins; the peer answers; a peer asks. Nothing happens where nobody has registered.
    void Knock()
    {
        Play<Publish>(
            publish_, [](Publish& callback) { return callback.OnKnockEvent(new Synfold::RequestResultInfo("{}")); });
    }
    void PublishEvent(const std::string& extraInfo)
    {
        Play<Publish>(publish_, [extraInfo](Publish& callback) {
            return callback.OnPublishEvent(new Synfold::RequestResultInfo(extraInfo));
        });
    }
    void Deliver(const std::string& basicInfo)
    {
        Play<Synfold::IServiceDeliverCallback>(deliver_,
            [basicInfo](Synfold::IServiceDeliverCallback& callback) { return callback.OnDeliver(basicInfo); });
    }
    // What the service gave back, in the order of the events.
    std::vector<int32_t> TakeResults()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(results_, {});
    }

    // The callback that asked for taps; null when nobody did.
    sptr<IRemoteObject> KnockObject() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return publish_ == nullptr ? nullptr : publish_->AsObject();
    }

    // Synfold::CollabBackend
    int32_t RequestService(uint32_t code, const sptr<Synfold::ServicePublishCallbackStub>& callback) override
    {
        int32_t result = Take("RequestService", std::to_string(code));
        if (result == 0) {
            std::lock_guard<std::mutex> lock(mutex_);
            publish_ = new Synfold::ServicePublishCallbackProxy(callback->AsObject());
        }
        return result;
    }
    int32_t UnRequestService(uint32_t code) override
    {
        const int32_t result = Take("UnRequestService", std::to_string(code));
        std::lock_guard<std::mutex> lock(mutex_);
        publish_ = nullptr; // in any case
        return result;
    }
    int32_t RequestServiceByParam(const std::string& param, const sptr<Synfold::ServicePublishCallbackStub>&) override
    {
        int32_t result = Take("RequestServiceByParam");
        if (result == 0) {
            std::lock_guard<std::mutex> lock(mutex_);
            replies_.push_back(param);
        }
        return result;
    }
    int32_t RegisterServiceDeliverCallback(
        int32_t systemAbilityId, const sptr<Synfold::ServiceDeliverCallbackStub>& callback) override
    {
        int32_t result = Take("RegisterServiceDeliverCallback", std::to_string(systemAbilityId));
        if (result == 0) {
            std::lock_guard<std::mutex> lock(mutex_);
            deliver_ = new Synfold::ServiceDeliverCallbackProxy(callback->AsObject());
        }
        return result;
    }
    int32_t PublishServiceState(const std::string& serviceName, const std::string& serviceName2,
        const std::string& extraInfo, int32_t state) override
    {
        const int32_t result = Take("PublishServiceState", serviceName + " " + std::to_string(state));
        std::lock_guard<std::mutex> lock(mutex_);
        states_.push_back({serviceName, serviceName2, extraInfo, state}); // in any case
        return result;
    }
    int32_t SubscribeNotifyDisconnect(const std::string& serviceName, const std::string&, const std::string&,
        const sptr<Synfold::CallbackSkeleton>&) override
    {
        return Take("SubscribeNotifyDisconnect", serviceName);
    }

private:
    using Publish = Synfold::IServicePublishCallback;

    // Calls the callback from the framework's queue and keeps what it answers.
    // The queue lives as long as this, so that posting to it does not fail.
    template <typename Callback>
    void Play(const sptr<Callback>& callback, std::function<int32_t(Callback&)> event)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        (void)queue_->Post([this, callback = callback, event = std::move(event)] {
            if (callback != nullptr) {
                const int32_t result = event(*callback);
                std::lock_guard<std::mutex> written(mutex_);
                results_.push_back(result);
            }
        });
    }
    std::shared_ptr<Host::TaskQueue> queue_;
    std::vector<PublishedState> states_;
    std::vector<std::string> replies_;
    std::vector<int32_t> results_;
    sptr<Publish> publish_; // proxies: every event crosses a border of bytes
    sptr<Synfold::IServiceDeliverCallback> deliver_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_SCRIPTED_COLLAB_H
