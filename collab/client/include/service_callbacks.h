#ifndef COLLAB_CLIENT_SERVICE_CALLBACKS_H
#define COLLAB_CLIENT_SERVICE_CALLBACKS_H

#include <string>

#include "iremote_proxy.h"
#include "iremote_stub.h"
#include "request_result_info.h"

// How the framework calls a service: an interface for each of the two sides of a tap, the stub that a service derives
// from, and the proxy by which the framework calls it, from any process and on IPC threads. Every result is an int32:
// of the callee, or RESULT_NOT_CALLED where it could not be reached.
namespace OHOS::Synfold {

inline constexpr int32_t RESULT_NOT_CALLED = -1;
inline constexpr int RESULT_WRONG_TOKEN = -10;

enum class ServicePublishCode : uint32_t {
    ON_PUBLISH_EVENT = 1,
    ON_KNOCK_EVENT = 2,
};

// The side that asked for a service.
class IServicePublishCallback : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.synfold.IServicePublishCallback");

    // What the peer has answered. 0 when it was taken.
    virtual int32_t OnPublishEvent(sptr<RequestResultInfo> info) = 0;
    // A tap has begun: how many applications want it. The framework goes on only with a number other than 0.
    virtual int32_t OnKnockEvent(sptr<RequestResultInfo> info) = 0;
};

class ServicePublishCallbackStub : public IRemoteStub<IServicePublishCallback> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
    int32_t OnPublishEvent(sptr<RequestResultInfo> info) override;
    int32_t OnKnockEvent(sptr<RequestResultInfo> info) override;
};

class ServicePublishCallbackProxy : public IRemoteProxy<IServicePublishCallback> {
public:
    explicit ServicePublishCallbackProxy(const sptr<IRemoteObject>& object);
    int32_t OnPublishEvent(sptr<RequestResultInfo> info) override;
    int32_t OnKnockEvent(sptr<RequestResultInfo> info) override;
};

enum class ServiceDeliverCode : uint32_t {
    ON_DELIVER = 1,
};

// The side that offers a service.
class IServiceDeliverCallback : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.synfold.IServiceDeliverCallback");

    // What a peer has sent, as a JSON text. 0 when it was taken, and also when it is none of the service's business.
    virtual int32_t OnDeliver(const std::string& basicInfo) = 0;
};

class ServiceDeliverCallbackStub : public IRemoteStub<IServiceDeliverCallback> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
};

class ServiceDeliverCallbackProxy : public IRemoteProxy<IServiceDeliverCallback> {
public:
    explicit ServiceDeliverCallbackProxy(const sptr<IRemoteObject>& object);
    int32_t OnDeliver(const std::string& basicInfo) override;
};

} // namespace OHOS::Synfold

#endif // COLLAB_CLIENT_SERVICE_CALLBACKS_H
