#include <stdexcept>
#include <string>

#include "host/loopback.h"
#include "ipc_scene.h"
#include "iremote_proxy.h"
#include "iremote_stub.h"

namespace OHOS {
namespace {

class IGreeter : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"test.IGreeter");
    virtual int32_t Greet(const std::string& name) = 0;
};

class GreeterProxy : public IRemoteProxy<IGreeter> {
public:
    using IRemoteProxy::IRemoteProxy;
    int32_t Greet(const std::string& name) override
    {
        Exchange call;
        const bool sent = call.data.WriteInterfaceToken(GetDescriptor()) && call.data.WriteString(name) &&
                          call.Send(Remote(), 1) == ERR_NONE;
        return sent ? call.reply.ReadInt32() : -1;
    }

private:
    static inline BrokerDelegator<GreeterProxy> delegator_;
};

class GreeterStub : public IRemoteStub<IGreeter> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override
    {
        if (data.ReadInterfaceToken() != GetDescriptor()) {
            return -10;
        }
        if (code == 2) {
            throw std::runtime_error("no thread to be had");
        }
        return code == 1 ? (reply.WriteInt32(Greet(data.ReadString())) ? 0 : -11)
                         : IRemoteStub::OnRemoteRequest(code, data, reply, option);
    }
    int32_t Greet(const std::string& name) override
    {
        callingPid = IPCSkeleton::GetCallingPid();
        return static_cast<int32_t>(name.size());
    }
    pid_t callingPid = 0;
};

class IStranger : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"test.IStranger");
};

TEST(BrokerTest, CastGivesTheStubItselfHereAndAProxyOfItElsewhere)
{
    const sptr<GreeterStub> stub = new GreeterStub;
    Host::LoopbackProcess process({77, 1000, 4});
    const sptr<IGreeter> local = iface_cast<IGreeter>(stub->AsObject());
    EXPECT_EQ(local.GetRefPtr(), static_cast<IGreeter*>(stub.GetRefPtr()));

    const sptr<IRemoteObject> object = process.Connect(stub);
    const sptr<IGreeter> remote = iface_cast<IGreeter>(object);
    ASSERT_NE(remote, nullptr);
    EXPECT_EQ(remote->AsObject(), object);
    EXPECT_EQ(remote->Greet("you there"), 9);
    EXPECT_EQ(stub->callingPid, 77);
    EXPECT_EQ(object->GetObjectDescriptor(), u"test.IGreeter");

    EXPECT_EQ(iface_cast<IGreeter>(nullptr), nullptr);
    EXPECT_EQ(iface_cast<IStranger>(object), nullptr) << "nobody has registered it";
    EXPECT_FALSE(BrokerRegistration::Get().Register(u"test.IGreeter", nullptr)) << "the first one stays";
}

TEST(BrokerTest, AnObjectOfAnotherInterfaceIsFoundOutByItsToken)
{
    const sptr<ScriptedStub> other = new ScriptedStub;
    other->On(1, [](MessageParcel& data, MessageParcel&) { return data.ReadInterfaceToken() == u"mine" ? 0 : -10; });
    const sptr<IGreeter> greeter = iface_cast<IGreeter>(sptr<IRemoteObject>(other));
    ASSERT_NE(greeter, nullptr) << "a local object that is no greeter gets a proxy too";
    EXPECT_EQ(greeter->Greet("x"), -1);
}

TEST(BrokerTest, AStubAnswersForUnknownCodesAndForHandlersThatThrow)
{
    Host::LoopbackProcess process({77, 1000, 4});
    const sptr<GreeterStub> stub = new GreeterStub;
    for (const sptr<IRemoteObject>& object : {sptr<IRemoteObject>(stub), process.Connect(stub)}) {
        for (const auto& [code, result] :
            {std::pair{9U, int{IPC_UNKNOWN_CODE}}, std::pair{2U, int{IPC_UNKNOWN_ERROR}}}) {
            Exchange call;
            ASSERT_TRUE(call.data.WriteInterfaceToken(IGreeter::GetDescriptor()));
            EXPECT_EQ(call.Send(object, code), result);
        }
    }
    EXPECT_EQ(CountErrors("no thread to be had"), 2U);
}

TEST(BrokerTest, AStubHasNoDeathToHearOf)
{
    const sptr<GreeterStub> stub = new GreeterStub;
    const sptr<DeathWatch> watch = new DeathWatch;
    EXPECT_FALSE(stub->IsProxyObject());
    EXPECT_FALSE(stub->IsObjectDead());
    EXPECT_FALSE(stub->AddDeathRecipient(watch));
    EXPECT_FALSE(stub->RemoveDeathRecipient(watch));
}

TEST(BrokerTest, IdentityIsTheCallersWithinARequestAndTheOuterOneAfterwards)
{
    Host::SetOwnTokenId(9);
    Host::LoopbackProcess process({77, 1000, 4});
    const sptr<ScriptedStub> inner = new ScriptedStub;
    inner->On(1, [](MessageParcel&, MessageParcel&) {
        EXPECT_EQ(IPCSkeleton::GetCallingPid(), ::getpid()) << "a local call is this process's own";
        EXPECT_EQ(IPCSkeleton::GetCallingTokenID(), 9U);
        return 0;
    });
    const sptr<ScriptedStub> outer = new ScriptedStub;
    outer->On(1, [&inner](MessageParcel&, MessageParcel&) {
        EXPECT_EQ(IPCSkeleton::GetCallingPid(), 77);
        EXPECT_EQ(IPCSkeleton::GetCallingUid(), 1000U);
        EXPECT_EQ(IPCSkeleton::GetCallingTokenID(), 4U);
        EXPECT_EQ(CallPlain(inner, 1), 0);
        EXPECT_EQ(IPCSkeleton::GetCallingPid(), 77) << "the outer caller stands again";
        const std::string caller = IPCSkeleton::ResetCallingIdentity();
        EXPECT_EQ(IPCSkeleton::GetCallingTokenID(), 9U);
        EXPECT_TRUE(IPCSkeleton::SetCallingIdentity(caller));
        EXPECT_EQ(IPCSkeleton::GetCallingTokenID(), 4U);
        for (const char* forged : {"", "1:2", "1:2:3:4", "1:2:3 ", "root"}) {
            EXPECT_FALSE(IPCSkeleton::SetCallingIdentity(forged)) << forged;
        }
        EXPECT_EQ(IPCSkeleton::GetCallingUid(), 1000U);
        (void)IPCSkeleton::ResetCallingIdentity(); // and never restored
        return 0;
    });
    const sptr<IRemoteObject> object = process.Connect(outer);
    EXPECT_EQ(CallPlain(object, 1), 0);
    EXPECT_EQ(IPCSkeleton::GetCallingPid(), ::getpid());
    EXPECT_EQ(CallPlain(object, 1), 0) << "the next request begins with its own caller";
}

} // namespace
} // namespace OHOS
