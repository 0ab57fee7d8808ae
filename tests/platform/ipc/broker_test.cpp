#include <unistd.h>

#include <stdexcept>

#include "host/loopback.h"
#include "ipc_scene.h"
#include "iremote_proxy.h"
#include "iremote_stub.h"

// Interfaces on both sides of a border, and who calls across it.
namespace OHOS {
namespace {

class IGreeter : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"test.IGreeter");
};

class GreeterProxy : public IRemoteProxy<IGreeter> {
public:
    using IRemoteProxy::IRemoteProxy;

private:
    static inline BrokerDelegator<GreeterProxy> delegator_;
};

class GreeterStub : public IRemoteStub<IGreeter> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override
    {
        if (code == 2) {
            throw std::runtime_error("no thread to be had");
        }
        return IRemoteStub::OnRemoteRequest(code, data, reply, option);
    }
};

class IStranger : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"test.IStranger");
};

TEST(BrokerTest, CastGivesTheStubItselfHereAndAProxyOfItElsewhere)
{
    const sptr<GreeterStub> stub = new GreeterStub;
    Host::LoopbackProcess process({77, 1000, 4});
    EXPECT_EQ(iface_cast<IGreeter>(stub->AsObject()).GetRefPtr(), static_cast<IGreeter*>(stub.GetRefPtr()));
    const sptr<IRemoteObject> object = process.Connect(stub);
    EXPECT_EQ(iface_cast<IGreeter>(object)->AsObject(), object);
    EXPECT_EQ(object->GetObjectDescriptor(), u"test.IGreeter");
    EXPECT_NE(iface_cast<IGreeter>(new ScriptedStub), nullptr) << "what is no greeter shows by its answers";
    EXPECT_EQ(iface_cast<IGreeter>(nullptr), nullptr);
    EXPECT_EQ(iface_cast<IStranger>(object), nullptr) << "nobody has registered it";
    EXPECT_FALSE(BrokerRegistration::Get().Register(u"test.IGreeter", nullptr)) << "the first one stays";
    for (const sptr<IRemoteObject>& called : {sptr<IRemoteObject>(stub), object}) {
        EXPECT_EQ(CallPlain(called, 9), IPC_UNKNOWN_CODE);
        EXPECT_EQ(CallPlain(called, 2), IPC_UNKNOWN_ERROR);
    }
    EXPECT_EQ(CountErrors("no thread to be had"), 2U);
    const sptr<DeathWatch> watch = new DeathWatch;
    EXPECT_FALSE(stub->AddDeathRecipient(watch)) << "a stub has no death to hear of";
    EXPECT_FALSE(stub->RemoveDeathRecipient(watch));
}

TEST(BrokerTest, IdentityIsTheCallersWithinARequestAndTheOuterOneAfterwards)
{
    Host::SetOwnTokenId(9);
    Host::LoopbackProcess process({77, 1000, 4});
    const auto expectCaller = [](pid_t pid, uid_t uid, uint32_t token) {
        EXPECT_EQ(IPCSkeleton::GetCallingPid(), pid);
        EXPECT_EQ(IPCSkeleton::GetCallingUid(), uid);
        EXPECT_EQ(IPCSkeleton::GetCallingTokenID(), token);
        return 0;
    };
    const auto isSelf = [&](MessageParcel&, MessageParcel&) { return expectCaller(::getpid(), ::getuid(), 9); };
    const sptr<ScriptedStub> inner = new ScriptedStub({{1, isSelf}});
    const sptr<ScriptedStub> outer = new ScriptedStub;
    outer->On(1, [&](MessageParcel& data, MessageParcel& reply) {
        expectCaller(77, 1000, 4);
        EXPECT_EQ(CallPlain(inner, 1), 0);
        expectCaller(77, 1000, 4);
        const std::string caller = IPCSkeleton::ResetCallingIdentity();
        isSelf(data, reply);
        EXPECT_TRUE(IPCSkeleton::SetCallingIdentity(caller));
        for (const char* forged : {"", "1:2", "1:2:3:4", "1:2:3 ", "root"}) {
            EXPECT_FALSE(IPCSkeleton::SetCallingIdentity(forged)) << forged;
        }
        expectCaller(77, 1000, 4);
        (void)IPCSkeleton::ResetCallingIdentity(); // and never restored
        return 0;
    });
    const sptr<IRemoteObject> object = process.Connect(outer);
    for (int request = 0; request < 2; ++request) { // each begins with its own caller
        EXPECT_EQ(CallPlain(object, 1), 0);
        expectCaller(::getpid(), ::getuid(), 9);
    }
}

} // namespace
} // namespace OHOS
