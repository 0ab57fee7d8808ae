#include "host/loopback.h"

#include <stdexcept>

#include "ipc_scene.h"

// Objects and callers across a border inside one process.
namespace OHOS::Host {
namespace {

struct LoopbackTest : public testing::Test {
    LoopbackProcess process{{77, 1000, 4}};
    const sptr<ScriptedStub> service = new ScriptedStub; // of this process
};

TEST_F(LoopbackTest, AnObjectOfAThirdProcessIsAStranger)
{
    LoopbackProcess third({78, 1000, 4});
    const sptr<IRemoteObject> strange = third.ProxyFor(new ScriptedStub);
    const sptr<IRemoteObject> known = process.ProxyFor(new ScriptedStub);
    service->On(2, [&](MessageParcel&, MessageParcel& reply) { return reply.WriteRemoteObject(strange) ? 0 : -11; });
    Exchange call;
    ASSERT_TRUE(call.data.WriteRemoteObject(strange));
    EXPECT_FALSE(call.data.WriteRemoteObject(known)) << "wherever it goes, one of the two does not belong there";
    EXPECT_EQ(call.Send(known, 1), IPC_FOREIGN_OBJECT);
    EXPECT_EQ(CallPlain(process.Connect(service), 2), -11) << "a reply knows where it goes";
    EXPECT_EQ(CountErrors("an object of a third process"), 3U);
}

TEST_F(LoopbackTest, AHandlerThatThrowsIsAnsweredHereAndElsewhere)
{
    service->On(1, [](MessageParcel&, MessageParcel&) -> int { throw std::runtime_error("no thread to be had"); });
    for (const sptr<IRemoteObject>& called : {sptr<IRemoteObject>(service), process.Connect(service)}) {
        EXPECT_EQ(CallPlain(called, 1), IPC_UNKNOWN_ERROR);
    }
    EXPECT_EQ(CountErrors("no thread to be had"), 2U);
}

TEST_F(LoopbackTest, IdentityIsTheCallersWithinARequestAndTheOuterOneAfterwards)
{
    SetOwnTokenId(9);
    const auto caller = [] {
        return std::to_string(IPCSkeleton::GetCallingPid()) + ' ' + std::to_string(IPCSkeleton::GetCallingUid()) + ' ' +
               std::to_string(IPCSkeleton::GetCallingTokenID());
    };
    const std::string self = caller();
    EXPECT_EQ(self, std::to_string(::getpid()) + ' ' + std::to_string(::getuid()) + " 9");
    const sptr<ScriptedStub> inner =
        new ScriptedStub({{1, [&](MessageParcel&, MessageParcel&) { return caller() == self ? 0 : -1; }}});
    service->On(1, [&](MessageParcel&, MessageParcel&) {
        EXPECT_EQ(caller(), "77 1000 4");
        EXPECT_EQ(CallPlain(inner, 1), 0) << "a local call has the process's own";
        EXPECT_EQ(caller(), "77 1000 4");
        const std::string outer = IPCSkeleton::ResetCallingIdentity();
        EXPECT_EQ(caller(), self);
        EXPECT_TRUE(IPCSkeleton::SetCallingIdentity(outer));
        for (const char* forged : {"", "1:2", "1:2:3:4", "1:2:3 ", "root"}) {
            EXPECT_FALSE(IPCSkeleton::SetCallingIdentity(forged)) << forged;
        }
        EXPECT_EQ(caller(), "77 1000 4");
        (void)IPCSkeleton::ResetCallingIdentity(); // and never restored
        return 0;
    });
    for (int request = 0; request < 2; ++request) { // each begins with its own caller
        EXPECT_EQ(CallPlain(process.Connect(service), 1), 0);
        EXPECT_EQ(caller(), self);
    }
}

} // namespace
} // namespace OHOS::Host
